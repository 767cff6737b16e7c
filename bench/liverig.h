#pragma once

#include "bench/windowrig.h"
#include "link/rangelists.h"
#include "source/sourcecommands.h"
#include "testing/liverig.h"

#include <memory>

class QLabel;

namespace px40 {
class frmMoniter;
class frmSource;
} // namespace px40

namespace px40::bench {

/// Status check and real-time receive with or without their windows, of which nothing is kept that is shown.
class LiveRig : public px40::LiveRig
{
  public:
    explicit LiveRig(sim::ServerOptions options);
    ~LiveRig();

    /// Opens the MEASURE and the SOURCE window; each status is shown in them from then on.
    void ShowWindows();

    /// The reading in the MEASURE window, which must have been opened.
    QLabel *Reading() const;

    /// Starts a run of one row a second into the data set, with a period of a day.
    void Start();

    /// The next second of the run: its row, the request of the one after it, and the painting of both. False
    /// when the run has ended.
    bool PassSecond();

    SetRig set;

  private:
    void ShowStatus();

    RangeLists ranges_ = BuildRangeLists();
    SourceCommands sourceCommands_;
    std::unique_ptr<frmMoniter> moniter_;
    std::unique_ptr<frmSource> source_;
};

} // namespace px40::bench
