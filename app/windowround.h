#pragma once

#include <QObject>

#include <array>
#include <cstddef>

class QWidget;

namespace px40 {

class Live;
class MainActions;
class Workspace;

/// Where F6 goes, in that order, and then to the first again: the tool bar, the active data window or what an
/// empty workspace offers, MEASURE, SOURCE.
enum class RoundStop { Bar, Workspace, Moniter, Source };
constexpr std::size_t RoundStops = 4;

/// The stop after `now`, or with `back` the one before it. `open`: which of them there are; `now` where there
/// is no other one.
RoundStop NextStop(RoundStop now, const std::array<bool, RoundStops> &open, bool back);

/// F6 and Shift+F6 in the main window. MEASURE and SOURCE have these keys with all others of it.
class WindowRound : public QObject
{
    Q_OBJECT

  public:
    /// Owned by the main window, as are the others.
    WindowRound(MainActions &actions, Workspace &workspace, Live &live, QWidget *window);

  private:
    void Go(bool back);
    RoundStop Now() const;
    QWidget *FirstButton() const;

    MainActions *actions_;
    Workspace *workspace_;
    Live *live_;
    QWidget *window_;
};

} // namespace px40
