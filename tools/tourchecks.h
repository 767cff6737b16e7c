#pragma once

#include <QPoint>
#include <QSize>
#include <QString>
#include <QStringList>

class QMessageBox;
class QWidget;

namespace px40 {

class frmData;
class Stage;

// What several steps of the tour look at. All of them throw TourError when it is not as it should be.

constexpr int StoredReadings = 50;
constexpr QSize RoomyWindow(1120, 720);
/// Where SOURCE covers nothing, beside the main window as it comes.
constexpr QPoint BelowMeasure(742, 384);

/// Below the user's documents.
QString DocumentPath(const QString &name);
/// The workbook that two steps of forwarding and their picture share.
QString LoopBook();

int Rows(const frmData *data);

/// The box that is open refuses what stands in the field, in these words, and does not lie on it.
void RequireRefusal(const QMessageBox *box, const QWidget *field, const QString &wanted);

/// `what` begins the sentence that tells the fault.
void RequireText(const QString &what, const QString &is, const QString &wanted);
void RequirePort(const Stage &stage, const QString &wanted);
/// Fifty readings in the table and the statistics below it.
void RequireWholeSet(const Stage &stage, const frmData *data);

/// The readings of that window are those in the file of that name.
void RequireSaved(const frmData *data, const QString &name);
/// The status check has given up, and MEASURE and SOURCE have closed with it.
void RequireCheckEnded(const Stage &stage);

/// Closes the active data window, which asks nothing.
void CloseSaved(Stage &stage);
void OpenFile(Stage &stage, const QString &name);

/// Waits until MEASURE shows a number.
void AwaitReading(const Stage &stage);
/// Waits for the message that the instrument does not answer.
QMessageBox *AwaitNoAnswer(Stage &stage);
/// Waits for a row of the data window opened last.
void AwaitRows(const Stage &stage, int rows);
void AwaitIdle(const Stage &stage);

/// Menu item and tool button of SOURCE are both checked, or neither is.
void RequireSourceChecked(const Stage &stage, bool open);
/// What SOURCE shows, lists aside: value, unit or symbol, function, lamp, indicators.
QString SourceFaceText(const Stage &stage);
void AwaitSource(const Stage &stage, const QString &face);

/// The commands for the source among all that the instrument has received since this was made.
class SourceLog
{
  public:
    /// `stage` must outlive this.
    explicit SourceLog(const Stage &stage);

    /// Waits until as many have arrived and been answered, and requires that they are these.
    void Await(const QStringList &commands) const;

  private:
    QStringList All() const;

    const Stage *stage_;
    qsizetype before_;
};

} // namespace px40
