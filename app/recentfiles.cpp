#include "app/recentfiles.h"

#include "platform/filenames.h"
#include "platform/userstore.h"

#include <algorithm>

namespace px40 {

namespace {

const QString RecentFilesSection = QStringLiteral("RecentFiles");

QString Key(qsizetype place)
{
    return QStringLiteral("File%1").arg(place + 1);
}

} // namespace

RecentFiles::RecentFiles(UserStore &store) : store_(&store)
{
    for (int place = 0; place < Most; ++place) {
        const QString name = store.Get(RecentFilesSection, Key(place));
        if (!name.isEmpty())
            names_.append(name);
    }
}

void RecentFiles::Add(const QString &name)
{
    names_.removeIf([&name](const QString &kept) { return SameFile(kept, name); });
    names_.prepend(name);
    names_ = names_.first(std::min<qsizetype>(names_.size(), Most));
    Keep();
}

void RecentFiles::Remove(const QString &name)
{
    names_.removeAll(name);
    Keep();
}

void RecentFiles::Clear()
{
    names_.clear();
    Keep();
}

void RecentFiles::Keep()
{
    for (qsizetype place = 0; place < Most; ++place)
        store_->Save(RecentFilesSection, Key(place), names_.value(place));
}

} // namespace px40
