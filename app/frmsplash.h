#pragma once

#include "platform/oneshot.h"
#include "platform/timer.h"

#include <QCoro/QCoroTask>
#include <QWidget>

#include <optional>

class QPaintEvent;

namespace px40 {

/// The window that stands on the screen while the program starts.
class frmSplash : public QWidget
{
    Q_OBJECT

  public:
    static constexpr int WaitMs = 1000;

    frmSplash();
    ~frmSplash() override;

    /// Starts the wait timer and goes on when it has switched itself off, or the window goes.
    QCoro::Task<void> Wait();

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    void EndWait();

    Timer tmWait_{WaitMs};
    std::optional<OneShot<bool>> waited_;
};

} // namespace px40
