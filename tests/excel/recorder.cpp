// A server by the name of Excel.Application that records what it is asked to do, for tests under wine.
// As "recorder running" it is the running instance, tells "ready", and ends with its input. Without an
// argument COM has started it. Beside the program stand calls.txt, the record, and scenario.txt, of which the
// first line that fits a call says what becomes of it:
//   refuse               each call is refused as busy when it is made for the first time
//   fail CALL => TEXT    calls that begin so fail with that description; without a text access is denied
//   die CALL             the program ends at that call, and is without that line when it is started again
//   CALL -> ANSWER       a truth, a number, a text in quotes, or the name of an object
// What else is asked for is an object that is called after the call, and recorded if nothing is done with it.
#include <windows.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr CLSID ClassId = {0x3d6f9a52, 0x81c4, 0x4f1e, {0xa7, 0x0b, 0x52, 0x6e, 0x90, 0xd1, 0x3c, 0x48}};
constexpr LCID English = 0x0409;

/// What the real program gives for almost anything that it will not do.
constexpr auto RefusedByModel = static_cast<SCODE>(0x800A03EC);

std::string Utf8(const wchar_t *text)
{
    std::string utf8(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr)), 0);
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr);
    utf8.pop_back();
    return utf8;
}

BSTR Utf16(const std::string &utf8)
{
    wchar_t text[1000];
    MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, text, 1000);
    return SysAllocString(text);
}

/// A file beside the program.
std::string Beside(const char *name)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::string program = Utf8(path);
    return program.substr(0, program.rfind('\\') + 1) + name;
}

std::vector<std::string> ReadScenario()
{
    std::ifstream file(Beside("scenario.txt"), std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

const std::vector<std::string> Scenario = ReadScenario();
std::ofstream Calls(Beside("calls.txt"), std::ios::binary | std::ios::trunc);
std::set<std::string> Refused;
std::vector<std::string> Names; ///< of members, each by its number
int Objects = 0;
bool EndsByItself = true; ///< when the last object has gone

void Write(const std::string &line)
{
    // Out at once: the client's end is waited for, not the server's, which may die.
    Calls << line << '\n' << std::flush;
}

HRESULT Fail(EXCEPINFO *error, const std::string &description)
{
    error->bstrDescription = Utf16(description);
    error->bstrSource = SysAllocString(L"Recorder");
    error->scode = description.empty() ? E_ACCESSDENIED : RefusedByModel;
    return DISP_E_EXCEPTION;
}

/// Whether a call is let through.
HRESULT Admit(const std::string &call, EXCEPINFO *error)
{
    for (const std::string &rule : Scenario) {
        const std::size_t arrow = rule.find(" => ");
        if (rule == "refuse" && Refused.insert(call).second) {
            static constexpr unsigned Busy[] = {0x80010001, 0x8001010A, 0x800AC472};
            Write(call + " -> busy");
            return static_cast<HRESULT>(Busy[Refused.size() % 3]);
        }
        if (rule.starts_with("die ") && call.starts_with(rule.substr(4))) {
            Write(call + " -> the end");
            std::ofstream rest(Beside("scenario.txt"), std::ios::binary | std::ios::trunc);
            for (const std::string &other : Scenario) {
                if (other != rule)
                    rest << other << '\n';
            }
            rest.close();
            ExitProcess(3);
        }
        if (rule.starts_with("fail ") && call.starts_with(rule.substr(5, arrow - 5))) {
            Write(call + " -> failed");
            return Fail(error, arrow == std::string::npos ? "" : rule.substr(arrow + 4));
        }
    }
    return S_OK;
}

std::string TextOf(const VARIANT &argument);
bool Answer(const std::string &call, VARIANT *result);

/// An object of the model, alive while somebody holds it. `name` stands for it in the record.
class Object : public IDispatch
{
  public:
    Object(const std::string &name, bool isPart) : name_(name), isPart_(isPart) { ++Objects; }
    virtual ~Object()
    {
        if (!isPart_)
            Write(name_ + " released");
        else if (!isUsed_)
            Write(name_);
        if (--Objects > 0)
            return;
        Write("Nothing is left");
        if (EndsByItself)
            PostQuitMessage(0);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override
    {
        *object = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID none, wchar_t **names, UINT count, LCID language,
                                            DISPID *ids) override
    {
        if (none != IID_NULL || language != English || count != 1)
            return DISP_E_UNKNOWNNAME;
        const auto known = std::find(Names.begin(), Names.end(), Utf8(names[0]));
        ids[0] = static_cast<DISPID>(known - Names.begin());
        if (known == Names.end())
            Names.push_back(Utf8(names[0]));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID none, LCID language, WORD flags, DISPPARAMS *given,
                                     VARIANT *result, EXCEPINFO *error, UINT *) override
    {
        if (none != IID_NULL || language != English)
            return DISP_E_MEMBERNOTFOUND;
        const bool puts = flags == DISPATCH_PROPERTYPUT;
        if (puts ? given->cNamedArgs != 1 || given->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT
                 : flags != (DISPATCH_PROPERTYGET | DISPATCH_METHOD))
            return DISP_E_PARAMNOTFOUND;
        std::string arguments;
        for (UINT left = given->cArgs; left > 0; --left)
            arguments += TextOf(given->rgvarg[left - 1]) + (left > 1 ? ", " : "");
        std::string call = Use() + '.' + Names.at(static_cast<std::size_t>(id));
        if (puts)
            call += " = " + arguments;
        else if (given->cArgs > 0)
            call += '(' + arguments + ')';
        const HRESULT admitted = Admit(call, error);
        if (FAILED(admitted))
            return admitted;
        if (puts) {
            Write(call);
        } else if (!Answer(call, result)) {
            result->vt = VT_DISPATCH;
            result->pdispVal = new Object(call, true);
        }
        return S_OK;
    }

    /// Its name, for what is done with it.
    const std::string &Use()
    {
        isUsed_ = true;
        return name_;
    }

  private:
    std::string name_;
    bool isPart_; ///< made for the call that it is called after
    bool isUsed_ = false;
    ULONG references_ = 1;
};

std::string TextOf(const VARIANT &argument)
{
    switch (argument.vt) {
    case VT_I4:
        return std::to_string(argument.lVal);
    case VT_R8: // with two decimals
        return std::to_string(argument.dblVal).substr(0, std::to_string(argument.dblVal).size() - 4);
    case VT_BSTR:
        return '"' + Utf8(argument.bstrVal) + '"';
    case VT_BOOL:
        return argument.boolVal ? "True" : "False";
    case VT_DISPATCH: // our own objects come back as themselves
        return static_cast<Object *>(argument.pdispVal)->Use();
    default:
        return argument.vt == VT_ERROR && argument.scode == DISP_E_PARAMNOTFOUND ? "" : "?";
    }
}

/// Gives what stands behind the arrow in the scenario; false where nothing does.
bool Answer(const std::string &call, VARIANT *result)
{
    const auto found = std::find_if(Scenario.begin(), Scenario.end(), [&call](const std::string &rule) {
        return rule.starts_with(call + " -> ");
    });
    if (found == Scenario.end())
        return false;
    const std::string answer = found->substr(call.size() + 4);
    Write(*found);
    char *end = nullptr;
    const double number = std::strtod(answer.c_str(), &end);
    if (answer == "True" || answer == "False") {
        result->vt = VT_BOOL;
        result->boolVal = answer == "True" ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (answer[0] == '"') {
        result->vt = VT_BSTR;
        result->bstrVal = Utf16(answer.substr(1, answer.size() - 2));
    } else if (*end == '\0' && number == std::floor(number)) {
        result->vt = VT_I4;
        result->lVal = static_cast<LONG>(number);
    } else if (*end == '\0') {
        result->vt = VT_R8;
        result->dblVal = number;
    } else {
        result->vt = VT_DISPATCH;
        result->pdispVal = new Object(answer, false);
    }
    return true;
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
        auto *application = new Object("Application", false);
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

} // namespace

int wmain(int count, wchar_t **words)
{
    const std::wstring task = count > 1 ? words[1] : L"";
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    DWORD registration = 0;
    if (task == L"running") {
        EndsByItself = false;
        auto *application = new Object("Application", false);
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
        if (Objects > 0)
            Write("Left: " + std::to_string(Objects));
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
