#pragma once

#include <QObject>
#include <QPointer>

class QString;
class QWidget;

namespace px40 {

class frmHelp;
struct Services;

/// The guide, at the chapter of the window or dialog that has the focus: in the browser of the desktop, or in
/// a window of the program where there is none. F1 shows it from every window, also from dialogs, below which
/// the main window's keys do not work.
class Help : public QObject
{
    Q_OBJECT

  public:
    /// `services` must outlive it.
    Help(Services &services, QObject *parent);
    ~Help() override;

    void Show();

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    void Open(const QString &chapter);
    void OpenHere(const QString &file);

    Services *services_;
    QPointer<frmHelp> window_;
};

} // namespace px40
