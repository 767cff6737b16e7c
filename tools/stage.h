#pragma once

#include "app/frmmain.h"
#include "app/messageprompts.h"
#include "app/services.h"
#include "simulator/ptyserver.h"
#include "tools/checks.h"
#include "tools/desktop.h"

#include <QDialog>
#include <QPointer>
#include <QTemporaryDir>

#include <memory>

class QMdiArea;
class QMenu;
class QMessageBox;

namespace px40 {

class frmMoniter;
class frmSource;

/// One run of the whole program, from its start to its end, on a simulated instrument: real windows, real
/// message boxes, the real serial class. Everything that it keeps lies in a temporary folder.
///
/// The functions act as a user does, with clicks and keys, and throw TourError when they cannot.
class Stage
{
  public:
    /// What stands behind port 1: a device that the user has yet to assign, or the instrument of the demo.
    enum class Instrument { Unassigned, Demo };

    explicit Stage(Instrument instrument);
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;
    /// Leaves the program, whatever stands open.
    ~Stage();

    /// The SOURCE window was moved to that place by the run before, in pixels of 1/96 inch; where it comes by
    /// itself it covers a part of the main window.
    void KeepSourcePlace(const QPoint &place);
    void Start(bool splash);
    /// True when no procedure is under way.
    bool Idle() const { return services.jobs.Running() == 0; }
    bool HasLeft() const { return left_; }

    /// Waits for the end of a status check under way. The next one begins only when events are handled, so
    /// that what is set and clicked right after this comes before it.
    void AwaitFreeLink() const;
    /// Sets one fault of the instrument by its name; it counts the commands from now on, those of the status
    /// check too.
    void SetFault(const QString &fault);
    QString Device() const { return QString::fromStdString(server.DevicePath()); }

    /// The widget or action of that object name below `parent`, or below the main window.
    template <typename T>
    T *Find(const QString &name, const QObject *parent = nullptr) const
    {
        T *const found = (parent ? parent : window.get())->findChild<T *>(name);
        Require(found != nullptr, QStringLiteral("There is no \"%1\".").arg(name));
        return found;
    }

    QMdiArea *Workspace() const;
    /// Data windows in the order in which they were opened.
    QList<frmData *> DataWindows() const;
    /// The MEASURE window, or null while it is closed.
    frmMoniter *Moniter() const;
    /// The SOURCE window, or null while it is closed.
    frmSource *Source() const;
    /// What a picture of the whole program shows, from back to front: the main window, MEASURE and SOURCE
    /// above it, and what stands before them.
    QList<QWidget *> Windows(const QList<QWidget *> &inFront = {}) const;
    QDialog *ProgressDialog() const { return Find<QDialog>(QStringLiteral("frmCancel")); }
    QString Message() const;
    QString PortPanel() const;
    /// The message box that is open, or null.
    static QMessageBox *Box();
    /// The open dialog of that object name, or null.
    QDialog *Dialog(const QString &name) const;

    /// As the desktop does with a dialog that has just opened, or with a window that is clicked at.
    static void BringToFront(QWidget *window);
    QMessageBox *AwaitBox();
    QDialog *AwaitDialog(const QString &name);
    /// The toolkit's own file dialog, in which nothing can be counted on but its object names.
    QDialog *AwaitFileDialog();
    /// Puts a name in place of the one that the file dialog proposes.
    void TypeFileName(const QDialog *dialog, const QString &name);
    /// The same, and goes on with Return.
    void ChooseFile(const QDialog *dialog, const QString &name);
    void CancelFileDialog(QDialog *dialog);
    QMenu *OpenMenu(const QString &name);
    void CloseMenu(QMenu *menu);
    void Choose(const QString &menuName, const QString &itemName);
    void ClickTool(const QString &key);
    /// Types a text in place of the one in that field.
    void Type(const QWidget *parent, const QString &field, const QString &text);
    /// Clicks the button and waits until the dialog is gone.
    void CloseDialog(QDialog *dialog, const QString &button);
    void ClickButton(const QWidget *parent, const QString &name);
    /// Clicks a standard button (a QMessageBox::StandardButton) and waits until the box is gone.
    void Answer(QMessageBox *box, int button);
    /// The same with the button of that text.
    void Answer(QMessageBox *box, const QString &text);
    /// Answers the question that stands before a download: nothing is to be forwarded. A fault of the
    /// instrument counts from the download on.
    void DownloadOnly(const QString &fault = {});
    static void Click(QWidget *widget);

    /// Opens the menu that a widget has for that place, with the right mouse button.
    static QMenu *OpenContextMenu(const QWidget *widget, const QPoint &place);
    /// Chooses the item with that text.
    static void ChooseItem(QMenu *menu, const QString &text);

    /// Closes the active data window and lets its readings go.
    void DiscardActiveData();
    /// Ends whatever a failed step has left open.
    void Settle();

    QTemporaryDir folder;
    Desktop desktop;
    sim::PtyServer server;
    MessagePrompts prompts;
    Services services;
    std::unique_ptr<frmMain> window;

  private:
    static void ClickAnswer(const QPointer<QMessageBox> &box, QWidget *button);

    /// The instrument's name behind the demo's port: unlike its device's, nobody else gets it while the
    /// instrument is unplugged.
    QString DemoLink() const { return folder.filePath(QStringLiteral("px40")); }

    bool left_ = false;
};

} // namespace px40
