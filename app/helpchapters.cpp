#include "app/helpchapters.h"

#include "document/datakind.h"

#include <QCoreApplication>
#include <QDir>
#include <QHash>

namespace px40 {

QString HelpChapter(const QStringList &names)
{
    static const QHash<QString, QString> Chapters = {
        {QStringLiteral("frmPort"), QStringLiteral("connect")},
        {QStringLiteral("chData"), QStringLiteral("graph")},
        {QStringLiteral("frmSetting"), QStringLiteral("graph")},
        {HelpNameOfData(KindMemory), QStringLiteral("download")},
        {HelpNameOfData(KindSave), QStringLiteral("download")},
        {HelpNameOfData(KindRealtime), QStringLiteral("log")},
        {QStringLiteral("frmCancel"), QStringLiteral("download")},
        {QStringLiteral("frmInterval"), QStringLiteral("log")},
        {QStringLiteral("frmMoniter"), QStringLiteral("watch")},
        {QStringLiteral("frmSource"), QStringLiteral("source")},
        {QStringLiteral("frmSrcValueSet"), QStringLiteral("source")},
        {QStringLiteral("frmForward"), QStringLiteral("forward")},
        {QStringLiteral("dlgCommon"), QStringLiteral("files")},
        {QStringLiteral("msgBox"), QStringLiteral("messages")},
    };
    for (const QString &name : names) {
        const auto found = Chapters.find(name);
        if (found != Chapters.end())
            return *found;
    }
    return QStringLiteral("index");
}

QString HelpNameOfData(int kind)
{
    return QStringLiteral("frmData%1").arg(kind);
}

QString HelpFile(const QString &chapter)
{
    const QDir program(QCoreApplication::applicationDirPath());
    for (const char *const folder : {"help", "../share/px40/help"}) {
        const QString file =
            program.filePath(QLatin1StringView(folder) + u'/' + chapter + QStringLiteral(".html"));
        if (QFile::exists(file))
            return QDir::cleanPath(file);
    }
    return {};
}

} // namespace px40
