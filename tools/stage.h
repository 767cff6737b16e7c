#pragma once

#include "testing/operatedprogram.h"
#include "tools/camera.h"

namespace px40 {

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
