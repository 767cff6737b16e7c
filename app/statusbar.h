#pragma once

#include <QStatusBar>

class QLabel;

namespace px40 {

class ElidedLabel;
class PortDot;
struct Services;

/// The status bar of the main window: messages ("Msg"), beside them the summary of the selected rows ("Sel"),
/// so that neither takes the other away, and the port ("Port"), which
/// begins with a dot in the colour of its state.
class StatusBar : public QStatusBar
{
    Q_OBJECT

  public:
    /// `services` must outlive it.
    StatusBar(Services &services, QWidget *parent);

    void ShowSelection(const QString &text);

  private:
    void ShowMessage(const QString &text);
    void ShowPort();
    void OnPortChanged();

    Services *services_;
    ElidedLabel *message_;
    ElidedLabel *selection_;
    PortDot *dot_;
    QLabel *port_;
};

} // namespace px40
