#pragma once

#include <QString>

namespace px40 {

/// Why no sheet can be added to a file, as far as its first bytes tell, which alone count, not its name; one
/// sentence, empty for a package.
QString WhyNoPackage(const QString &name);

/// Why nothing can be put in the place of a file, or beside it; one sentence, empty when something can.
QString WhyNotReplaced(const QString &name);

/// Why no new file can be put there, in the place of another or not; tries to make one beside it.
QString WhyNotMade(const QString &name);

} // namespace px40
