#pragma once

#include "platform/result.h"

#include <QByteArray>
#include <QString>

#include <memory>

class QMimeData;

namespace px40 {

class Chart;

// Pictures of a graph for reports: on white, at a size of their own, whatever the window on the screen looks
// like, which stays as it is. They show what the graph on the screen shows. `caption` is printed above them.

/// The bytes of a file with the suffix "png", "svg" or "pdf"; empty when they could not be made.
QByteArray GraphPicture(const Chart &chart, const QString &suffix, const QString &caption = {});

/// Picture and drawing for the clipboard.
std::unique_ptr<QMimeData> GraphMimeData(const Chart &chart, const QString &caption = {});

/// Writes the kind of file that the suffix, in any case, says. Where that fails a file that was there is as
/// it was.
Result<> WriteGraphFile(const Chart &chart, const QString &name, const QString &caption = {});

} // namespace px40
