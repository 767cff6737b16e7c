#pragma once

#include <QObject>

#include <memory>

namespace px40 {

/// Hears when the system wants the program to end: SIGTERM, SIGINT (Ctrl+C) and SIGHUP, which no longer end
/// it by themselves as long as this lives. One that the program was started to ignore, as below nohup, goes
/// on being ignored. There may be one of these at a time. Where there are no such signals nothing is heard.
class EndSignals : public QObject
{
    Q_OBJECT

  public:
    EndSignals();
    ~EndSignals() override;

  Q_SIGNALS:
    void asked(); ///< from the event loop; each time

  private:
    struct Pipe;
    std::unique_ptr<Pipe> pipe_;
};

} // namespace px40
