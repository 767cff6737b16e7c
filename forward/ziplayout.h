#pragma once

#include <QtGlobal>

#include <functional>

namespace px40 {

/// Puts the bytes of an archive from a place on to `to`: all of them, or it throws `BookFault`.
using ReadZipBytes = std::function<void(qint64 from, char *to, qint64 length)>;

/// How an archive lies in its file.
struct ZipLayout
{
    qint64 end = 0; ///< bytes behind it are none of the archive
    qint64 entries = 0;
};

/// Finds the archive in a file of that size and sees whether directory, headers and entries fit together. As
/// lenient as what unpacks archives: dates, versions, data descriptors, gaps and bytes behind the end are of
/// no concern. Throws `BookFault`, which says what is damaged.
ZipLayout LookAtZip(qint64 size, const ReadZipBytes &read);

} // namespace px40
