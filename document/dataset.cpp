#include "document/dataset.h"

#include "document/numbers.h"
#include "resources/strings.h"

#include <QTime>

#include <algorithm>
#include <utility>

namespace px40 {

namespace {

QString Bracketed(const QString &heading, const QString &text)
{
    return heading + QStringLiteral("[ ") + text + QStringLiteral(" ]");
}

int NextNewNumber(int last)
{
    constexpr int Highest = 32767;
    return last >= Highest ? 1 : last + 1;
}

} // namespace

DataSet::DataSet(DocumentShared &shared)
    : shared_(&shared), table_(shared.MemoryNumbers),
      graph_(readings_.series,
             {[this](qint32 sample) { return table_.Cell(sample, 1); },
              [this](qint32 sample) { return table_.SampleText(sample); },
              [this](qint32 sample) { return SecondOfDay(sample); }, [this] { return table_.CommonMode(); }})
{
}

/// Only a run's rows have a time.
std::optional<int> DataSet::SecondOfDay(qint32 sample) const
{
    const QString text = kind_ == KindRealtime ? table_.Cell(sample, 1) : QString();
    const QTime time = text.size() == 8 ? QTime::fromString(text, Qt::ISODate) : QTime(); // hh:mm:ss
    return time.isValid() ? std::optional(time.msecsSinceStartOfDay() / 1000) : std::nullopt;
}

void DataSet::SetKind(int kind)
{
    kind_ = kind;
    SetPanel(Panel::Label, Text(kind == KindMemory     ? Str::MemoryModeData
                                : kind == KindRealtime ? Str::RealtimeData
                                                       : Str::SaveModeData));
}

void DataSet::OpenNew(int kind)
{
    SetKind(kind);
    if (kind == KindRealtime) {
        SetInterval({QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("05")});
        SetPeriod(true, {});
    }
    SetGraphcount(20);
    PaintGraphtop();
    SetAxisX(true, 1, 1);
    SetAxisY(true, QStringLiteral("0"), QStringLiteral("10"), 1, 1);
    table_.Adopt({}, 1);
    readings_ = {};
    SetSaved(true);
    fileName_.clear();
    shared_->NewCount = NextNewNumber(shared_->NewCount);
    caption_ = QString::number(shared_->NewCount) + QStringLiteral("New");
    Q_EMIT captionChanged(caption_);
}

Result<> DataSet::AddGridrow()
{
    if (table_.Samples() >= TableModel::MaxSamples)
        return Fail(Text(Str::TableFull));
    if (table_.Samples() == table_.TableRows())
        table_.AppendTableRow();
    return {};
}

void DataSet::Append(const QString &time, const QString &data, const QString &meas, const QString &srcData,
                     const QString &srcMeas)
{
    table_.AppendSample({time, data, meas, srcData, srcMeas});
    KeepRow();
    SetSaved(false);
}

void DataSet::AddData(const QString &time, const QString &data, const QString &meas, const QString &srcData,
                      const QString &srcMeas)
{
    Append(time, data, meas, srcData, srcMeas);
    readings_.Count(ReadingOf(data.toLatin1().toStdString()));
}

void DataSet::AddRealtimedata(const QString &time, const QString &data, const QString &meas,
                              const QString &srcData, const QString &srcMeas, bool valid)
{
    Append(time, data, meas, srcData, srcMeas);
    graph_.Follow(table_.Samples());
    progressValue_ = std::min(progressValue_ + 1, progressMaximum_);
    Q_EMIT progressChanged();
    Q_EMIT sampleFollowed(table_.Samples());
    const Reading reading = valid ? ReadingOf(data.toLatin1().toStdString()) : Reading();
    readings_.Count(reading);
    if (reading.value)
        DispCalculation();
    Q_EMIT graph_.changed();
}

void DataSet::DispCalculation()
{
    if (readings_.statistics.validCount == 0)
        return;
    SetPanel(Panel::Max, GetDispmax(true));
    SetPanel(Panel::Min, GetDispmin(true));
    SetPanel(Panel::Avg, GetDispavg());
}

QString DataSet::ExtremeText(qint32 sample, bool number) const
{
    if (sample == 0)
        return {};
    const bool saveMode = kind_ == KindSave; // whose second column says nothing
    QStringList parts;
    if (number || saveMode)
        parts << Bracketed(table_.Heading(0), QString::number(sample));
    for (int column = saveMode ? 2 : 1; column <= 3; ++column)
        parts << Bracketed(table_.Heading(column), table_.Cell(sample, column));
    return parts.join(QStringLiteral("   "));
}

void DataSet::SetInterval(const Duration &interval)
{
    interval_ = interval;
    SetSaved(false);
    Describe();
    SetPanel(Panel::Interval, DurationText(interval));
}

void DataSet::DispInterval(const QString &sec)
{
    SetPanel(Panel::Interval, sec + QStringLiteral("s"));
}

void DataSet::SetPeriod(bool none, const Duration &period)
{
    periodNone_ = none;
    period_ = period;
    SetSaved(false);
    Describe();
    SetPanel(Panel::Period, none ? QString() : DurationText(period));
}

void DataSet::SetGraphcount(int count)
{
    GraphSettings settings = graph_.Settings();
    settings.count = count;
    SetGraph(settings);
}

void DataSet::SetAxisX(bool automatic, int divPerLabel, int divPerTick)
{
    GraphSettings settings = graph_.Settings();
    settings.xAuto = automatic;
    if (!automatic) {
        settings.xLabels = divPerLabel;
        settings.xTicks = divPerTick;
    }
    SetPanel(Panel::X, Text(automatic ? Str::Automatic : Str::Custom));
    SetGraph(settings);
}

void DataSet::SetAxisY(bool automatic, const QString &minVal, const QString &maxVal, int majorDiv,
                       int minorDiv)
{
    GraphSettings settings = graph_.Settings();
    settings.yAuto = automatic;
    settings.yMinimum = minVal;
    settings.yMaximum = maxVal;
    settings.yMajor = majorDiv;
    settings.yMinor = minorDiv;
    SetGraph(settings);
}

void DataSet::SetGraph(const GraphSettings &settings)
{
    graph_.SetSettings(settings);
    Describe();
}

void DataSet::EndProgress()
{
    progressEnded_ = true;
    Q_EMIT progressChanged();
}

void DataSet::IniProgress(int maximum, int done)
{
    progressValue_ = std::min(done, maximum);
    progressMaximum_ = maximum;
    progressEnded_ = false;
    Q_EMIT progressChanged();
}

void DataSet::ShowGrid(bool shown)
{
    Q_EMIT gridShown(shown);
}

void DataSet::SetSaved(bool saved)
{
    if (saved)
        LetJournalGo();
    if (std::exchange(saved_, saved) != saved)
        Q_EMIT savedChanged(saved);
}

void DataSet::SetPanel(Panel panel, const QString &text)
{
    panels_.at(static_cast<std::size_t>(panel)) = text;
    Q_EMIT panelChanged(panel, text);
}

} // namespace px40
