#pragma once

#include <QObject>
#include <QTimer>

namespace px40 {

/// A repeating timer with the two properties that the procedures of this program speak of.
///
/// It ticks only while it is enabled and its interval is above 0; an interval of 0 means silent. Setting
/// either property starts the interval anew. It goes on ticking until it is silenced, so a one-shot use
/// sets the interval to 0 (or disables) in its tick.
class Timer : public QObject
{
    Q_OBJECT

  public:
    explicit Timer(int intervalMs = 0, bool enabled = false, QObject *parent = nullptr);

    int Interval() const { return interval_; }
    void SetInterval(int ms);

    bool Enabled() const { return enabled_; }
    void SetEnabled(bool enabled);

  Q_SIGNALS:
    void tick();

  private:
    void Apply();

    QTimer timer_;
    int interval_ = 0;
    bool enabled_ = false;
};

} // namespace px40
