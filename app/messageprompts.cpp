#include "app/messageprompts.h"

#include "app/filedialog.h"
#include "app/frmhelp.h"
#include "platform/geometry.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QStyle>

#include <algorithm>
#include <memory>

namespace px40 {

namespace {

constexpr int NarrowestText = 45; // characters

/// The window in front of which a box is to open: not the guide, which may be closed before the box.
QWidget *Foremost()
{
    const auto isThere = [](const QWidget *one) {
        return one && one->isVisible() && !qobject_cast<const frmHelp *>(one);
    };
    for (QWidget *const one : {QApplication::activeModalWidget(), QApplication::activeWindow()}) {
        if (isThere(one))
            return one;
    }
    // Another program has the focus: the box must not get lost behind our windows.
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        if (isThere(one) && one->windowType() == Qt::Window)
            return one;
    }
    return nullptr;
}

/// Its icon has the colours of the moment.
class Box : public QMessageBox
{
  public:
    using QMessageBox::QMessageBox;

  protected:
    void changeEvent(QEvent *event) override
    {
        QMessageBox::changeEvent(event);
        if (event->type() == QEvent::PaletteChange)
            setIcon(icon());
    }
};

QMessageBox *MakeBox(QMessageBox::Icon icon, const QString &text)
{
    auto *const box = new Box(Foremost());
    box->setObjectName(QStringLiteral("msgBox"));
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

/// Keeps a box from covering the field that has the focus, which it may be about.
void KeepClearOfField(QMessageBox *box)
{
    const QWidget *const window = box->parentWidget();
    const QWidget *const field = window ? window->focusWidget() : nullptr;
    if (!qobject_cast<const QLineEdit *>(field) && !qobject_cast<const QComboBox *>(field))
        return;
    box->ensurePolished();
    box->adjustSize();
    // The frame of the box is known only after it is shown, so that of its parent window is used, if known.
    const QRect inner = window->geometry();
    const QRect outer = window->frameGeometry();
    const int title =
        std::max(inner.top() - outer.top(), box->style()->pixelMetric(QStyle::PM_TitleBarHeight));
    const QMargins frame(inner.left() - outer.left(), title, outer.right() - inner.right(),
                         outer.bottom() - inner.bottom());
    const QRect place(field->mapToGlobal(QPoint()), field->size());
    const QPoint corner = PlaceClearOf(box->size().grownBy(frame), outer, place, UsableScreens());
    box->move(corner + QPoint(0, title - (inner.top() - outer.top())));
}

/// What is wrong with a file or folder, and which one.
QString About(Str text, const QString &path)
{
    return Text(text) + QStringLiteral("\r\n") + QDir::toNativeSeparators(path);
}

} // namespace

QCoro::Task<void> MessagePrompts::Warn(QString text)
{
    const OneShot<int> closed = OpenBox(text, QMessageBox::Warning, {{QMessageBox::Ok, Str::Ok}});
    co_await closed;
}

QCoro::Task<Answer> MessagePrompts::AskYesNoCancel(QString text, PromptIcon icon)
{
    const OneShot<int> closed = OpenBox(
        text, icon == PromptIcon::Question ? QMessageBox::Question : QMessageBox::Warning,
        {{QMessageBox::Yes, Str::Yes}, {QMessageBox::No, Str::No}, {QMessageBox::Cancel, Str::Cancel}});
    const int button = co_await closed;
    if (button == QMessageBox::Yes)
        co_return Answer::Yes;
    co_return button == QMessageBox::No ? Answer::No : Answer::Cancel;
}

QCoro::Task<int> MessagePrompts::AskOneOf(QString text, QStringList choices)
{
    QMessageBox *const box = MakeBox(QMessageBox::Warning, text);
    QList<QAbstractButton *> buttons;
    for (const QString &choice : std::as_const(choices)) {
        const bool last = buttons.size() + 1 == choices.size();
        buttons.append(box->addButton(choice, last ? QMessageBox::RejectRole : QMessageBox::AcceptRole));
    }
    box->setDefaultButton(qobject_cast<QPushButton *>(buttons.constFirst()));
    box->setEscapeButton(buttons.constLast());
    const auto chosen = std::make_shared<qsizetype>(choices.size() - 1);
    QObject::connect(box, &QMessageBox::buttonClicked, box,
                     [chosen, buttons](QAbstractButton *button) { *chosen = buttons.indexOf(button); });
    const OneShot<int> closed = Open(box);
    co_await closed;
    co_return static_cast<int>(*chosen);
}

OneShot<int> MessagePrompts::OpenBox(const QString &text, QMessageBox::Icon icon,
                                     std::initializer_list<Button> buttons)
{
    QMessageBox *const box = MakeBox(icon, text);
    for (const auto &[button, caption] : buttons) {
        QPushButton *const added = box->addButton(button);
        added->setText(Text(caption));
        added->setIcon(QIcon()); // some desktops add one, which no other dialog here has
    }
    box->setDefaultButton(buttons.begin()->first);
    return Open(box);
}

OneShot<int> MessagePrompts::Open(QMessageBox *box)
{
    OneShot<int> closed;
    QObject::connect(box, &QMessageBox::finished, box, [closed](int button) { closed.Complete(button); });
    QObject::connect(box, &QObject::destroyed, [closed] { closed.Complete(QMessageBox::Cancel); });
    open_.removeAll(nullptr);
    open_.append(box);
    if (dismissed_) {
        box->deleteLater();
    } else {
        KeepClearOfField(box);
        box->show();
    }
    return closed;
}

QCoro::Task<QString> MessagePrompts::AskOpenFile(QString filter, QString preferred)
{
    auto *const dialog = new FileDialog(QFileDialog::AcceptOpen, Folder(), filter, Foremost());
    if (!preferred.isEmpty())
        dialog->selectNameFilter(preferred);
    return AskFile(dialog);
}

QCoro::Task<QString> MessagePrompts::AskSaveFile(QString name, QString filter)
{
    auto *const dialog = new FileDialog(QFileDialog::AcceptSave, Folder(), filter, Foremost());
    dialog->Propose(name);
    return AskFile(dialog);
}

QCoro::Task<QString> MessagePrompts::AskFile(QPointer<FileDialog> dialog)
{
    const bool saving = dialog->acceptMode() == QFileDialog::AcceptSave;
    QString name;
    bool usable = false;
    while (!usable) {
        const OneShot<QString> choice = Choose(dialog);
        name = co_await choice;
        usable = true;
        if (dialog && !name.isEmpty())
            usable = co_await MayUse(name, saving);
        if (!dialog)
            co_return QString();
    }
    if (!name.isEmpty())
        folder_ = QFileInfo(name).absolutePath();
    dialog->hide();
    dialog->deleteLater();
    co_return name;
}

QCoro::Task<bool> MessagePrompts::MayUse(QString name, bool saving)
{
    const QFileInfo file(name);
    QString fault;
    if (saving && !QFileInfo(file.absolutePath()).isDir())
        fault = About(Str::FolderNotThere, file.absolutePath());
    else if (!saving && !file.exists())
        fault = About(Str::FileNotThere, name);
    if (!fault.isEmpty()) {
        co_await Warn(fault);
        co_return false;
    }
    if (!saving || !file.exists())
        co_return true;
    const OneShot<int> closed = OpenBox(About(Str::FileReplace, name), QMessageBox::Warning,
                                        {{QMessageBox::No, Str::No}, {QMessageBox::Yes, Str::Yes}});
    const int button = co_await closed;
    co_return button == QMessageBox::Yes;
}

QString MessagePrompts::Folder() const
{
    for (const QString &folder :
         {folder_, QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)}) {
        if (!folder.isEmpty() && QFileInfo(folder).isDir())
            return folder;
    }
    return QDir::homePath();
}

OneShot<QString> MessagePrompts::Choose(FileDialog *dialog)
{
    if (dismissed_) {
        OneShot<QString> cancelled;
        QObject::connect(dialog, &QObject::destroyed, [cancelled] { cancelled.Complete(QString()); });
        dialog->deleteLater();
        return cancelled;
    }
    open_.removeAll(nullptr);
    if (!open_.contains(dialog))
        open_.append(dialog);
    return dialog->Choose();
}

void MessagePrompts::DismissAll()
{
    dismissed_ = true;
    for (const QPointer<QDialog> &dialog : std::as_const(open_)) {
        if (dialog)
            dialog->close();
    }
}

} // namespace px40
