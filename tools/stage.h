#pragma once

#include "app/messageprompts.h"
#include "testing/heldclock.h"
#include "testing/program.h"
#include "tools/camera.h"

#include <QList>
#include <QMessageBox>
#include <QStringList>
#include <QWidget>

class QDialog;
class QMenu;
class QUrl;

namespace px40 {

class Chart;

using Widgets = QList<QWidget *>;

/// Stands in for the desktop when a file is to be shown: no program is started, as long as this lives.
class Desktop : public QObject
{
    Q_OBJECT

  public:
    Desktop();
    ~Desktop() override;

    Q_INVOKABLE void Show(const QUrl &) {}
};

struct StageParts
{
    MessagePrompts prompts;
    HeldClock clock;
    Desktop desktop;
};

/// One run of the whole program in front of the camera: real windows, real message boxes, the real serial
/// class, and a simulated instrument. Everything that it keeps lies in a temporary folder.
///
/// Time goes on only by `Second`, so that two runs give the same pictures however busy the machine is. The
/// other functions act as a user does, with clicks and keys, and wait for what comes of it; they throw
/// RigError when they cannot, or when it does not come.
class Stage : public StageParts, public Program
{
  public:
    Stage(Camera &camera, Port port);
    ~Stage();

    /// Below the user's documents.
    static QString Document(const QString &name);

    /// The widget of that name below `parent`, or below the main window; throws RigError when there is none.
    template <typename T>
    T *Find(const char *name, const QObject *parent = nullptr) const
    {
        T *const found = (parent ? parent : window.get())->findChild<T *>(QString::fromLatin1(name));
        Require(found, QStringLiteral("There is no \"%1\".").arg(QString::fromLatin1(name)));
        return found;
    }

    void Wait(const std::function<bool()> &done, const QString &sentence);
    /// Until no procedure is under way.
    void Idle();
    /// The next second begins; whatever it brings may still be under way.
    void BeginSecond();
    void Second();
    /// Nothing new has come for a while.
    void Fade();
    /// The same until the condition holds.
    void SecondsUntil(const std::function<bool()> &done, const QString &sentence);
    /// Does what makes the program send a command to switch or set something, and waits until it has its
    /// reply.
    void Send(const std::function<void()> &act);
    /// Starts the program, waits for the first status and moves the SOURCE window to that place.
    void StartUp(const QPoint &sourcePlace);
    /// Lets somebody turn the instrument's knobs, and a status come.
    void Set(const std::function<void(sim::Instrument &)> &change);
    /// Ends whatever a failed scenario has left open.
    void Settle();

    /// The MEASURE or the SOURCE window; null while it is closed.
    QWidget *Moniter() const;
    QWidget *Source() const;
    /// The data window opened last, its graph and its number of rows.
    frmData *Data() const;
    Chart *Graph() const;
    int Rows() const;
    /// Waits for a row of the data window opened last.
    void AwaitRows(int rows);

    /// Opens a data file by its name.
    void Open(const QString &name);
    /// The two data windows beside each other, as dragged by their frames.
    void SideBySide();

    // Pictures: of the main window, of it and the MEASURE and SOURCE windows, of others alone. `inFront`
    // stands before them, from back to front.
    void Take(const char *name, const Widgets &inFront = {});
    void TakeAll(const char *name, const Widgets &inFront = {});
    void TakeOnly(const QString &name, const Widgets &windows) { camera_->Take(name, windows); }
    void Keep(const char *name, const QString &file) { camera_->Keep(QString::fromLatin1(name), file); }

    /// As the desktop does with a dialog that has just opened, or with a window that is clicked at.
    void BringToFront(QWidget *window);
    void Click(QWidget *widget);
    void Click(const char *name, const QObject *parent) { Click(Find<QWidget>(name, parent)); }
    void ClickTool(const char *name);
    /// Types a text in place of the one in that field.
    void Type(const char *field, const QString &text, const QObject *parent);
    QMenu *OpenMenu(const char *name);
    void CloseMenu(QMenu *menu);
    void Choose(const char *menu, const char *item);
    /// Opens the menu that a widget has for that place, with the right mouse button.
    QMenu *OpenContextMenu(QWidget *widget, const QPoint &place);
    void ChooseItem(QMenu *menu, const QString &text);

    QMessageBox *Box();
    /// Clicks the button of a message box and waits until the box is gone; the box that opens, or that one.
    void Answer(QMessageBox::StandardButton button, QMessageBox *box = nullptr);
    void Answer(const QString &button, QMessageBox *box = nullptr);
    QDialog *Dialog(const char *name);
    /// Clicks the button and waits until the dialog is gone.
    void CloseDialog(QDialog *dialog, const char *button);
    /// The toolkit's own file dialog, in which nothing can be counted on but its object names.
    QDialog *FileDialog() { return Dialog("dlgCommon"); }
    /// Puts a name in place of the one that the file dialog proposes, and goes on with Return.
    void ChooseFile(const QString &name);
    void CancelFile();

  private:
    /// The next tick of the status check and the fading of old values come by hand.
    void HoldTimers();
    void ClickAnswer(QMessageBox *box, QWidget *button);
    void AwaitClosed(QWidget *closing);

    Camera *camera_;
};

} // namespace px40
