#include "app/messageprompts.h"

#include "resources/strings.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace px40 {

namespace {

QMessageBox *MakeBox(QMessageBox::Icon icon, const QString &text)
{
    auto *const box = new QMessageBox(QApplication::activeWindow());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::ApplicationModal);
    box->setIcon(icon);
    box->setTextFormat(Qt::PlainText);
    QString lines = text;
    box->setText(lines.replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    return box;
}

} // namespace

QCoro::Task<void> MessagePrompts::Warn(QString text)
{
    QMessageBox *const box = MakeBox(QMessageBox::Warning, text);
    box->addButton(QMessageBox::Ok)->setText(Text(Str::Ok));
    const OneShot<int> closed = Open(box);
    co_await closed;
}

QCoro::Task<Answer> MessagePrompts::AskYesNoCancel(QString text, PromptIcon icon, bool offerYes)
{
    QMessageBox *const box =
        MakeBox(icon == PromptIcon::Question ? QMessageBox::Question : QMessageBox::Warning, text);
    QPushButton *const yes = box->addButton(QMessageBox::Yes);
    yes->setText(Text(Str::Yes));
    yes->setEnabled(offerYes);
    box->addButton(QMessageBox::No)->setText(Text(Str::No));
    QPushButton *const cancel = box->addButton(QMessageBox::Cancel);
    cancel->setText(Text(Str::Cancel));
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
