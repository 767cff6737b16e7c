#include "tools/sheetpictures.h"

#include "testing/wait.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int LongestMs = 120000; // a spreadsheet program that starts for the first time
constexpr char16_t Office[] = u"soffice";
constexpr char16_t Drawer[] = u"pdftoppm";

void Run(const char16_t *name, const QStringList &arguments)
{
    const QString program = QString::fromUtf16(name);
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(LongestMs);
    Require(ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
            u"%1 failed: %2"_s.arg(program, QString::fromLocal8Bit(process.readAllStandardError())));
}

} // namespace

QString WhyNoSheetPictures()
{
    for (const char16_t *const name : {Office, Drawer}) {
        const QString program = QString::fromUtf16(name);
        if (QStandardPaths::findExecutable(program).isEmpty())
            return u"Skipped: the pictures of worksheets, because %1 is not installed."_s.arg(program);
    }
    return {};
}

QStringList DrawSheets(const QString &workbook, const QString &folder)
{
    const QDir work(folder);
    const QString profile = QUrl::fromLocalFile(work.filePath(u"profile"_s)).toString(QUrl::FullyEncoded);
    // However large a sheet is, its chart is not cut off.
    const QString form = uR"(pdf:calc_pdf_Export:{"SinglePageSheets":{"type":"boolean","value":"true"}})"_s;
    Run(Office, {u"-env:UserInstallation="_s + profile, u"--headless"_s, u"--convert-to"_s, form,
                 u"--outdir"_s, folder, workbook});
    const QString name = QFileInfo(workbook).completeBaseName();
    const QString pages = work.filePath(name + u".pdf"_s);
    Require(QFileInfo::exists(pages), u"\"%1\" was not drawn."_s.arg(workbook));
    Run(Drawer, {u"-png"_s, u"-r"_s, u"100"_s, pages, work.filePath(name)});
    QStringList pictures;
    const QStringList files = work.entryList({name + u"-*.png"_s}, QDir::Files, QDir::Name);
    for (const QString &file : files)
        pictures << work.filePath(file);
    return pictures;
}

} // namespace px40
