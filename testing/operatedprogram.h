#pragma once

#include "app/messageprompts.h"
#include "testing/heldclock.h"
#include "testing/program.h"

#include <QApplication>
#include <QMessageBox>
#include <QStringList>
#include <QTemporaryDir>

class QUrl;

namespace px40 {

/// The top-level window of that kind, and of that object name if there is one, that is open; another one may
/// be about to go.
template <typename Window>
Window *OpenOne(const char *name = "")
{
    const QString wanted = QString::fromLatin1(name);
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        auto *const window = qobject_cast<Window *>(one);
        if (window && window->isVisible() && (wanted.isEmpty() || window->objectName() == wanted))
            return window;
    }
    return nullptr;
}

/// Stands in for the desktop when a file is to be shown: no program is started, as long as this lives.
class Desktop : public QObject
{
    Q_OBJECT

  public:
    Desktop();
    ~Desktop() override;

    /// From now on it has no program for any file.
    void ShowNothing();

    /// The files that were to be shown, each by its full name.
    QStringList Shown() const;

    Q_INVOKABLE void Show(const QUrl &file);

  private:
    QTemporaryDir folder_; ///< of the command by which files are shown elsewhere than on Windows
    QByteArray path_;
    QStringList shown_;
};

struct OperatedParts
{
    MessagePrompts prompts;
    HeldClock clock;
    Desktop desktop;
};

/// The whole program as a user has it: real windows, real message boxes, the real serial class, and a
/// simulated instrument. Everything that it keeps lies in a temporary folder.
///
/// Time goes on only by `Second`, so that two runs are alike however busy the machine is. The other functions
/// act as a user does, with clicks and keys, and wait for what comes of it; they throw RigError when they
/// cannot, or when it does not come.
class OperatedProgram : public OperatedParts, public Program
{
  public:
    explicit OperatedProgram(Port port);

    /// The widget of that name below `parent`, or below the main window; throws RigError when there is none.
    template <typename T>
    T *Find(const char *name, const QObject *parent = nullptr) const
    {
        T *const found = (parent ? parent : window.get())->findChild<T *>(QString::fromLatin1(name));
        Require(found, QStringLiteral("There is no \"%1\".").arg(QString::fromLatin1(name)));
        return found;
    }

    /// Until the condition holds; the program's own timers are held meanwhile.
    void Wait(const std::function<bool()> &done);
    /// Until no procedure is under way.
    void Idle();
    /// The next second begins; whatever it brings may still be under way.
    void BeginSecond();
    void Second();
    void Seconds(int count);
    /// Does what makes the program send a command to switch or set something, and waits until it has its
    /// reply.
    void Send(const std::function<void()> &act);
    /// Starts the program and waits for the first status.
    void StartUp();

    /// The data window opened last.
    frmData *Data() const;

    /// As the desktop does with a dialog that has just opened, or with a window that is clicked at.
    void BringToFront(QWidget *window);
    void Click(QWidget *widget);
    void Click(const char *name, const QObject *parent) { Click(Find<QWidget>(name, parent)); }
    /// Chooses the item of a menu or the tool of that name.
    void Choose(const char *action);

    QMessageBox *Box() { return AwaitOpen<QMessageBox>(); }
    /// Clicks the button of the message box that is open or opens, and waits until the box is gone.
    void Answer(const QString &button);
    /// The same with OK, until the procedure that has shown the box has ended.
    void Dismiss();
    QDialog *Dialog(const char *name) { return AwaitOpen<QDialog>(name); }
    /// Clicks the button and waits until the dialog is gone.
    void CloseDialog(QDialog *dialog, const char *button);

  protected:
    /// Does what closes a window, and waits until it has gone.
    void Close(QWidget *window, const std::function<void()> &act);

  private:
    /// The next tick of the status check and the fading of old values come by hand.
    void HoldTimers();
    /// The window of that kind and name, in front, when it has opened.
    template <typename Window>
    Window *AwaitOpen(const char *name = "")
    {
        Wait([name] { return OpenOne<Window>(name) != nullptr; });
        auto *const opened = OpenOne<Window>(name);
        BringToFront(opened);
        return opened;
    }
};

} // namespace px40
