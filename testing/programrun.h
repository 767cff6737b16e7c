#pragma once

#include "testing/wait.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

namespace px40 {

/// A run of the program to its end, with nothing that leads to a display and as little as a script may have.
struct ProgramRun
{
    enum TemporaryFolder { HasTemporary, NoTemporary };

    /// In that folder. `redirection`: of the standard output, as a shell has it.
    ProgramRun(const QString &folder, const QStringList &arguments, const QString &redirection = {},
               TemporaryFolder temporary = HasTemporary)
    {
        const QTemporaryDir own;
        QProcess process;
        QProcessEnvironment environment;
        environment.insert(u"XDG_CONFIG_HOME"_qs, own.path());
        environment.insert(u"TMPDIR"_qs, temporary == HasTemporary ? own.path() : own.filePath(u"gone"_qs));
        environment.insert(u"LC_ALL"_qs, u"C.UTF-8"_qs);
        environment.insert(u"LSAN_OPTIONS"_qs, qEnvironmentVariable("LSAN_OPTIONS"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        const QString program = QCoreApplication::applicationDirPath() + u"/px40ap"_qs;
        if (redirection.isEmpty())
            process.start(program, arguments);
        else
            process.start(u"/bin/sh"_qs,
                          QStringList{u"-c"_qs, u"exec \"$0\" \"$@\" "_qs + redirection, program} +
                              arguments);
        ended = WaitUntil([&] { return process.state() == QProcess::NotRunning; }, 60000) &&
                process.exitStatus() == QProcess::NormalExit;
        code = process.exitCode();
        said = QString::fromUtf8(process.readAllStandardError());
        printed = process.readAllStandardOutput();
    }

    bool ended = false;
    int code = -1;
    QString said;
    QByteArray printed;
};

} // namespace px40
