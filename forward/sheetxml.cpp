#include "forward/sheetxml.h"

#include "forward/celltext.h"
#include "forward/sheetcontent.h"
#include "forward/sheetrows.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace px40 {

namespace {

constexpr std::size_t PieceBytes = 60'000;

/// Takes a row like the string that is read from, so that the length told is sure to be the length made.
class Counter
{
  public:
    void append(std::string_view text) { bytes_ += static_cast<qint64>(text.size()); }
    qint64 Bytes() const { return bytes_; }

  private:
    qint64 bytes_ = 0;
};

class Digits
{
  public:
    explicit Digits(int number) : end_(std::to_chars(chars_, chars_ + sizeof chars_, number).ptr) {}
    std::string_view View() const { return {chars_, static_cast<std::size_t>(end_ - chars_)}; }

  private:
    char chars_[12];
    char *end_;
};

/// `formats`: the text of the attribute for each style.
template <typename Out>
void PutRow(const SheetRows &rows, const std::vector<std::string> &formats, Out &out)
{
    const Digits digits(rows.Row());
    const std::string_view row = digits.View();
    out.append("<row r=\"");
    out.append(row);
    out.append("\">");
    for (const SheetRows::Cell &cell : rows.Cells()) {
        out.append("<c r=\"");
        out.append(ColumnLetters(cell.column));
        out.append(row);
        out.append(formats[cell.style]);
        switch (cell.kind) {
        case CellKind::Empty:
            out.append("/>");
            break;
        case CellKind::Number:
            out.append("><v>");
            out.append(cell.value);
            out.append("</v></c>");
            break;
        case CellKind::Text:
            out.append(" t=\"inlineStr\"><is><t xml:space=\"preserve\">");
            out.append(cell.value);
            out.append("</t></is></c>");
            break;
        }
    }
    out.append("</row>");
}

std::string Head(const SheetParts &parts, const SheetVocabulary &vocabulary, bool selected)
{
    const CellRange active = {parts.activeRow, parts.activeColumn, parts.activeRow, parts.activeColumn};
    const std::string cell = RangeName(active);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<worksheet xmlns=\"" +
           vocabulary.main + "\" xmlns:r=\"" + vocabulary.relationships +
           "\"><sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr><sheetViews><sheetView" +
           (selected ? " tabSelected=\"1\"" : "") + " workbookViewId=\"0\"><selection activeCell=\"" + cell +
           "\" sqref=\"" + cell +
           "\"/></sheetView></sheetViews><sheetFormatPr defaultRowHeight=\"15\"/><sheetData>";
}

/// On paper table and chart stand side by side.
std::string Tail(const std::string &drawingId)
{
    const std::string drawing = drawingId.empty() ? "" : "<drawing r:id=\"" + drawingId + "\"/>";
    return "</sheetData><pageMargins left=\"0.7\" right=\"0.7\" top=\"0.75\" bottom=\"0.75\" header=\"0.3\" "
           "footer=\"0.3\"/><pageSetup orientation=\"landscape\" fitToHeight=\"0\"/>" +
           drawing + "</worksheet>";
}

} // namespace

struct SheetXml::State
{
    State(SheetContent &sheet, const SheetVocabulary &vocabulary, const std::string &drawingId, bool selected)
        : content(&sheet), styles(sheet.Styles()), head(Head(*sheet.parts_, vocabulary, selected)),
          tail(Tail(drawingId))
    {
    }

    enum class Stage { Head, Rows, Tail, End };
    bool NextRow(SheetRows &from);
    void Fill();

    SheetContent *content;
    std::vector<CellStyle> styles;
    std::vector<std::string> formats; ///< by style, from the quote before it on
    std::string head;
    std::string tail;

    Stage stage = Stage::Head;
    std::optional<SheetRows> rows;
    int rowsMade = 0;
    bool failed = false;
    std::string piece;
    std::size_t taken = 0;
};

/// False at the end and after a failure: when the file cannot be read, or shows looks that it had not before.
bool SheetXml::State::NextRow(SheetRows &from)
{
    const bool more = from.Next();
    failed = failed || from.Failed() || styles.size() > formats.size();
    return more && !failed;
}

/// Makes the next piece, of which nothing is left.
void SheetXml::State::Fill()
{
    piece.clear();
    taken = 0;
    switch (stage) {
    case Stage::Head:
        piece = head;
        rows.emplace(*content->parts_, styles);
        stage = Stage::Rows;
        break;
    case Stage::Rows:
        while (piece.size() < PieceBytes && NextRow(*rows)) {
            PutRow(*rows, formats, piece);
            ++rowsMade;
        }
        if (piece.empty())
            stage = Stage::Tail;
        break;
    case Stage::Tail:
        piece = tail;
        stage = Stage::End;
        break;
    case Stage::End:
        break;
    }
}

SheetXml::SheetXml(SheetContent &content, std::vector<int> formats, const SheetVocabulary &vocabulary,
                   const std::string &drawingId, bool selected)
    : state_(std::make_unique<State>(content, vocabulary, drawingId, selected))
{
    for (const int format : formats)
        state_->formats.push_back("\" s=\"" + std::to_string(format) + '"');
}

SheetXml::~SheetXml() = default;

qint64 SheetXml::Size()
{
    State &state = *state_;
    Counter count;
    SheetRows rows(*state.content->parts_, state.styles);
    while (state.NextRow(rows))
        PutRow(rows, state.formats, count);
    return state.failed ? -1 : count.Bytes() + static_cast<qint64>(state.head.size() + state.tail.size());
}

int SheetXml::RowsMade() const
{
    return state_->rowsMade;
}

void SheetXml::Rewind()
{
    State &state = *state_;
    state.stage = State::Stage::Head;
    state.rows.reset();
    state.rowsMade = 0;
    state.piece.clear();
    state.taken = 0;
}

qint64 SheetXml::Read(char *to, qint64 room)
{
    State &state = *state_;
    qint64 got = 0;
    while (got < room) {
        while (state.taken == state.piece.size() && state.stage != State::Stage::End)
            state.Fill();
        if (state.failed)
            return -1;
        const std::size_t copied =
            state.piece.copy(to + got, static_cast<std::size_t>(room - got), state.taken);
        if (copied == 0)
            break;
        state.taken += copied;
        got += static_cast<qint64>(copied);
    }
    return got;
}

} // namespace px40
