#pragma once

#include "platform/result.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

class QMimeData;

namespace px40 {

class Chart;

// Pictures of a graph for reports: on white, at a size of their own, whatever the window on the screen looks
// like, which stays as it is. They show what the graph on the screen shows. `caption` is printed above them.

enum class GraphFileKind { Png, Svg, Pdf };

/// By the name's suffix, in any case; nothing for any other suffix.
std::optional<GraphFileKind> GraphFileKindOf(const QString &name);

/// The bytes of the file; empty when they could not be made.
QByteArray GraphPicture(const Chart &chart, GraphFileKind kind, const QString &caption = {});

/// Picture and drawing for the clipboard.
std::unique_ptr<QMimeData> GraphMimeData(const Chart &chart, const QString &caption = {});

/// Writes the kind of file that the suffix says. Where that fails a file that was there is as it was.
Result<> WriteGraphFile(const Chart &chart, const QString &name, const QString &caption = {});

} // namespace px40
