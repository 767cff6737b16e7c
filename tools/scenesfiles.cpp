// Readings saved to files, opened again, and kept from being lost.

#include "testing/files.h"
#include "tools/scenes.h"
#include "tools/stage.h"

#include <QAbstractItemView>
#include <QDateTime>
#include <QDialog>
#include <QDir>
#include <QFile>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

/// The dialog reads its folder in the background, and puts it in order after that.
void AwaitList(Stage &stage, const QStringList &files)
{
    const auto *const list = stage.Find<QAbstractItemView>("listView", stage.FileDialog());
    const auto listed = [&] {
        QStringList names;
        for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row)
            names << list->model()->index(row, 0, list->rootIndex()).data().toString();
        return names == files;
    };
    stage.Wait(listed);
}

/// Leaves a run of so many rows as a program does that is killed.
void LeaveRun(const Stage &stage, const QString &caption, int rows, bool simulated)
{
    const QString folder = stage.services.journals.Folder();
    QDir().mkpath(folder);
    const auto file = JournalFile::Create(JournalFile::PathOf(folder, {JournalFile::NewId(), 1}));
    JournalAbout about;
    about.header.kind = KindRealtime;
    about.header.interval = {u"00"_s, u"00"_s, u"00"_s, u"01"_s};
    about.caption = caption;
    about.simulated = simulated;
    about.begun = QDateTime(QDate(2026, 3, 2), QTime(8, 15));
    file->Describe(about);
    RowStore store;
    for (int i = 0; i < rows; ++i) {
        const QString time = QTime(8, 15).addSecs(i).toString(Qt::ISODate);
        const QString value = QString::number(12 + std::sin(i / 9.0), 'f', 3);
        store.Append({time, value, u"DCmA"_s, u"4.000"_s, u"mA"_s});
        file->Add(store.Raw(i));
    }
    file->Commit();
}

} // namespace

void Recovery(Stage &stage)
{
    LeaveRun(stage, u"1New"_s, 120, false);
    LeaveRun(stage, u"2New"_s, 40, true);
    const QString unsaved = stage.services.journals.Folder();
    Require(Put(JournalFile::PathOf(unsaved, {JournalFile::NewId(), 1}), "nonsense"),
            u"A file cannot be made."_s);
    stage.StartUp();
    stage.Choose("mnuViewMoniter");
    stage.Choose("Source");
    stage.Take("19e-recovered");
    if (!IsUnix) // where a folder with open files stays
        return;
    QDir(unsaved).removeRecursively();
    Require(Put(unsaved, "a file"), u"A file cannot be made."_s);
    stage.Choose("mnuDataMemory");
    stage.Answer(u"No"_s);
    stage.Idle();
    stage.Wait([&stage] { return !stage.Data()->Data()->Protected(); });
    stage.Take("19f-not-protected");
}

void Files(Stage &stage)
{
    StartWithReadings(stage);
    const QString first = Stage::Document(u"bench 3.CSV"_s);
    const QString second = Stage::Document(u"bench 3 again.CSV"_s);
    const QString locked = Stage::Document(u"reference.CSV"_s);
    const QString parts = Stage::Document(u"parts.CSV"_s);

    stage.Choose("Save"); // without a name as yet
    stage.Take("18a-save-as", {stage.FileDialog()});
    stage.ChooseFile(u"bench 3"_s);
    stage.Idle();
    stage.Take("18b-saved");

    QFile::copy(first, locked);
    QFile::setPermissions(locked, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    stage.Choose("mnuFileSaveAs");
    stage.ChooseFile(locked);
    stage.Answer(u"Yes"_s); // replace it
    stage.Take("18c-save-read-only", {stage.Box()});
    stage.Answer(u"OK"_s);
    stage.Escape(stage.FileDialog());
    stage.Idle();

    Require(Put(second, "old"), u"A file cannot be made."_s);
    stage.Choose("mnuFileSaveAs");
    QDialog *const dialog = stage.FileDialog();
    stage.ChooseFile(second);
    stage.Take("18d-save-replace", {dialog, stage.Box()});
    stage.Answer(u"No"_s);
    stage.ChooseFile(second);
    stage.Answer(u"Yes"_s);
    stage.Idle();
    stage.Choose("mnuFileClose");

    stage.Choose("Open");
    AwaitList(stage, {u"bench 3 again.CSV"_s, u"bench 3.CSV"_s, u"reference.CSV"_s});
    stage.Take("19a-open", {stage.FileDialog()});
    stage.Escape(stage.FileDialog());
    stage.Idle();
    stage.Open(first);
    stage.Open(second);
    stage.SideBySide();
    stage.Take("19b-two-files");

    Require(Put(parts, "part,quantity\r\nfuse 63 mA,2\r\ntest lead,4\r\n"), u"A file cannot be made."_s);
    stage.Choose("mnuFileOpen");
    stage.ChooseFile(parts);
    stage.Take("19c-open-another-type", {stage.Box()});
    stage.Dismiss();

    stage.Choose("Mdata");
    stage.Answer(u"No"_s);
    stage.Idle();
    stage.Choose("mnuFileClose");
    stage.Take("19d-close-question", {stage.Box()});
    stage.Answer(u"Cancel"_s);
}

} // namespace px40
