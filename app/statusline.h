#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>

namespace px40 {

/// What the status bar of the main window tells; everything that has something to tell writes it here.
class StatusLine : public QObject
{
    Q_OBJECT

  public:
    const QString &Text() const { return text_; }

    void Show(const QString &text);
    /// Must be seen: the progress of a run does not replace it for a while.
    void Warn(const QString &text);
    /// For the progress of a run, which is shown every second.
    void ShowOfRun(const QString &text);
    /// Clears that text, which is no longer true, if it is still shown.
    void TakeBack(const QString &text);

  Q_SIGNALS:
    void changed(const QString &text);

  private:
    QString text_;
    QElapsedTimer warned_; ///< since a warning
};

} // namespace px40
