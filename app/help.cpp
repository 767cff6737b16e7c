#include "app/help.h"

#include "app/frmhelp.h"
#include "app/helpchapters.h"
#include "app/services.h"
#include "document/frmdata.h"
#include "platform/desktop.h"
#include "resources/strings.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>

namespace px40 {

namespace {

/// The names of what has the focus; those of the window in front where nothing has it.
QStringList NamesOfFocus()
{
    QStringList names;
    const QWidget *one = QApplication::focusWidget();
    if (!one)
        one = QApplication::activeWindow();
    for (; one; one = one->isWindow() ? nullptr : one->parentWidget()) {
        const auto *const data = qobject_cast<const frmData *>(one);
        names << (data ? HelpNameOfData(data->Data()->Kind()) : one->objectName());
        if (one->objectName() == u"frmCancel" && one->windowTitle() == Text(Str::ForwardData))
            names.last() = QStringLiteral("frmForward");
    }
    return names;
}

} // namespace

Help::Help(Services &services, QObject *parent) : QObject(parent), services_(&services)
{
    qApp->installEventFilter(this);
}

/// Its window has no parent: it would be blocked by the dialog from which it was opened.
Help::~Help()
{
    delete window_;
}

void Help::Show()
{
    Open(HelpChapter(NamesOfFocus()));
}

bool Help::eventFilter(QObject *watched, QEvent *event)
{
    const bool pressed = event->type() == QEvent::KeyPress && watched->isWidgetType();
    const auto *const key = pressed ? static_cast<QKeyEvent *>(event) : nullptr;
    if (!key || key->key() != Qt::Key_F1 || key->modifiers() != Qt::NoModifier)
        return QObject::eventFilter(watched, event);
    if (!key->isAutoRepeat())
        Show();
    return true;
}

void Help::Open(const QString &chapter)
{
    const QString file = HelpFile(chapter);
    if (file.isEmpty()) {
        services_->statusLine.Warn(Text(Str::HelpMissing));
        return;
    }
    if (window_ && window_->isVisible())
        OpenHere(file);
    else
        OpenByDesktop(file, this, [this, file] { OpenHere(file); });
}

void Help::OpenHere(const QString &file)
{
    if (!window_)
        window_ = new frmHelp;
    window_->Open(file);
    // An open dialog blocks every window that does not belong to it.
    window_->winId();
    const QWidget *const dialog = QApplication::activeModalWidget();
    window_->hide();
    window_->windowHandle()->setTransientParent(dialog ? dialog->windowHandle() : nullptr);
    window_->show();
    window_->raise();
    window_->activateWindow();
}

} // namespace px40
