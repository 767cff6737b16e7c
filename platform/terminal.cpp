#include "platform/terminal.h"

#include <QFile>

#include <cstdio>

#ifdef Q_OS_WIN
#include <fcntl.h>
#include <io.h>
#else
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#endif

namespace px40 {

namespace {

bool Print(std::FILE *stream, const QString &text)
{
    return std::fputs(text.toLocal8Bit().constData(), stream) >= 0 && std::fflush(stream) == 0;
}

bool IsTerminal(std::FILE *stream)
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stream)) != 0;
#else
    return ::isatty(::fileno(stream)) != 0;
#endif
}

/// Where the other end has gone it takes bytes as well: writing them says so.
bool TakesBytes([[maybe_unused]] std::FILE *stream, [[maybe_unused]] int milliseconds)
{
#ifdef Q_OS_WIN
    return true;
#else
    pollfd line{::fileno(stream), POLLOUT, 0};
    return ::poll(&line, 1, milliseconds) == 1;
#endif
}

} // namespace

void KeepStandardStreams()
{
#ifndef Q_OS_WIN
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(number, F_GETFD) < 0)
            ::open("/dev/null", O_RDONLY); // gets this number, and refuses what is written to it
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

bool IsOutputTerminal()
{
    return IsTerminal(stdout);
}

bool IsErrorTerminal()
{
    return IsTerminal(stderr);
}

bool OutputTakesLine(int milliseconds)
{
    return TakesBytes(stdout, milliseconds);
}

Result<> OpenOutput(QFile *file)
{
#ifdef Q_OS_WIN
    _setmode(_fileno(stdout), _O_BINARY);
    const int number = _fileno(stdout);
#else
    const int number = STDOUT_FILENO;
    if ((::fcntl(number, F_GETFL) & O_ACCMODE) == O_RDONLY)
        return Fail(qt_error_string(EBADF));
#endif
    if (!file->open(number, QIODevice::WriteOnly | QIODevice::Unbuffered))
        return Fail(file->errorString());
    return {};
}

bool PrintLine(const QString &text)
{
    return Print(stdout, text + u'\n');
}

void PrintError(const QString &text)
{
    Print(stderr, text + u'\n');
}

void NoteError(const QString &text)
{
    if (TakesBytes(stderr, 0))
        PrintError(text);
}

void ShowOnTerminal(const QString &text)
{
    static const bool shown = IsErrorTerminal();
    static qsizetype before = 0;
    if (!shown || !TakesBytes(stderr, 0))
        return;
    Print(stderr, u'\r' + text.leftJustified(before, u' ') + u'\r' + text);
    before = text.size();
}

} // namespace px40
