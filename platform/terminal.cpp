#include "platform/terminal.h"

#include <cstdio>

#ifdef Q_OS_WIN
#include <io.h>
#else
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

} // namespace

bool PrintLine(const QString &text)
{
    return Print(stdout, text + u'\n');
}

void PrintError(const QString &text)
{
    Print(stderr, text + u'\n');
}

void ShowOnTerminal(const QString &text)
{
    static const bool shown = IsTerminal(stderr);
    static qsizetype before = 0;
    if (!shown)
        return;
    Print(stderr, u'\r' + text.leftJustified(before, u' ') + u'\r' + text);
    before = text.size();
}

} // namespace px40
