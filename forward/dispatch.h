#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <concepts>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace px40 {

/// The system's words for a result, in UTF-8 and without a line end.
std::string SystemMessage(HRESULT code);

/// Throws `SpreadsheetError` unless `code` is a success.
void Check(HRESULT code);

/// COM on this thread, in a single-threaded apartment unless the thread has chosen another one before.
class ComApartment
{
  public:
    ComApartment() : entered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~ComApartment()
    {
        if (entered_)
            CoUninitialize();
    }
    ComApartment(const ComApartment &) = delete;
    ComApartment &operator=(const ComApartment &) = delete;

  private:
    bool entered_;
};

class Dispatch;

/// An argument or a result of automation; owns what it holds. Texts are UTF-8.
class Value
{
  public:
    Value() { VariantInit(&variant_); }
    Value(int number);
    Value(const Dispatch &object);
    template <std::same_as<bool> T>
    Value(T truth) : Value()
    {
        variant_.vt = VT_BOOL;
        variant_.boolVal = truth ? VARIANT_TRUE : VARIANT_FALSE;
    }
    template <std::convertible_to<std::string_view> T>
    Value(const T &text) : Value()
    {
        SetText(text);
    }
    Value(Value &&other) noexcept : variant_(other.variant_) { VariantInit(&other.variant_); }
    Value &operator=(Value &&) = delete;
    ~Value() { VariantClear(&variant_); }

    /// In place of an optional argument that others follow.
    static Value Omitted();

    /// These throw when the value is of no such kind.
    bool Truth() const;
    int Number() const;
    std::string Text() const;
    IDispatch *Object() const; ///< borrowed

    /// For calls that fill it in or read it; it stays the owner.
    VARIANT *Raw() { return &variant_; }
    const VARIANT *Raw() const { return &variant_; }

  private:
    void SetText(std::string_view utf8);
    Value As(VARTYPE type) const;

    VARIANT variant_;
};

/// Numbers of the members of one kind of object, asked for once each.
using DispatchIds = std::map<std::wstring, DISPID>;

/// An object of an automation server, used by the names of its members. Owns one reference, or is empty.
/// Calls throw `SpreadsheetError`.
class Dispatch
{
  public:
    Dispatch() = default;

    /// Takes over a reference. `ids`: shared by objects of one kind, and outlives them; null: asks each time.
    explicit Dispatch(IDispatch *object, DispatchIds *ids = nullptr) : object_(object), ids_(ids) {}

    explicit operator bool() const { return object_ != nullptr; }

    /// Reads a property or calls a method.
    Value Call(const wchar_t *name, std::initializer_list<Value> arguments = {}) const;

    /// The same, where the result is an object.
    Dispatch Object(const wchar_t *name, std::initializer_list<Value> arguments = {},
                    DispatchIds *ids = nullptr) const;

    void Put(const wchar_t *name, const Value &value) const;

  private:
    friend class Value;
    struct Release
    {
        void operator()(IDispatch *object) const { object->Release(); }
    };
    DISPID Id(const wchar_t *name) const;
    void Invoke(const wchar_t *name, WORD kind, DISPPARAMS *parameters, VARIANT *result) const;

    std::unique_ptr<IDispatch, Release> object_;
    DispatchIds *ids_ = nullptr;
};

} // namespace px40
