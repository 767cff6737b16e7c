#pragma once

#include <QString>
#include <QStringList>

namespace px40 {

// The guide: one HTML file a chapter, each with its pictures in it.

/// The chapter for a place in the program; `names` are the object names of the control that has the focus and
/// of all that it stands in, from the inside to the outside. Contents for a place that has none of its own.
QString HelpChapter(const QStringList &names);

/// The name under which a data window of that kind (document/dataset.h) stands in such a list.
QString HelpNameOfData(int kind);

/// The file of a chapter, in the folder `help` beside the program or in the one of an installed program;
/// empty when it is not there.
QString HelpFile(const QString &chapter);

} // namespace px40
