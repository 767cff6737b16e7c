#pragma once

#include <QStatusBar>

class QLabel;

namespace px40 {

class ElidedLabel;
struct Services;

/// The status bar of the main window: messages ("Msg"), beside them the summary of the selected rows ("Sel"),
/// so that neither takes the other away, and the port ("Port").
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
    QLabel *port_;
};

} // namespace px40
