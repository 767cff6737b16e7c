#include "forward/dispatch.h"

#include "forward/sheettarget.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <new>
#include <vector>

namespace px40 {

namespace {

/// English (United States): decimal points and names of formats are the same in every language of Windows.
constexpr LCID Language = 0x0409;

std::string Utf8(const wchar_t *text, UINT length)
{
    if (length == 0)
        return {};
    const int units = static_cast<int>(length);
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, units, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, units, utf8.data(), bytes, nullptr, nullptr);
    return utf8;
}

std::string Trimmed(std::string text)
{
    text.erase(text.find_last_not_of(" \r\n") + 1);
    return text;
}

/// Excel cannot answer now: a cell is being edited, a dialog is open, or Excel is still starting.
bool IsBusy(HRESULT code)
{
    constexpr auto ExcelIgnores = static_cast<HRESULT>(0x800AC472);
    return code == RPC_E_CALL_REJECTED || code == RPC_E_SERVERCALL_RETRYLATER || code == ExcelIgnores;
}

/// What the called program says about an error.
struct ErrorInfo : EXCEPINFO
{
    ErrorInfo() : EXCEPINFO{} {}
    ~ErrorInfo()
    {
        for (const BSTR text : {bstrSource, bstrDescription, bstrHelpFile})
            SysFreeString(text);
    }
    ErrorInfo(const ErrorInfo &) = delete;
    ErrorInfo &operator=(const ErrorInfo &) = delete;

    SpreadsheetError Error()
    {
        if (pfnDeferredFillIn)
            pfnDeferredFillIn(this);
        const HRESULT code = FAILED(scode) ? scode : DISP_E_EXCEPTION;
        const std::string text = Trimmed(Utf8(bstrDescription, SysStringLen(bstrDescription)));
        return SpreadsheetError(text.empty() ? SystemMessage(code) : text, IsBusy(code));
    }
};

} // namespace

std::string SystemMessage(HRESULT code)
{
    const auto words = [](DWORD number) {
        wchar_t *text = nullptr;
        const DWORD length =
            FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                               FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                           nullptr, number, 0, reinterpret_cast<wchar_t *>(&text), 0, nullptr);
        const std::unique_ptr<wchar_t, decltype(&LocalFree)> owner(text, &LocalFree);
        return Trimmed(Utf8(text, length));
    };
    std::string message = words(static_cast<DWORD>(code));
    if (message.empty() && HRESULT_FACILITY(code) == FACILITY_WIN32)
        message = words(static_cast<DWORD>(HRESULT_CODE(code)));
    if (message.empty()) {
        std::array<char, 16> number{};
        std::snprintf(number.data(), number.size(), "0x%08lX", static_cast<unsigned long>(code));
        message = number.data();
    }
    return message;
}

void Check(HRESULT code)
{
    if (FAILED(code))
        throw SpreadsheetError(SystemMessage(code), IsBusy(code));
}

Value::Value(int number) : Value()
{
    variant_.vt = VT_I4;
    variant_.lVal = number;
}

Value::Value(const Dispatch &object) : Value()
{
    variant_.vt = VT_DISPATCH;
    variant_.pdispVal = object.object_.get();
    if (variant_.pdispVal)
        variant_.pdispVal->AddRef();
}

void Value::SetText(std::string_view utf8)
{
    const int bytes = static_cast<int>(std::min<std::size_t>(utf8.size(), std::numeric_limits<int>::max()));
    const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
    const BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(units));
    if (!text)
        throw std::bad_alloc();
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, text, units);
    variant_.vt = VT_BSTR;
    variant_.bstrVal = text;
}

Value Value::Omitted()
{
    Value value;
    value.variant_.vt = VT_ERROR;
    value.variant_.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

Value Value::As(VARTYPE type) const
{
    Value changed;
    // The function only reads its source, though its parameter is not const.
    Check(VariantChangeTypeEx(&changed.variant_, const_cast<VARIANT *>(&variant_), Language, 0, type));
    return changed;
}

bool Value::Truth() const
{
    return As(VT_BOOL).variant_.boolVal != VARIANT_FALSE;
}

int Value::Number() const
{
    return As(VT_I4).variant_.lVal;
}

std::string Value::Text() const
{
    const Value text = As(VT_BSTR);
    return Utf8(text.variant_.bstrVal, SysStringLen(text.variant_.bstrVal));
}

IDispatch *Value::Object() const
{
    if (variant_.vt != VT_DISPATCH || !variant_.pdispVal)
        Check(DISP_E_TYPEMISMATCH);
    return variant_.pdispVal;
}

DISPID Dispatch::Id(const wchar_t *name) const
{
    if (ids_) {
        if (const auto known = ids_->find(name); known != ids_->end())
            return known->second;
    }
    auto *text = const_cast<wchar_t *>(name);
    DISPID id = DISPID_UNKNOWN;
    Check(object_->GetIDsOfNames(IID_NULL, &text, 1, Language, &id));
    if (ids_)
        ids_->emplace(name, id);
    return id;
}

void Dispatch::Invoke(const wchar_t *name, WORD kind, DISPPARAMS *parameters, VARIANT *result) const
{
    if (!object_)
        Check(RPC_E_DISCONNECTED);
    const DISPID id = Id(name);
    ErrorInfo error;
    const HRESULT code = object_->Invoke(id, IID_NULL, Language, kind, parameters, result, &error, nullptr);
    if (code == DISP_E_EXCEPTION)
        throw error.Error();
    Check(code);
}

Value Dispatch::Call(const wchar_t *name, std::initializer_list<Value> arguments) const
{
    // COM takes the last argument first. The texts in them still belong to `arguments`.
    std::vector<VARIANT> reversed;
    for (const Value &argument : arguments)
        reversed.insert(reversed.begin(), *argument.Raw());
    DISPPARAMS parameters = {};
    parameters.rgvarg = reversed.data();
    parameters.cArgs = static_cast<UINT>(reversed.size());

    Value result;
    Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, &parameters, result.Raw());
    return result;
}

Dispatch Dispatch::Object(const wchar_t *name, std::initializer_list<Value> arguments, DispatchIds *ids) const
{
    const Value result = Call(name, arguments);
    IDispatch *object = result.Object();
    object->AddRef();
    return Dispatch(object, ids);
}

void Dispatch::Put(const wchar_t *name, const Value &value) const
{
    VARIANT argument = *value.Raw();
    DISPID meaning = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&argument, &meaning, 1, 1};
    Invoke(name, DISPATCH_PROPERTYPUT, &parameters, nullptr);
}

} // namespace px40
