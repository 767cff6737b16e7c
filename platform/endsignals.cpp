#include "platform/endsignals.h"

#ifdef Q_OS_UNIX
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>
#else
#include <QAbstractNativeEventFilter>
#include <QCoreApplication>

#include <future>
#include <mutex>
#include <thread>

#include <windows.h>
#endif

namespace px40 {

#ifdef Q_OS_UNIX

namespace {

constexpr std::array Signals = {SIGTERM, SIGINT, SIGHUP};
volatile std::sig_atomic_t writeEnd = -1;

/// All that is allowed in a signal handler.
void Tell(int)
{
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(writeEnd, &byte, 1);
    errno = before;
}

} // namespace

struct EndSignals::Source
{
    std::array<int, 2> ends{-1, -1};
    std::array<struct sigaction, Signals.size()> before{};
    std::unique_ptr<QSocketNotifier> notifier;
};

EndSignals::EndSignals() : source_(std::make_unique<Source>())
{
    if (::pipe(source_->ends.data()) != 0)
        return;
    for (const int end : source_->ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    writeEnd = source_->ends[1];
    source_->notifier = std::make_unique<QSocketNotifier>(source_->ends[0], QSocketNotifier::Read);
    connect(source_->notifier.get(), &QSocketNotifier::activated, this, [this] {
        std::array<char, 16> bytes{};
        while (::read(source_->ends[0], bytes.data(), bytes.size()) > 0) {
        }
        Q_EMIT asked();
    });
    struct sigaction action = {};
    action.sa_handler = &Tell;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        ::sigaction(Signals.at(i), nullptr, &source_->before.at(i));
        if (source_->before.at(i).sa_handler != SIG_IGN) // as it is below nohup
            ::sigaction(Signals.at(i), &action, nullptr);
    }
}

EndSignals::~EndSignals()
{
    if (!source_->notifier)
        return;
    for (std::size_t i = 0; i < Signals.size(); ++i)
        ::sigaction(Signals.at(i), &source_->before.at(i), nullptr);
    writeEnd = -1;
    for (const int end : source_->ends)
        ::close(end);
}

#else

namespace {

constexpr UINT Done = WM_APP; ///< nothing is heard any more

std::mutex hearing;
EndSignals *hearer = nullptr;

/// Called on threads of the system's and our own.
void Tell()
{
    const std::lock_guard lock(hearing);
    if (hearer)
        QMetaObject::invokeMethod(hearer, &EndSignals::asked, Qt::QueuedConnection);
}

BOOL WINAPI OnConsole(DWORD event)
{
    Tell();
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE); // this thread goes with the program
    return TRUE;
}

/// Until the window is closed.
void AnswerMessages()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    static bool held = false;
    switch (message) {
    case WM_QUERYENDSESSION:
        return TRUE;
    case WM_ENDSESSION:
        if (wParam) {
            Tell();
            held = true;
            AnswerMessages(); // the other windows of this program send some on their way out
        }
        return 0;
    case WM_CLOSE: // from taskkill, say
        Tell();
        return 0;
    case Done:
        if (!held)
            DestroyWindow(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

/// A window that is never shown: the end of a session is told to windows alone. It has a thread of its own,
/// so that the other one can end what is under way while the system waits for the answer.
void RunWindow(std::promise<HWND> made)
{
    WNDCLASSW kind = {};
    kind.lpfnWndProc = &OnMessage;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.lpszClassName = L"px40EndSignals";
    RegisterClassW(&kind);
    const HWND window = CreateWindowW(kind.lpszClassName, L"", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                                      kind.hInstance, nullptr);
    made.set_value(window);
    if (window)
        AnswerMessages();
}

} // namespace

/// Answers for the other windows: Qt would end the event loop at once, with what is under way in it.
struct EndSignals::Source : QAbstractNativeEventFilter
{
    bool nativeEventFilter(const QByteArray &, void *message, qintptr *result) override
    {
        const UINT kind = static_cast<MSG *>(message)->message;
        if (kind != WM_QUERYENDSESSION && kind != WM_ENDSESSION)
            return false;
        if (result)
            *result = kind == WM_QUERYENDSESSION ? TRUE : 0;
        return true;
    }

    HWND window = nullptr;
    std::thread thread;
};

EndSignals::EndSignals() : source_(std::make_unique<Source>())
{
    hearer = this;
    std::promise<HWND> made;
    std::future<HWND> window = made.get_future();
    source_->thread = std::thread(&RunWindow, std::move(made));
    source_->window = window.get();
    QCoreApplication::instance()->installNativeEventFilter(source_.get());
    SetConsoleCtrlHandler(&OnConsole, TRUE);
}

EndSignals::~EndSignals()
{
    {
        const std::lock_guard lock(hearing);
        hearer = nullptr;
    }
    SetConsoleCtrlHandler(&OnConsole, FALSE);
    if (source_->window)
        PostMessageW(source_->window, Done, 0, 0);
    // It may be holding the system.
    source_->thread.detach();
}

#endif

} // namespace px40
