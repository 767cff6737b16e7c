#pragma once

#include <QSize>
#include <QString>

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

/// Waits for a row of the data window opened last.
void AwaitRows(const Stage &stage, int rows);
void AwaitIdle(const Stage &stage);

} // namespace px40
