// A server by the name of Excel.Application that records what it is asked to do, for tests under wine.
//   recorder register|unregister   in the registry
//   recorder running               is the running instance, tells "ready", and ends with its input
// Without an argument COM has started it. Beside the program stand scenario.txt, with a line for each thing
// that is out of the ordinary, and calls.txt, the record:
//   book PATH            a workbook of three sheets is open
//   file PATH            one that can be opened
//   hidden               the running instance is not visible
//   refuse               each call is refused as busy when it is made for the first time
//   fail CALL => TEXT    calls that begin so fail with that description; without a text access is denied
//   die CALL             the program ends at that call
#include "tests/excel/recorder.h"

#include <cstdio>
#include <iostream>
#include <thread>

namespace {

constexpr CLSID ClassId = {0x3d6f9a52, 0x81c4, 0x4f1e, {0xa7, 0x0b, 0x52, 0x6e, 0x90, 0xd1, 0x3c, 0x48}};
constexpr wchar_t ProgKey[] = L"Software\\Classes\\Excel.Application";
constexpr wchar_t ClassKey[] = L"Software\\Classes\\CLSID\\{3D6F9A52-81C4-4F1E-A70B-526E90D13C48}";

std::wstring ProgramPath()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

bool SetKey(const std::wstring &key, const std::wstring &text)
{
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, text.c_str(), bytes) ==
           ERROR_SUCCESS;
}

class Factory : public IClassFactory
{
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override
    {
        *object = id == IID_IUnknown || id == IID_IClassFactory ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *, REFIID id, void **object) override
    {
        auto *application = new Object(Kind::Application, "Application");
        const HRESULT result = application->QueryInterface(id, object);
        application->Release();
        return result;
    }
};

void HandleMessages()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
}

/// Begins with the first word, then a blank.
bool BeginsWith(const std::string &line, const std::string &word)
{
    return line.compare(0, word.size(), word) == 0;
}

} // namespace

Program &TheProgram()
{
    static Program program;
    return program;
}

Book *AddBook(const std::string &path)
{
    auto &books = TheProgram().books;
    auto book = std::make_unique<Book>();
    book->path = path;
    book->name = '[' + path.substr(path.rfind('\\') + 1) + ']';
    book->sheets = {"Sheet1", "Sheet2", "Sheet3"};
    books.push_back(std::move(book));
    return books.back().get();
}

std::string Utf8(const wchar_t *text)
{
    std::string utf8(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr)), 0);
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr);
    utf8.pop_back();
    return utf8;
}

std::wstring Utf16(const std::string &utf8)
{
    std::wstring text(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0)),
                      0);
    MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, text.data(), static_cast<int>(text.size()));
    text.pop_back();
    return text;
}

HRESULT Fail(EXCEPINFO *error, const std::string &description, SCODE code)
{
    error->bstrDescription = SysAllocString(Utf16(description).c_str());
    error->bstrSource = SysAllocString(L"Recorder");
    error->scode = code;
    return DISP_E_EXCEPTION;
}

Journal::Journal()
{
    const std::string path = Utf8(ProgramPath().c_str());
    const std::string folder = path.substr(0, path.rfind('\\') + 1);
    std::ifstream scenario(folder + "scenario.txt");
    for (std::string line; std::getline(scenario, line);)
        scenario_.push_back(line);
    calls_.open(folder + "calls.txt", std::ios::binary | std::ios::trunc);
}

std::vector<std::string> Journal::Scenario(const std::string &word) const
{
    std::vector<std::string> found;
    for (const std::string &line : scenario_) {
        if (line == word)
            found.emplace_back();
        else if (BeginsWith(line, word + ' '))
            found.push_back(line.substr(word.size() + 1));
    }
    return found;
}

void Journal::Write(const std::string &line)
{
    // Out at once: the client's end is waited for, not the server's, which may die.
    calls_ << line << '\n' << std::flush;
}

HRESULT Journal::Admit(const std::string &line, EXCEPINFO *error)
{
    for (const std::string &call : Scenario("die")) {
        if (BeginsWith(line, call)) {
            Write(line + " -> the end");
            ExitProcess(3);
        }
    }
    for (const std::string &rule : Scenario("fail")) {
        const std::size_t arrow = rule.find(" => ");
        if (!BeginsWith(line, rule.substr(0, arrow)))
            continue;
        Write(line + " -> failed");
        const std::string text = arrow == std::string::npos ? "" : rule.substr(arrow + 4);
        return Fail(error, text, text.empty() ? E_ACCESSDENIED : RefusedByModel);
    }
    if (!Scenario("refuse").empty() && refused_.insert(line).second) {
        static constexpr unsigned Busy[] = {0x80010001, 0x8001010A, 0x800AC472};
        Write(line + " -> busy");
        return static_cast<HRESULT>(Busy[refused_.size() % 3]);
    }
    return S_OK;
}

int wmain(int count, wchar_t **words)
{
    const std::wstring task = count > 1 ? words[1] : L"";
    if (task == L"register") {
        const std::wstring classText = std::wstring(ClassKey).substr(std::wstring(ClassKey).rfind(L'{'));
        const bool done = SetKey(std::wstring(ProgKey) + L"\\CLSID", classText) &&
                          SetKey(std::wstring(ClassKey) + L"\\LocalServer32", L'"' + ProgramPath() + L'"');
        return done ? 0 : 1;
    }
    if (task == L"unregister") {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, ProgKey);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassKey);
        return 0;
    }

    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    Program &program = TheProgram();
    for (const std::string &path : program.journal.Scenario("book"))
        AddBook(path);
    DWORD registration = 0;
    if (task == L"running") {
        program.endsByItself = false;
        program.visible = program.journal.Scenario("hidden").empty();
        auto *application = new Object(Kind::Application, "Application");
        RegisterActiveObject(application, ClassId, ACTIVEOBJECT_STRONG, &registration);
        application->Release();
        std::thread([thread = GetCurrentThreadId()] {
            while (std::getchar() != EOF) {
            }
            PostThreadMessageW(thread, WM_QUIT, 0, 0);
        }).detach();
        std::cout << "ready" << std::endl;
        HandleMessages();
        RevokeActiveObject(registration, nullptr);
        if (program.objects > 0)
            program.journal.Write("Left: " + std::to_string(program.objects));
    } else {
        // Serves one caller, so that the next one gets a new process.
        static Factory factory;
        CoRegisterClassObject(ClassId, &factory, CLSCTX_LOCAL_SERVER, REGCLS_SINGLEUSE, &registration);
        HandleMessages();
        CoRevokeClassObject(registration);
    }
    CoUninitialize();
    return 0;
}
