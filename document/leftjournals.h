#pragma once

#include "document/journals.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace px40 {

/// A data set that a program left unsaved when it ended.
struct LeftSet
{
    Journal::Left journal;
    JournalContents contents;
};

struct LeftSets
{
    std::vector<LeftSet> sets; ///< the oldest first
    QStringList complaints;    ///< a sentence for each journal that cannot be read, or not wholly
};

/// Takes what was left in a folder of journals: each set once, however many files it has, and not those that
/// a running program holds. Sets whose rows are all in their data file are not given; their journals go.
///
/// Where a journal cannot be written it is copied and the copy is read, so that nothing is changed; it and a
/// damaged one are given without their file. May be called on any thread, but in no folder in which this
/// process has a journal in use.
LeftSets TakeLeftJournals(const QString &folder);

} // namespace px40
