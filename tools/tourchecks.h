#pragma once

#include <QSize>
#include <QString>

class QMessageBox;

namespace px40 {

class frmData;
class Stage;

// What several steps of the tour look at. All of them throw TourError when it is not as it should be.

constexpr int StoredReadings = 50;
constexpr QSize RoomyWindow(1120, 720);

int Rows(const frmData *data);

/// `what` begins the sentence that tells the fault.
void RequireText(const QString &what, const QString &is, const QString &wanted);
void RequirePort(const Stage &stage, const QString &wanted);
/// Fifty readings in the table and the statistics below it.
void RequireWholeSet(const Stage &stage, const frmData *data);

/// The readings of that window are those in the file of that name.
void RequireSaved(const frmData *data, const QString &name);
/// The status check has given up, and MEASURE has closed with it.
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

} // namespace px40
