// How long it takes from a click on a step button of the SOURCE window until the first byte of its command is
// at the other end of an idle line. 10 ms of it are meant: clicks that follow each other within them become
// one command. On the display that there is (run it under xvfb-run, say), off screen where there is none.

#include "acquire/status.h"
#include "bench/windowrig.h"
#include "link/rangelists.h"
#include "simulator/pseudoterminal.h"
#include "simulator/wakepipe.h"
#include "source/frmsource.h"
#include "source/sourcecommands.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <mutex>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace px40::bench {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr double MeantMs = 10;
constexpr int Clicks = 500;
constexpr int WarmUpClicks = 20;
constexpr int LongestMs = 5000;
constexpr int ShortestPauseMs = 20; ///< between two clicks: long enough for the processor to fall asleep

/// Answers "OK" to every command, at once, on a thread of its own.
class Instrument
{
  public:
    struct Command
    {
        std::string text;
        SteadyClock::time_point firstByteAt;
    };

    Instrument() : thread_([this] { Run(); }) {}
    Instrument(const Instrument &) = delete;
    Instrument &operator=(const Instrument &) = delete;
    ~Instrument()
    {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wake_.Wake();
        thread_.join();
    }

    const std::string &Path() const { return terminal_.Path(); }

    /// All since the start.
    std::vector<Command> Commands() const
    {
        const std::lock_guard lock(mutex_);
        return commands_;
    }

  private:
    void Run()
    {
        while (!Stopping()) {
            pollfd descriptors[] = {{wake_.Reader(), POLLIN, 0}, {terminal_.Master(), POLLIN, 0}};
            if (::poll(descriptors, std::size(descriptors), -1) > 0 && descriptors[1].revents != 0)
                Receive();
        }
    }

    bool Stopping() const
    {
        const std::lock_guard lock(mutex_);
        return stopping_;
    }

    void Receive()
    {
        char bytes[64];
        const ssize_t count = ::read(terminal_.Master(), bytes, sizeof bytes);
        const SteadyClock::time_point now = SteadyClock::now();
        for (ssize_t i = 0; i < count; ++i) {
            if (input_.text.empty())
                input_.firstByteAt = now;
            input_.text += bytes[i];
            if (bytes[i] == '\n')
                Answer();
        }
    }

    void Answer()
    {
        constexpr std::string_view reply = "OK\r\n";
        {
            const std::lock_guard lock(mutex_);
            commands_.push_back(input_);
        }
        input_.text.clear();
        if (::write(terminal_.Master(), reply.data(), reply.size()) < 0)
            std::perror("reply");
    }

    sim::PseudoTerminal terminal_ = sim::PseudoTerminal::Open();
    const sim::WakePipe wake_;
    Command input_; ///< belongs to the thread
    mutable std::mutex mutex_;
    std::vector<Command> commands_;
    bool stopping_ = false;
    std::thread thread_;
};

/// Whether a new status is shown in the window, and painted, while the click waits to be handled.
enum class Refresh { No, Yes };

/// The SOURCE window at an instrument of whose status nothing is known.
class SourceRig
{
  public:
    bool Open()
    {
        port_.state.StatusPolled = true;
        port_.Open();
        window_ = std::make_unique<frmSource>(commands_, ranges_, port_.store);
        window_->setAttribute(Qt::WA_DeleteOnClose, false);
        window_->show();
        button_ = window_->findChild<QAbstractButton *>(QStringLiteral("btDown0"));
        paints_ = std::make_unique<PaintCount>(window_->findChild<QLabel *>(QStringLiteral("llValue5")));
        const bool idle = AwaitIdle(); // the opening of the window sends a command
        Settle();
        return idle;
    }

    /// The milliseconds of so many clicks. False when one of them did not send its command, and that alone,
    /// or the refresh was not painted.
    bool Click(int clicks, Refresh refresh, std::vector<double> *times)
    {
        for (int i = 0; i < clicks; ++i) {
            // At ever different places between two ticks of whatever ticks.
            Pause(ShortestPauseMs + i % 7);
            std::this_thread::sleep_for(std::chrono::microseconds(i * 37 % 101 * 10));
            const std::size_t before = instrument_.Commands().size();
            const SteadyClock::time_point begin = SteadyClock::now();
            if (refresh == Refresh::Yes && !ShowNextStatus())
                return false;
            Send(QEvent::MouseButtonPress);
            Send(QEvent::MouseButtonRelease);
            if (!AwaitIdle())
                return false;
            const std::vector<Instrument::Command> commands = instrument_.Commands();
            if (commands.size() != before + 1 || commands.back().text != "DW1\r\n")
                return false;
            times->push_back(
                std::chrono::duration<double, std::milli>(commands.back().firstByteAt - begin).count());
        }
        return true;
    }

  private:
    void Send(QEvent::Type type) const
    {
        const QPointF middle = button_->rect().center();
        const Qt::MouseButtons held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QMouseEvent event(type, middle, button_->mapToGlobal(middle), Qt::LeftButton, held, Qt::NoModifier);
        QCoreApplication::sendEvent(button_, &event);
    }

    /// Every digit is another one than before.
    bool ShowNextStatus()
    {
        digit_ = (digit_ + 1) % 10;
        SourceDisplay display;
        display.digits.fill(QString::number(digit_));
        display.digits[0] = digit_ % 2 == 0 ? QString() : QStringLiteral("-");
        display.points[static_cast<std::size_t>(digit_ % 4)] = true;
        display.unit = QStringLiteral("mA");
        display.function = QStringLiteral("DC");
        display.on = true;
        const int paintsBefore = paints_->Count();
        window_->Show(display);
        QCoreApplication::processEvents();
        return paints_->Count() > paintsBefore;
    }

    /// False when a command is still under way after all the time that it may take.
    bool AwaitIdle() const
    {
        return WaitUntil([this] { return port_.jobs.Running() == 0 && !commands_.IsWaiting(); }, LongestMs);
    }

    static void Pause(int ms)
    {
        QEventLoop loop;
        QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }

    Instrument instrument_;
    QTemporaryDir folder_;
    PortRig port_{QString::fromStdString(instrument_.Path()), folder_.filePath(QStringLiteral("user.ini"))};
    RangeLists ranges_ = BuildRangeLists();
    SourceCommands commands_{port_.link};
    std::unique_ptr<frmSource> window_;
    std::unique_ptr<PaintCount> paints_;
    QAbstractButton *button_ = nullptr;
    int digit_ = 0;
};

void Click(benchmark::State &state, Refresh refresh)
{
    SourceRig rig;
    if (!rig.Open()) {
        state.SkipWithError("the port did not open, or the instrument did not answer");
        return;
    }
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> warming;
        std::vector<double> times;
        if (!rig.Click(WarmUpClicks, refresh, &warming) || !rig.Click(Clicks, refresh, &times)) {
            state.SkipWithError("a click did not send its command, or the status was not painted");
            break;
        }
        std::sort(times.begin(), times.end());
        const double median = Median(times);
        const double late = times.at(times.size() * 99 / 100);
        state.SetIterationTime(median * 1e-3);
        state.counters["median_ms"] = median;
        state.counters["of_100_the_worst_ms"] = late;
        state.counters["worst_ms"] = times.back();
        state.counters["beyond_10ms_median_ms"] = median - MeantMs;
        state.counters["beyond_10ms_of_100_the_worst_ms"] = late - MeantMs;
    }
    state.SetLabel("aim: 15 ms; on " + QGuiApplication::platformName().toStdString());
}

BENCHMARK_CAPTURE(Click, idle, Refresh::No)->Apply(Measured);
BENCHMARK_CAPTURE(Click, behind_a_status, Refresh::Yes)->Apply(Measured);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, IfThere)
