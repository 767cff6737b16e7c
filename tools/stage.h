#pragma once

#include "testing/operatedprogram.h"
#include "tools/camera.h"

class QMenu;

namespace px40 {

class Chart;

using Widgets = QList<QWidget *>;

/// One run of the program in front of the camera.
class Stage : public OperatedProgram
{
  public:
    Stage(Camera &camera, Port port) : OperatedProgram(port), camera_(&camera) {}

    /// Starts the program and moves the SOURCE window to that place, where it covers nothing: below MEASURE,
    /// which stands beside the main window as it comes.
    void StartUp(const QPoint &sourcePlace = {742, 384});
    /// The two data windows beside each other, as dragged by their frames.
    void SideBySide();
    /// Below the user's documents.
    static QString Document(const QString &name);

    /// Seconds pass until the condition holds, at most 60.
    void SecondsUntil(const std::function<bool()> &done);
    /// Nothing new has come for a while.
    void Fade();
    /// Sends what that makes the program send; then a second passes, so that the windows show what came of
    /// it.
    void See(const std::function<void()> &act);
    /// Lets somebody turn the instrument's knobs, and a status come. `orders`: its keys
    /// (simulator/keyorders.h) and its own commands, with semicolons between.
    void Set(const char *orders);

    /// The MEASURE or the SOURCE window; null while it is closed.
    QWidget *Moniter() const;
    QWidget *Source() const;
    /// Of the data window opened last.
    Chart *Graph() const;
    int Rows() const;
    /// Waits for a row of it.
    void AwaitRows(int rows);

    /// Opens a data file by its name.
    void Open(const QString &name);

    /// Types texts in place of those in the fields of that name.
    void Type(const QObject *parent, const std::vector<std::pair<const char *, QString>> &texts);
    QMenu *OpenMenu(const char *name);
    void CloseMenu(QMenu *menu);
    /// Opens the menu that a widget has for that place, with the right mouse button.
    QMenu *OpenContextMenu(QWidget *widget, const QPoint &place);
    void ChooseItem(QMenu *menu, const QString &text);
    /// Closes it with the Escape key, and waits until it is gone.
    void Escape(QDialog *dialog);
    /// The toolkit's own file dialog, in which nothing can be counted on but its object names.
    QDialog *FileDialog() { return Dialog("dlgCommon"); }
    /// Puts a name in place of the one that the file dialog proposes, and goes on with Return.
    void ChooseFile(const QString &name);

    // Pictures: of the main window, of it and the MEASURE and SOURCE windows, of others alone. `inFront`
    // stands before them, from back to front.
    void Take(const char *name, const Widgets &inFront = {});
    void TakeAll(const char *name, const Widgets &inFront = {});
    /// Of the main window with that menu open.
    void TakeMenu(const char *picture, const char *name);
    void TakeOnly(const QString &name, const Widgets &windows) { camera_->Take(name, windows); }
    void Keep(const char *name, const QString &file) { camera_->Keep(QString::fromLatin1(name), file); }

  private:
    Camera *camera_;
};

} // namespace px40
