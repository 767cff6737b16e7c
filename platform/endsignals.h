#pragma once

#include <QObject>

#include <memory>

namespace px40 {

/// Hears when the system wants the program to end: SIGTERM, SIGINT (Ctrl+C) and SIGHUP, which no longer end
/// it by themselves as long as this lives. One that the program was started to ignore, as below nohup, goes
/// on being ignored. On Windows: Ctrl+C, the closing of the console, taskkill, and the end of the session;
/// the system, which ends the program as soon as that is answered, is held until the program has ended by
/// itself, or has waited long enough for the system. There may be one of these at a time, made after the
/// application.
class EndSignals : public QObject
{
    Q_OBJECT

  public:
    EndSignals();
    ~EndSignals() override;

  Q_SIGNALS:
    void asked(); ///< from the event loop; each time

  private:
    struct Source;
    std::unique_ptr<Source> source_;
};

} // namespace px40
