#pragma once

#include <QtGlobal>

#include <memory>
#include <string>
#include <vector>

namespace px40 {

class SheetContent;
struct SheetChart;

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

/// The text of a worksheet part, made piece by piece as it is read.
class SheetXml
{
  public:
    /// `formats`: for each of the content's `Styles`, in that order, its number among the workbook's cell
    /// formats. `drawingId`: relationship of the drawing; empty for none. `selected`: the sheet is the one in
    /// front. `content` must outlive this and not change meanwhile.
    SheetXml(SheetContent &content, std::vector<int> formats, const SheetVocabulary &vocabulary,
             const std::string &drawingId, bool selected);
    ~SheetXml();
    SheetXml(const SheetXml &) = delete;
    SheetXml &operator=(const SheetXml &) = delete;

    /// Bytes in all; makes the text once to count them. -1 when the temporary file cannot be read.
    qint64 Size();

    /// Sheet rows made since the last `Rewind`, to show how far it is.
    int RowsMade() const;

    /// Back to the beginning.
    void Rewind();

    /// The next up to `room` bytes; 0 at the end, -1 when the temporary file cannot be read.
    qint64 Read(char *to, qint64 room);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The drawing part that holds the chart of that relationship, and the chart part itself. `sheetName` as it
/// stands in the workbook.
std::string DrawingXml(const SheetChart &chart, const std::string &chartId,
                       const SheetVocabulary &vocabulary);
std::string ChartXml(const SheetChart &chart, const std::string &sheetName,
                     const SheetVocabulary &vocabulary);

} // namespace px40
