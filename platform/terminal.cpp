#include "platform/terminal.h"

#include <QFile>

#ifdef Q_OS_WIN
#include <QCoreApplication>

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#endif

namespace px40 {

namespace {

#ifdef Q_OS_WIN

constexpr DWORD Output = STD_OUTPUT_HANDLE;
constexpr DWORD Error = STD_ERROR_HANDLE;

/// Null where there is no such stream.
HANDLE Stream(DWORD which)
{
    const HANDLE handle = GetStdHandle(which);
    return handle != INVALID_HANDLE_VALUE && GetFileType(handle) != FILE_TYPE_UNKNOWN ? handle : nullptr;
}

bool IsTerminal(DWORD which)
{
    DWORD mode = 0;
    return GetConsoleMode(Stream(which), &mode) != 0;
}

bool WasGivenStreams()
{
    STARTUPINFOW start = {};
    GetStartupInfoW(&start);
    return (start.dwFlags & STARTF_USESTDHANDLES) != 0;
}

bool Write(DWORD which, QString text)
{
    const HANDLE stream = Stream(which);
    if (IsTerminal(which)) {
        DWORD taken = 0;
        return WriteConsoleW(stream, text.utf16(), static_cast<DWORD>(text.size()), &taken, nullptr) != 0;
    }
    const UINT encoding = GetConsoleOutputCP() != 0 ? GetConsoleOutputCP() : CP_UTF8;
    text.replace(u'\n', QStringLiteral("\r\n"));
    const auto *const wide = reinterpret_cast<const wchar_t *>(text.utf16());
    const auto length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(encoding, 0, wide, length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(encoding, 0, wide, length, bytes.data(), size, nullptr, nullptr);
    std::size_t done = 0;
    while (stream && done < bytes.size()) {
        DWORD taken = 0;
        if (!WriteFile(stream, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &taken, nullptr))
            return false;
        done += taken;
    }
    return stream != nullptr;
}

/// Writes to the error stream on a thread: a console in which somebody marks text takes nothing until that is
/// over, and a run must not wait for it.
class Aside
{
  public:
    /// Lives as long as the thread.
    static Aside &Only()
    {
        static Aside &only = *new Aside;
        return only;
    }

    void Print(const QString &text)
    {
        const std::lock_guard lock(mutex_);
        waiting_ += text;
        if (!std::exchange(runs_, true))
            std::thread(&Aside::Work, this).detach();
        changed_.notify_all();
    }

    bool HasRoom()
    {
        constexpr qsizetype Most = 4096;
        const std::lock_guard lock(mutex_);
        return waiting_.size() < Most;
    }

    void Finish()
    {
        constexpr std::chrono::seconds Patience{1};
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, Patience, [this] { return waiting_.isEmpty() && !writes_; });
    }

  private:
    [[noreturn]] void Work()
    {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return !waiting_.isEmpty(); });
            const QString text = std::exchange(waiting_, {});
            writes_ = true;
            lock.unlock();
            Write(Error, text);
            lock.lock();
            writes_ = false;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    QString waiting_;
    bool runs_ = false;
    bool writes_ = false;
};

bool Print(DWORD which, const QString &text)
{
    Aside::Only().Finish();
    return Write(which, text);
}

void PrintAside(const QString &text)
{
    Aside::Only().Print(text);
}

bool TakesBytes(DWORD which, int)
{
    return Stream(which) && (which != Error || Aside::Only().HasRoom());
}

#else

std::FILE *const Output = stdout;
std::FILE *const Error = stderr;

bool Print(std::FILE *stream, const QString &text)
{
    return std::fputs(text.toLocal8Bit().constData(), stream) >= 0 && std::fflush(stream) == 0;
}

void PrintAside(const QString &text)
{
    Print(stderr, text);
}

bool IsTerminal(std::FILE *stream)
{
    return ::isatty(::fileno(stream)) != 0;
}

/// Where the other end has gone it takes bytes as well: writing them says so.
bool TakesBytes(std::FILE *stream, int milliseconds)
{
    pollfd line{::fileno(stream), POLLOUT, 0};
    return ::poll(&line, 1, milliseconds) == 1;
}

#endif

} // namespace

void KeepStandardStreams()
{
#ifdef Q_OS_WIN
    // Files and pipes stay what they were: whoever joins a console gets that for all of its streams.
    const std::array given = {std::pair(Output, Stream(Output)), std::pair(Error, Stream(Error))};
    // Nothing is lost where it fails: there is no console then, or it is this program's already.
    AttachConsole(ATTACH_PARENT_PROCESS);
    for (const auto &[which, before] : given) {
        HANDLE stream = before;
        if (!stream && !WasGivenStreams())
            stream = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 nullptr, OPEN_EXISTING, 0, nullptr);
        if (stream && stream != INVALID_HANDLE_VALUE)
            SetStdHandle(which, stream);
    }
#else
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(number, F_GETFD) < 0)
            ::open("/dev/null", O_RDONLY); // gets this number, and refuses what is written to it
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void AwaitTold()
{
#ifdef Q_OS_WIN
    Aside::Only().Finish();
#endif
}

void LeaveConsole()
{
#ifdef Q_OS_WIN
    if (!WasGivenStreams())
        FreeConsole();
#endif
}

bool IsOutputTerminal()
{
    return IsTerminal(Output);
}

bool IsErrorTerminal()
{
    return IsTerminal(Error);
}

bool OutputTakesLine(int milliseconds)
{
    return TakesBytes(Output, milliseconds);
}

Result<> OpenOutput(QFile *file)
{
#ifdef Q_OS_WIN
    const int number = _open_osfhandle(reinterpret_cast<intptr_t>(Stream(Output)), _O_BINARY);
    if (number < 0)
        return Fail(qt_error_string(ERROR_INVALID_HANDLE));
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
    return Print(Output, text + u'\n');
}

void PrintError(const QString &text)
{
    Print(Error, text + u'\n');
}

void TellStarter(const QString &text, bool wrong)
{
#ifdef Q_OS_WIN
    if (!Stream(wrong ? Error : Output)) {
        const std::wstring title = QCoreApplication::applicationName().toStdWString();
        MessageBoxW(nullptr, text.toStdWString().c_str(), title.c_str(), wrong ? MB_ICONWARNING : MB_OK);
        return;
    }
#endif
    if (wrong)
        PrintError(text);
    else
        PrintLine(text);
}

void NoteError(const QString &text)
{
    if (TakesBytes(Error, 0))
        PrintAside(text + u'\n');
}

void ShowOnTerminal(const QString &text)
{
    static const bool shown = IsErrorTerminal();
    static qsizetype before = 0;
    if (!shown || !TakesBytes(Error, 0))
        return;
    PrintAside(u'\r' + text.leftJustified(before, u' ') + u'\r' + text);
    before = text.size();
}

} // namespace px40
