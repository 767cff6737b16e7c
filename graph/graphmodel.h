#pragma once

#include "graph/graphseries.h"
#include "graph/graphsettings.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace px40 {

/// What samples are called, and when they were taken; asked for what is in view alone.
struct GraphTexts
{
    std::function<QString(qint32 sample)> label;             ///< at the horizontal axis
    std::function<QString(qint32 sample)> hover;             ///< for the sample under the pointer
    std::function<std::optional<int>(qint32 sample)> second; ///< of the day, if the sample has a time
    std::function<QString()> valueName;                      ///< of the vertical axis; empty: it has none
};

/// What a graph shows: points of samples, which are the categories of its horizontal axis, and the part of
/// them that is in view. Its owner says what they are called. Any number of graphs may show the same one.
///
/// Sample numbers are 1-based.
class GraphModel : public QObject
{
    Q_OBJECT

  public:
    /// `series` belongs to the owner, who emits `changed` when it has changed.
    GraphModel(const GraphSeries &series, GraphTexts texts);

    const GraphSeries &Series() const { return *series_; }
    const GraphTexts &Texts() const { return texts_; }

    const GraphSettings &Settings() const { return settings_; }
    void SetSettings(const GraphSettings &settings);

    const GraphScroll &Scroll() const { return scroll_; }
    /// Skips the first `value` samples, from 0 to the scroll's maximum.
    void ScrollTo(int value);
    /// Back to the first of `samples`.
    void ScrollToTop(int samples);
    /// One more sample came in: a full graph follows it. The caller emits `changed`.
    void Follow(int samples);

  Q_SIGNALS:
    void begun();   ///< shown from the first sample again: a zoom ends
    void changed(); ///< settings, scroll or points: at most one repaint for however many of these

  private:
    const GraphSeries *series_;
    GraphTexts texts_;
    GraphSettings settings_;
    GraphScroll scroll_;
};

} // namespace px40
