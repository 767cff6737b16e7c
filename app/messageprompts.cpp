#include "app/messageprompts.h"

#include "resources/strings.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

namespace px40 {

namespace {

constexpr int NarrowestText = 45; // characters

/// The window before which a box is to stand.
QWidget *Foremost()
{
    for (QWidget *const one : {QApplication::activeModalWidget(), QApplication::activeWindow()}) {
        if (one && one->isVisible())
            return one;
    }
    // Another program has the focus: the box must still not get lost behind ours.
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        if (one->isVisible() && one->windowType() == Qt::Window)
            return one;
    }
    return nullptr;
}

QMessageBox *MakeBox(QMessageBox::Icon icon, const QString &text)
{
    auto *const box = new QMessageBox(Foremost());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::ApplicationModal);
    box->setWindowTitle(Text(Str::ApplicationTitle));
    box->setIcon(icon);
    box->setTextFormat(Qt::PlainText);
    QString lines = text;
    box->setText(lines.replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    // A short text, or none, would leave a box so narrow that even its title is cut.
    if (auto *const label = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_label"))) {
        const int narrowest = label->fontMetrics().averageCharWidth() * NarrowestText;
        if (label->minimumSizeHint().width() < narrowest)
            label->setMinimumWidth(narrowest);
    }
    return box;
}

/// Without the picture that some desktops give to standard buttons: no other dialog here has any.
QPushButton *AddButton(QMessageBox *box, QMessageBox::StandardButton button, Str text)
{
    QPushButton *const added = box->addButton(button);
    added->setText(Text(text));
    added->setIcon(QIcon());
    return added;
}

} // namespace

QCoro::Task<void> MessagePrompts::Warn(QString text)
{
    QMessageBox *const box = MakeBox(QMessageBox::Warning, text);
    AddButton(box, QMessageBox::Ok, Str::Ok);
    const OneShot<int> closed = Open(box);
    co_await closed;
}

QCoro::Task<Answer> MessagePrompts::AskYesNoCancel(QString text, PromptIcon icon, bool offerYes)
{
    QMessageBox *const box =
        MakeBox(icon == PromptIcon::Question ? QMessageBox::Question : QMessageBox::Warning, text);
    QPushButton *const yes = AddButton(box, QMessageBox::Yes, Str::Yes);
    yes->setEnabled(offerYes);
    AddButton(box, QMessageBox::No, Str::No);
    QPushButton *const cancel = AddButton(box, QMessageBox::Cancel, Str::Cancel);
    box->setDefaultButton(offerYes ? yes : cancel);
    box->setEscapeButton(cancel);
    const OneShot<int> closed = Open(box);
    const int button = co_await closed;
    if (button == QMessageBox::Yes)
        co_return Answer::Yes;
    co_return button == QMessageBox::No ? Answer::No : Answer::Cancel;
}

OneShot<int> MessagePrompts::Open(QMessageBox *box)
{
    OneShot<int> closed;
    QObject::connect(box, &QMessageBox::finished, box, [closed](int button) { closed.Complete(button); });
    QObject::connect(box, &QObject::destroyed, [closed] { closed.Complete(QMessageBox::Cancel); });
    open_.removeAll(nullptr);
    open_.append(box);
    if (dismissed_)
        box->deleteLater();
    else
        box->show();
    return closed;
}

void MessagePrompts::DismissAll()
{
    dismissed_ = true;
    for (const QPointer<QMessageBox> &box : std::as_const(open_)) {
        if (box)
            box->close();
    }
}

} // namespace px40
