#pragma once

#include "xlsx/sheetrows.h"

#include <QtGlobal>

#include <optional>
#include <string>
#include <vector>

namespace px40 {

/// The names of the formats' vocabularies, which a workbook has in one of two kinds.
struct SheetVocabulary
{
    std::string main;          ///< namespace of workbook and sheet
    std::string relationships; ///< namespace of "r:id"
    std::string drawing;       ///< namespace of a shape's properties ("a:")
    std::string sheetDrawing;  ///< of anchors ("xdr:")
    std::string chart;         ///< of charts ("c:")

    static SheetVocabulary Transitional();
    static SheetVocabulary Strict();
};

/// What ties a sheet to its workbook.
struct SheetFrame
{
    /// For each of the sheet's styles, in their order, its number among the workbook's cell formats.
    std::vector<int> formats;
    SheetVocabulary vocabulary;
    std::string drawingId; ///< relationship of the drawing; empty for none
    bool selected = false; ///< the sheet is the one in front
};

/// The text of a worksheet part, made piece by piece as it is read, so that it is never all there.
class SheetXml
{
  public:
    /// Goes through all rows once. `sheet` must outlive this and not change meanwhile.
    explicit SheetXml(const Sheet &sheet);

    /// The different looks that the cells have.
    const std::vector<CellStyle> &Styles() const { return styles_; }

    /// Before anything is read.
    void SetFrame(const SheetFrame &frame);

    /// Bytes in all.
    qint64 Size() const;

    /// Back to the beginning.
    void Rewind();

    /// The next up to `size` bytes; 0 at the end.
    qint64 Read(char *to, qint64 size);

  private:
    enum class Stage { Head, Rows, Tail, End };
    void AppendRow(const SheetRows &rows);
    void Fill();

    const Sheet *sheet_;
    std::vector<CellStyle> styles_;
    std::vector<qint64> uses_;         ///< cells with each of these
    qint64 rowBytes_ = 0;              ///< all rows, without what says which style a cell has
    std::vector<std::string> formats_; ///< that, for each of them
    std::string head_;
    std::string tail_;

    Stage stage_ = Stage::Head;
    std::optional<SheetRows> rows_;
    std::string piece_;
    std::size_t taken_ = 0;
};

/// The drawing part that holds the chart of that relationship, and the chart part itself. `sheetName` as it
/// stands in the workbook.
std::string DrawingXml(const SheetChart &chart, const std::string &chartId,
                       const SheetVocabulary &vocabulary);
std::string ChartXml(const SheetChart &chart, const std::string &sheetName,
                     const SheetVocabulary &vocabulary);

} // namespace px40
