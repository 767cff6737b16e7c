// px40ap.com, the program for the command prompt, which takes it before px40ap.exe. It starts that one, a
// window program for which no prompt waits, with the same command line and the same standard streams, waits
// for it and ends with its exit code.

#include <windows.h>

#include <cstdio>
#include <string>

namespace {

constexpr DWORD LongestName = 32768;
constexpr int NotStarted = 1;

/// Ctrl+C is for the program itself, which is in the same console: its end is waited for.
BOOL WINAPI LeaveToProgram(DWORD event)
{
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

std::wstring Program()
{
    std::wstring name(LongestName, L'\0');
    name.resize(GetModuleFileNameW(nullptr, name.data(), LongestName));
    return name.substr(0, name.rfind(L'.')) + L".exe";
}

HANDLE Inherited(DWORD which)
{
    const HANDLE handle = GetStdHandle(which);
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return handle;
}

} // namespace

int main()
{
    SetConsoleCtrlHandler(&LeaveToProgram, TRUE);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = Inherited(STD_INPUT_HANDLE);
    start.hStdOutput = Inherited(STD_OUTPUT_HANDLE);
    start.hStdError = Inherited(STD_ERROR_HANDLE);
    PROCESS_INFORMATION program = {};
    std::wstring line = GetCommandLineW();
    if (!CreateProcessW(Program().c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                        &program)) {
        std::fprintf(stderr, "px40ap.exe could not be started (error %lu).\n", GetLastError());
        return NotStarted;
    }
    CloseHandle(program.hThread);
    WaitForSingleObject(program.hProcess, INFINITE);
    DWORD code = NotStarted;
    GetExitCodeProcess(program.hProcess, &code);
    return static_cast<int>(code);
}
