#include "tests/excel/recorder.h"

#include <algorithm>
#include <regex>

namespace {

constexpr LCID English = 0x0409;

enum class Use {
    Part,   ///< an object that is there anyway; stands in the record as part of what is done with it
    Get,    ///< a property that is read
    Method, ///< also one that makes an object, or finds one
    Put
};

/// A member that an object has. `arguments`: i whole number, n number, s text, b truth, o object, - omitted.
struct Member
{
    Kind of;
    const char *name;
    Use use;
    const char *arguments;
    Kind part = Kind::Application;
};

constexpr Member Members[] = {
    {Kind::Application, "Visible", Use::Get, ""},
    {Kind::Application, "Visible", Use::Put, "b"},
    {Kind::Application, "Interactive", Use::Put, "b"},
    {Kind::Application, "Workbooks", Use::Part, "", Kind::Workbooks},
    {Kind::Workbooks, "Count", Use::Get, ""},
    {Kind::Workbooks, "Item", Use::Method, "i"},
    {Kind::Workbooks, "Add", Use::Method, ""},
    {Kind::Workbooks, "Open", Use::Method, "s"},
    {Kind::Workbook, "FullName", Use::Get, ""},
    {Kind::Workbook, "Worksheets", Use::Part, "", Kind::Worksheets},
    {Kind::Worksheets, "Count", Use::Get, ""},
    {Kind::Worksheets, "Item", Use::Method, "i"},
    {Kind::Worksheets, "Add", Use::Method, ""},
    {Kind::Worksheet, "Move", Use::Method, "-o"},
    {Kind::Worksheet, "Cells", Use::Part, "ii", Kind::Range},
    {Kind::Worksheet, "Range", Use::Part, "s", Kind::Range},
    {Kind::Worksheet, "ChartObjects", Use::Part, "", Kind::ChartObjects},
    {Kind::Range, "NumberFormat", Use::Put, "s"},
    {Kind::Range, "Value", Use::Put, "s"},
    {Kind::Range, "HorizontalAlignment", Use::Put, "i"},
    {Kind::Range, "Activate", Use::Method, ""},
    {Kind::Range, "Left", Use::Get, ""},
    {Kind::Range, "Top", Use::Get, ""},
    {Kind::Range, "Borders", Use::Part, "i", Kind::Border},
    {Kind::Border, "Weight", Use::Put, "i"},
    {Kind::ChartObjects, "Add", Use::Method, "nnnn"},
    {Kind::ChartObject, "Chart", Use::Part, "", Kind::Chart},
    {Kind::Chart, "ChartWizard", Use::Method, "oiiiiibs"},
    {Kind::Chart, "Axes", Use::Part, "ii", Kind::Axis},
    {Kind::Axis, "HasMajorGridlines", Use::Put, "b"},
};

WORD FlagsOf(Use use)
{
    return use == Use::Put      ? DISPATCH_PROPERTYPUT
           : use == Use::Method ? DISPATCH_METHOD
                                : DISPATCH_PROPERTYGET;
}

char LetterOf(const VARIANT &argument)
{
    switch (argument.vt) {
    case VT_I4:
        return 'i';
    case VT_R8:
        return 'n';
    case VT_BSTR:
        return 's';
    case VT_BOOL:
        return 'b';
    case VT_DISPATCH:
        return 'o';
    case VT_ERROR:
        return argument.scode == DISP_E_PARAMNOTFOUND ? '-' : '?';
    default:
        return '?';
    }
}

std::string TextOf(const VARIANT &argument)
{
    switch (LetterOf(argument)) {
    case 'i':
        return std::to_string(argument.lVal);
    case 'n':
        return std::to_string(argument.dblVal).substr(0, std::to_string(argument.dblVal).size() - 4);
    case 's':
        return '"' + Utf8(argument.bstrVal) + '"';
    case 'b':
        return argument.boolVal ? "True" : "False";
    case 'o':
        // Our own objects come back as themselves.
        return static_cast<Object *>(argument.pdispVal)->Name();
    default:
        return "";
    }
}

/// What a real program would not take.
bool IsValid(const std::string &member, const std::vector<VARIANT> &arguments)
{
    const LONG number = arguments.empty() || arguments[0].vt != VT_I4 ? 0 : arguments[0].lVal;
    if (member == "Borders")
        return number >= 5 && number <= 12;
    if (member == "Weight")
        return number == 1 || number == 2 || number == 4 || number == -4138;
    if (member == "Range")
        return std::regex_match(TextOf(arguments[0]),
                                std::regex("\"[A-Z]{1,3}[1-9][0-9]*(:[A-Z]{1,3}[1-9][0-9]*)?\""));
    if (member == "Cells" || member == "Axes")
        return number >= 1 && arguments[1].lVal >= 1;
    return true;
}

/// The number of a member, the same for all of that name.
DISPID IdOf(const std::string &name)
{
    const auto *found = std::find_if(std::begin(Members), std::end(Members),
                                     [&name](const Member &member) { return member.name == name; });
    return static_cast<DISPID>(found - std::begin(Members)) + 1;
}

} // namespace

Object::Object(Kind kind, std::string name, Book *book) : kind_(kind), name_(std::move(name)), book_(book)
{
    ++TheProgram().objects;
}

Object::~Object()
{
    Program &program = TheProgram();
    if (kind_ == Kind::Application || kind_ == Kind::Worksheet || kind_ == Kind::Workbook)
        program.journal.Write(name_ + " released");
    if (--program.objects == 0) {
        program.journal.Write("Nothing is left");
        if (program.endsByItself)
            PostQuitMessage(0);
    }
}

HRESULT Object::QueryInterface(REFIID id, void **object)
{
    *object = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
    if (!*object)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG Object::Release()
{
    const ULONG left = --references_;
    if (left == 0)
        delete this;
    return left;
}

HRESULT Object::GetTypeInfoCount(UINT *count)
{
    *count = 0;
    return S_OK;
}

HRESULT Object::GetIDsOfNames(REFIID none, wchar_t **names, UINT count, LCID language, DISPID *ids)
{
    if (none != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (language != English)
        return DISP_E_UNKNOWNLCID;
    *ids = DISPID_UNKNOWN;
    for (const Member &member : Members) {
        if (count == 1 && member.of == kind_ && Utf8(names[0]) == member.name)
            *ids = IdOf(member.name);
    }
    return *ids == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
}

HRESULT Object::Invoke(DISPID id, REFIID none, LCID language, WORD flags, DISPPARAMS *given, VARIANT *result,
                       EXCEPINFO *error, UINT *)
{
    if (none != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (language != English)
        return DISP_E_UNKNOWNLCID;
    const Member *member =
        std::find_if(std::begin(Members), std::end(Members), [=, this](const Member &each) {
            return each.of == kind_ && IdOf(each.name) == id && (flags & FlagsOf(each.use)) != 0;
        });
    if (member == std::end(Members))
        return DISP_E_MEMBERNOTFOUND;
    const bool put = member->use == Use::Put;
    if (put && (given->cNamedArgs != 1 || given->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT))
        return DISP_E_PARAMNOTFOUND;

    std::vector<VARIANT> arguments(given->rgvarg, given->rgvarg + given->cArgs);
    std::reverse(arguments.begin(), arguments.end());
    const std::string wanted = member->arguments;
    if (wanted.size() != arguments.size())
        return DISP_E_BADPARAMCOUNT;
    std::string texts;
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        const char letter = LetterOf(arguments[index]);
        if (letter != wanted[index] && !(letter == 'i' && wanted[index] == 'n'))
            return DISP_E_TYPEMISMATCH;
        texts += (index == 0 ? "" : ", ") + TextOf(arguments[index]);
    }

    std::string line = name_ + '.' + member->name;
    if (put)
        line += " = " + texts;
    else if (member->use == Use::Method || !texts.empty())
        line += '(' + texts + ')';
    Journal &journal = TheProgram().journal;
    const HRESULT admitted = journal.Admit(line, error);
    if (FAILED(admitted))
        return admitted;
    try {
        if (!IsValid(member->name, arguments))
            throw std::runtime_error("Not valid: " + line);
        if (member->use == Use::Part) {
            Give(result, member->part, line, book_);
            return S_OK;
        }
        const std::string outcome = Do(member->name, put, arguments, result);
        journal.Write(outcome.empty() ? line : line + " -> " + outcome);
        return S_OK;
    } catch (const std::runtime_error &refusal) {
        journal.Write(line + " -> failed");
        return Fail(error, refusal.what(), RefusedByModel);
    }
}

std::string Object::Give(VARIANT *result, Kind kind, const std::string &name, Book *book) const
{
    result->vt = VT_DISPATCH;
    result->pdispVal = new Object(kind, name, book);
    return name;
}

std::string Object::Do(const std::string &member, bool put, const std::vector<VARIANT> &arguments,
                       VARIANT *result)
{
    Program &program = TheProgram();
    const auto number = [result](std::size_t value) {
        result->vt = VT_I4;
        result->lVal = static_cast<LONG>(value);
        return std::to_string(value);
    };
    /// The place in a collection of that many.
    const auto place = [&arguments](std::size_t count) {
        const auto index = static_cast<std::size_t>(arguments[0].lVal);
        if (index < 1 || index > count)
            throw std::runtime_error("Subscript out of range");
        return index - 1;
    };

    if (member == "Visible" && put) {
        program.visible = arguments[0].boolVal != VARIANT_FALSE;
    } else if (member == "Visible") {
        result->vt = VT_BOOL;
        result->boolVal = program.visible ? VARIANT_TRUE : VARIANT_FALSE;
        return program.visible ? "True" : "False";
    } else if (member == "FullName") {
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(Utf16(book_->path).c_str());
        return TextOf(*result);
    } else if (member == "Left" || member == "Top") {
        result->vt = VT_R8;
        result->dblVal = member == "Left" ? 336.5 : 105.25;
        return TextOf(*result);
    } else if (kind_ == Kind::Workbooks && member == "Count") {
        return number(program.books.size());
    } else if (kind_ == Kind::Workbooks) {
        if (member == "Item") {
            Book *book = program.books[place(program.books.size())].get();
            return Give(result, Kind::Workbook, book->name, book);
        }
        const std::string path = member == "Add" ? "Book1" : Utf8(arguments[0].bstrVal);
        const std::vector<std::string> files = program.journal.Scenario("file");
        if (member == "Open" && std::find(files.begin(), files.end(), path) == files.end())
            throw std::runtime_error("Sorry, we couldn't find " + path +
                                     ". Is it possible it was moved?\r\n");
        Book *book = AddBook(path);
        return Give(result, Kind::Workbook, book->name, book);
    } else if (kind_ == Kind::Worksheets && member == "Count") {
        return number(book_->sheets.size());
    } else if (kind_ == Kind::Worksheets) {
        std::vector<std::string> &sheets = book_->sheets;
        // A new one comes before the active one, which is the first.
        if (member == "Add")
            sheets.insert(sheets.begin(), "Sheet" + std::to_string(sheets.size() + 1));
        return Give(result, Kind::Worksheet, sheets[member == "Add" ? 0 : place(sheets.size())], book_);
    } else if (member == "Move") {
        std::vector<std::string> &sheets = book_->sheets;
        sheets.erase(std::find(sheets.begin(), sheets.end(), name_));
        const auto *after = static_cast<Object *>(arguments[1].pdispVal);
        const auto found = std::find(sheets.begin(), sheets.end(), after->Name());
        if (found == sheets.end())
            throw std::runtime_error("Move method of Worksheet class failed");
        sheets.insert(found + 1, name_);
        std::string order = book_->name;
        for (const std::string &sheet : sheets)
            order += ' ' + sheet;
        return order;
    } else if (kind_ == Kind::ChartObjects) {
        static int charts = 0;
        return Give(result, Kind::ChartObject, "Chart" + std::to_string(++charts), book_);
    }
    return {};
}
