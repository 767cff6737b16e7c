#include "app/demoinstrument.h"

#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <utility>

namespace px40 {

/// The program's end of the line. What the program sends is looked at byte by byte, and no command before the
/// reply to the one before it has gone.
class DemoLine : public QIODevice
{
  public:
    explicit DemoLine(DemoInstrument &instrument) : instrument_(&instrument)
    {
        timer_.setSingleShot(true);
        timer_.setTimerType(Qt::PreciseTimer);
        connect(&timer_, &QTimer::timeout, this, &DemoLine::GoOn);
        QIODevice::open(ReadWrite | Unbuffered);
        instrument.Forget();
    }

    void close() override
    {
        timer_.stop();
        QIODevice::close();
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return arrived_.size() + QIODevice::bytesAvailable(); }

    void Inject(std::string_view bytes)
    {
        injected_.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
        Wake();
    }

    void HangUp()
    {
#ifdef Q_OS_WIN
        constexpr int Gone = 1167; // ERROR_DEVICE_NOT_CONNECTED
#else
        constexpr int Gone = EIO;
#endif
        setErrorString(qt_error_string(Gone));
        Q_EMIT readChannelFinished();
    }

  protected:
    qint64 readData(char *data, qint64 most) override
    {
        const qint64 size = std::min<qint64>(most, arrived_.size());
        std::copy_n(arrived_.constData(), size, data);
        arrived_.remove(0, size);
        return size;
    }

    qint64 writeData(const char *data, qint64 size) override
    {
        sent_.append(data, size);
        Wake();
        return size;
    }

  private:
    using Clock = std::chrono::steady_clock;

    struct Reply
    {
        sim::Delivery delivery;
        std::size_t gone = 0; ///< so many bytes of it
    };

    /// Nothing happens before the program is back in its event loop, as with a device.
    void Wake()
    {
        if (!timer_.isActive())
            timer_.start(0);
    }

    void WakeAt(Clock::time_point time)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
        timer_.start(std::max(left, std::chrono::milliseconds(0)));
    }

    void GoOn()
    {
        const QPointer<DemoLine> alive = this; // whoever reads may close the line
        if (commandCome_)
            GoOnReplying();
        else
            Listen();
        if (alive && isOpen() && !timer_.isActive() &&
            (!sent_.isEmpty() || !injected_.isEmpty() || commandCome_))
            Wake();
    }

    void Listen()
    {
        if (!injected_.isEmpty()) {
            Arrive(std::exchange(injected_, {}));
            return;
        }
        qsizetype taken = 0;
        bool whole = false;
        while (!whole && taken < sent_.size())
            whole = instrument_->Take(sent_.at(taken++));
        sent_.remove(0, taken);
        if (!whole)
            return;
        commandCome_ = instrument_->CommandCome(Clock::now());
        reply_.reset();
        WakeAt(*commandCome_);
    }

    void GoOnReplying()
    {
        if (!reply_)
            reply_ = Reply{instrument_->Obey(), 0};
        const Clock::time_point now = Clock::now();
        const sim::Delivery &delivery = reply_->delivery;
        const std::size_t before = reply_->gone;
        const std::size_t all = delivery.bytes.size();
        const auto due = [&](std::size_t i) { return instrument_->ReplyCome(delivery, i, *commandCome_); };
        while (reply_->gone < all && due(reply_->gone) <= now)
            ++reply_->gone;
        const QByteArray come(delivery.bytes.data() + before, static_cast<qsizetype>(reply_->gone - before));
        if (reply_->gone < all) {
            // A line that woke the program for every byte would keep it busy for nothing.
            constexpr std::chrono::milliseconds Pause{5};
            WakeAt(std::max(due(reply_->gone), std::min(due(all - 1), now + Pause)));
        } else {
            instrument_->Tell(delivery);
            commandCome_.reset();
        }
        const bool hangUp = !commandCome_ && delivery.hangUp;
        const QPointer<DemoLine> alive = this;
        Arrive(come);
        if (alive && hangUp)
            instrument_->HangUp();
    }

    void Arrive(const QByteArray &bytes)
    {
        arrived_ += bytes;
        if (!bytes.isEmpty())
            Q_EMIT readyRead();
    }

    DemoInstrument *instrument_;
    QTimer timer_;
    QByteArray sent_;                              ///< by the program, and not looked at yet
    QByteArray arrived_;                           ///< at the program, and not read yet
    QByteArray injected_;                          ///< to arrive after the reply under way
    std::optional<Clock::time_point> commandCome_; ///< of the command that is under way
    std::optional<Reply> reply_;                   ///< to that command, once it was obeyed
};

DemoInstrument::DemoInstrument(sim::ServerOptions options)
    : ServedInstrument(options), name_(options.link.empty() ? "demo" : options.link)
{
}

DemoInstrument::~DemoInstrument() = default;

void DemoInstrument::FixOn(PortMap &ports, int number)
{
    ports.Fix(number, QString::fromStdString(name_), [this]() -> std::unique_ptr<QIODevice> {
        if (!plugged_)
            return nullptr;
        auto line = std::make_unique<DemoLine>(*this);
        line_ = line.get();
        return line;
    });
}

void DemoInstrument::HangUp()
{
    plugged_ = false;
    if (line_)
        line_->HangUp();
}

void DemoInstrument::Inject(std::string_view bytes)
{
    if (line_)
        line_->Inject(bytes);
}

} // namespace px40
