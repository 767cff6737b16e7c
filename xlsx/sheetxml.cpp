#include "xlsx/sheetxml.h"

#include "xlsx/celltext.h"

#include <charconv>
#include <string_view>

namespace px40 {

namespace {

constexpr std::size_t PieceBytes = 60'000;

std::string Head(const Sheet &sheet, const SheetFrame &frame)
{
    const CellRange active = {sheet.activeRow, sheet.activeColumn, sheet.activeRow, sheet.activeColumn};
    return XmlDeclaration +
           Filled(R"(<worksheet xmlns="%1" xmlns:r="%2"><sheetPr><pageSetUpPr fitToPage="1"/></sheetPr>)"
                  R"(<sheetViews><sheetView%3 workbookViewId="0"><selection activeCell="%4" sqref="%4"/>)"
                  R"(</sheetView></sheetViews><sheetFormatPr defaultRowHeight="15"/><sheetData>)",
                  {frame.vocabulary.main, frame.vocabulary.relationships,
                   frame.selected ? R"( tabSelected="1")" : "", RangeName(active)});
}

/// Printed pages are landscape and as wide as the sheet, so that table and chart stay side by side.
std::string Tail(const std::string &drawingId)
{
    const std::string drawing = drawingId.empty() ? "" : Filled(R"(<drawing r:id="%1"/>)", {drawingId});
    return Filled(R"(</sheetData><pageMargins left="0.7" right="0.7" top="0.75" bottom="0.75" header="0.3" )"
                  R"(footer="0.3"/><pageSetup orientation="landscape" fitToHeight="0"/>%1</worksheet>)",
                  {drawing});
}

} // namespace

/// The attributes that name the styles are not known yet, so the uses of each style are counted for `Size`.
SheetXml::SheetXml(const Sheet &sheet) : sheet_(&sheet)
{
    SheetRows rows(sheet, styles_);
    while (rows.Next()) {
        formats_.resize(styles_.size());
        uses_.resize(styles_.size());
        for (const SheetRows::Cell &cell : rows.Cells())
            ++uses_[cell.style];
        AppendRow(rows);
        rowBytes_ += static_cast<qint64>(piece_.size());
        piece_.clear();
    }
}

void SheetXml::SetFrame(const SheetFrame &frame)
{
    for (std::size_t style = 0; style < formats_.size(); ++style)
        formats_[style] = " s=\"" + std::to_string(frame.formats.at(style)) + '"';
    head_ = Head(*sheet_, frame);
    tail_ = Tail(frame.drawingId);
}

qint64 SheetXml::Size() const
{
    qint64 size = rowBytes_ + static_cast<qint64>(head_.size() + tail_.size());
    for (std::size_t style = 0; style < formats_.size(); ++style)
        size += uses_[style] * static_cast<qint64>(formats_[style].size());
    return size;
}

void SheetXml::AppendRow(const SheetRows &rows)
{
    char digits[12];
    const std::string_view row(digits, std::to_chars(digits, digits + sizeof digits, rows.Row()).ptr);
    piece_.append("<row r=\"").append(row).append("\">");
    for (const SheetRows::Cell &cell : rows.Cells()) {
        piece_.append("<c r=\"").append(ColumnLetters(cell.column)).append(row).append("\"");
        piece_.append(formats_[cell.style]);
        AppendCellContent(cell.format, cell.text, piece_);
    }
    piece_.append("</row>");
}

/// Makes the next piece when the present one has been read.
void SheetXml::Fill()
{
    piece_.clear();
    taken_ = 0;
    switch (stage_) {
    case Stage::Head:
        piece_ = head_;
        rows_.emplace(*sheet_, styles_);
        stage_ = Stage::Rows;
        break;
    case Stage::Rows:
        while (piece_.size() < PieceBytes && rows_->Next())
            AppendRow(*rows_);
        if (piece_.empty())
            stage_ = Stage::Tail;
        break;
    case Stage::Tail:
        piece_ = tail_;
        stage_ = Stage::End;
        break;
    case Stage::End:
        break;
    }
}

void SheetXml::Rewind()
{
    stage_ = Stage::Head;
    piece_.clear();
    taken_ = 0;
}

qint64 SheetXml::Read(char *to, qint64 size)
{
    qint64 got = 0;
    while (got < size) {
        while (taken_ == piece_.size() && stage_ != Stage::End)
            Fill();
        const std::size_t copied = piece_.copy(to + got, static_cast<std::size_t>(size - got), taken_);
        if (copied == 0)
            break;
        taken_ += copied;
        got += static_cast<qint64>(copied);
    }
    return got;
}

} // namespace px40
