#pragma once

#include <windows.h>

#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// What the recording server is to do and has seen; one line of UTF-8 a call.
class Journal
{
  public:
    /// Reads the scenario and begins the record, both beside the program.
    Journal();

    /// The arguments of all lines of the scenario that begin with that word and a blank.
    std::vector<std::string> Scenario(const std::string &word) const;
    void Write(const std::string &line);

    /// Whether a call is let through. Writes the line if it is not; may end the process.
    HRESULT Admit(const std::string &line, EXCEPINFO *error);

  private:
    std::ofstream calls_;
    std::vector<std::string> scenario_;
    std::set<std::string> refused_;
};

struct Book
{
    std::string name;                ///< as it stands in front of its sheets, without brackets
    std::string path;                ///< FullName
    std::vector<std::string> sheets; ///< in their order
};

enum class Kind {
    Application,
    Workbooks,
    Workbook,
    Worksheets,
    Worksheet,
    Range,
    Border,
    ChartObjects,
    ChartObject,
    Chart,
    Axis
};

/// An object of the model, alive while somebody holds it. `name` stands for it in the record.
class Object : public IDispatch
{
  public:
    Object(Kind kind, std::string name, Book *book = nullptr);
    virtual ~Object();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID none, wchar_t **names, UINT count, LCID language,
                                            DISPID *ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID none, LCID language, WORD flags, DISPPARAMS *given,
                                     VARIANT *result, EXCEPINFO *error, UINT *) override;

    const std::string &Name() const { return name_; }

  private:
    std::string Give(VARIANT *result, Kind kind, const std::string &name, Book *book) const;
    std::string Do(const std::string &member, bool put, const std::vector<VARIANT> &arguments,
                   VARIANT *result);

    Kind kind_;
    std::string name_;
    Book *book_;
    ULONG references_ = 1;
};

/// The running program, which all its objects share.
struct Program
{
    Journal journal;
    bool visible = false;
    std::vector<std::unique_ptr<Book>> books;
    int objects = 0;          ///< alive
    bool endsByItself = true; ///< when the last object has gone
};

Program &TheProgram();

/// Opens one more workbook.
Book *AddBook(const std::string &path);

/// What the real program gives for almost anything that it will not do.
constexpr auto RefusedByModel = static_cast<SCODE>(0x800A03EC);

/// What a call that fails gives: that description, or none.
HRESULT Fail(EXCEPINFO *error, const std::string &description, SCODE code);

std::string Utf8(const wchar_t *text);
std::wstring Utf16(const std::string &utf8);
