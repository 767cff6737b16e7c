#include "app/cli/recover.h"

#include "app/cli/commandline.h"
#include "app/cli/console.h"
#include "app/settings.h"
#include "document/dataset.h"
#include "document/leftjournals.h"
#include "platform/terminal.h"
#include "resources/strings.h"

#include <QDir>
#include <QFileInfo>

namespace px40 {

namespace {

QString Name(const JournalAbout &about)
{
    return QFileInfo(about.caption).completeBaseName();
}

QString Listed(const LeftSet &left)
{
    const JournalAbout &about = left.contents.about;
    const QString name = about.simulated ? Text(Str::LeftSimulated).arg(Name(about)) : Name(about);
    return Counted(Str::RecoveredSet, left.contents.data.rows.Count())
        .arg(name, about.begun.toString(Qt::ISODate));
}

/// A name in that folder under which nothing is.
QString FreeName(const QString &folder, const JournalAbout &about)
{
    const QString stem = QDir(folder).absoluteFilePath(
        Name(about) + about.begun.toString(QStringLiteral(" yyyy-MM-dd HH-mm-ss")));
    QString name = stem + QStringLiteral(".CSV");
    for (int i = 2; QFileInfo::exists(name); ++i)
        name = stem + QStringLiteral(" (%1).CSV").arg(i);
    return QDir::toNativeSeparators(name);
}

/// The journal goes when the disk has the file.
Result<> Save(LeftSet &&left, const QString &name, DocumentShared *shared)
{
    shared->MemoryNumbers = left.contents.about.memoryNumbers;
    if (left.contents.damaged)
        left.journal.paths.clear(); // it may be all that there is of its other rows
    DataSet dataSet(*shared);
    dataSet.Recover(std::move(left.contents), std::move(left.journal), false);
    return dataSet.SaveFile(name);
}

} // namespace

int RunRecover(const CommandLine &line)
{
    KeepLogsQuiet();
    if (!line.recoverTo.isEmpty() && !QFileInfo(line.recoverTo).isDir())
        return EndFailed({About(line.recoverTo, Text(Str::FolderNotThere))});
    const QString folder = PathsFor(line.dataFolder).UnsavedPath;
    LeftSets left = TakeLeftJournals(folder);
    for (const QString &complaint : std::as_const(left.complaints))
        PrintError(complaint);
    if (left.sets.empty() && left.complaints.isEmpty())
        PrintLine(Text(Str::NothingLeft));
    Journals journals(folder, {});
    DocumentShared shared;
    shared.journals = &journals;
    int code = ExitDone;
    for (LeftSet &one : left.sets) {
        QString told = Listed(one);
        if (!line.recoverTo.isEmpty()) {
            const QString name = FreeName(line.recoverTo, one.contents.about);
            if (one.contents.damaged)
                code = ExitWithNoise;
            if (const Result<> saved = Save(std::move(one), name, &shared); !saved)
                code = EndFailed({About(name, saved.error().text)});
            else
                told += QStringLiteral(" -> ") + name;
        }
        PrintLine(told);
    }
    return code;
}

} // namespace px40
