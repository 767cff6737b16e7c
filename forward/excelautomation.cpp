#include "forward/excelautomation.h"

#include "forward/dispatch.h"

#include <utility>

namespace px40 {

namespace {

constexpr wchar_t ProgId[] = L"Excel.Application";

// Constants of Excel's object model.
constexpr int CentreAlignment = -4108;
constexpr int LineGallery = 4;
constexpr int LinesWithoutMarkers = 2;
constexpr int PlotByColumns = 2;
constexpr int CategoryLabelColumns = 1;
constexpr int SeriesNameRows = 0;
constexpr int CategoryAxis = 1;
constexpr int ValueAxis = 2;
constexpr int PrimaryGroup = 1;

/// Empty when Excel is not running.
Dispatch RunningInstance(const CLSID &classId)
{
    IUnknown *running = nullptr;
    if (FAILED(GetActiveObject(classId, nullptr, &running)))
        return {};
    void *object = nullptr;
    const HRESULT code = running->QueryInterface(IID_IDispatch, &object);
    running->Release();
    return Dispatch(SUCCEEDED(code) ? static_cast<IDispatch *>(object) : nullptr);
}

Dispatch NewInstance(const CLSID &classId)
{
    void *object = nullptr;
    Check(CoCreateInstance(classId, nullptr, CLSCTX_LOCAL_SERVER, IID_IDispatch, &object));
    return Dispatch(static_cast<IDispatch *>(object));
}

} // namespace

/// The members are released from the last to the first, the apartment after all objects.
struct ExcelAutomation::Parts
{
    ComApartment apartment;
    // The ids of members, looked up once, because a sheet has many cells.
    DispatchIds sheetIds;
    DispatchIds rangeIds;
    Dispatch application;
    bool started = false; ///< the application is new and perhaps not visible yet
    int nextWorkbook = 1; ///< of the open ones, the next to compare; 1-based
    Dispatch workbook;    ///< until the sheet is there
    Dispatch worksheet;
    Dispatch chart; ///< while it is being set up

    Dispatch Cell(int row, int column) { return worksheet.Object(L"Cells", {row, column}, &rangeIds); }
    Dispatch Range(const CellRange &range)
    {
        return worksheet.Object(L"Range", {RangeName(range)}, &rangeIds);
    }
};

ExcelAutomation::ExcelAutomation() : parts_(std::make_unique<Parts>()) {}

ExcelAutomation::~ExcelAutomation() = default;

bool ExcelAutomation::IsInstalled()
{
    const ComApartment apartment;
    CLSID classId;
    return SUCCEEDED(CLSIDFromProgID(ProgId, &classId));
}

SheetStep ExcelAutomation::Attach()
{
    Parts &parts = *parts_;
    if (!parts.application) {
        CLSID classId;
        Check(CLSIDFromProgID(ProgId, &classId));
        parts.application = RunningInstance(classId);
        parts.started = !parts.application;
        if (parts.started)
            parts.application = NewInstance(classId);
    }
    if (parts.started) {
        parts.application.Put(L"Visible", true);
        parts.started = false;
    }
    if (parts.application.Call(L"Visible").Truth())
        return SheetStep::Done;
    parts.application = {};
    return SheetStep::Busy;
}

SheetStep ExcelAutomation::OpenOrAdd(const std::string &workbook)
{
    Parts &parts = *parts_;
    const bool isNew = workbook.empty();
    if (!parts.worksheet && !parts.workbook) {
        const Dispatch workbooks = parts.application.Object(L"Workbooks");
        if (isNew) {
            parts.workbook = workbooks.Object(L"Add");
        } else if (parts.nextWorkbook <= workbooks.Call(L"Count").Number()) {
            Dispatch open = workbooks.Object(L"Item", {parts.nextWorkbook});
            if (open.Call(L"FullName").Text() == workbook)
                parts.workbook = std::move(open);
            ++parts.nextWorkbook;
            return SheetStep::Again;
        } else {
            parts.workbook = workbooks.Object(L"Open", {workbook});
        }
    }
    const Dispatch worksheets = parts.workbook.Object(L"Worksheets");
    if (!parts.worksheet) {
        parts.worksheet = isNew ? worksheets.Object(L"Item", {1}, &parts.sheetIds)
                                : worksheets.Object(L"Add", {}, &parts.sheetIds);
    }
    if (!isNew) {
        const Dispatch last = worksheets.Object(L"Item", {worksheets.Call(L"Count")});
        parts.worksheet.Call(L"Move", {Value::Omitted(), last});
    }
    parts.workbook = {};
    return SheetStep::Done;
}

void ExcelAutomation::SetVisible(bool visible)
{
    parts_->application.Put(L"Visible", visible);
}

void ExcelAutomation::SetInteractive(bool interactive)
{
    parts_->application.Put(L"Interactive", interactive);
}

void ExcelAutomation::SetCell(int row, int column, CellFormat format, std::string_view text)
{
    const Dispatch cell = parts_->Cell(row, column);
    cell.Put(L"NumberFormat", format == CellFormat::Text ? "@" : "General");
    // Always as text: under "General" Excel itself makes a number of a plain decimal, under "@" of nothing.
    cell.Put(L"Value", text);
}

void ExcelAutomation::SetBorder(const CellRange &range, Edge edge, BorderWeight weight)
{
    const Dispatch border = parts_->Range(range).Object(L"Borders", {static_cast<int>(edge)});
    border.Put(L"Weight", static_cast<int>(weight));
}

void ExcelAutomation::Centre(const CellRange &range)
{
    parts_->Range(range).Put(L"HorizontalAlignment", CentreAlignment);
}

void ExcelAutomation::Activate(int row, int column)
{
    parts_->Cell(row, column).Call(L"Activate");
}

void ExcelAutomation::AddChart(const SheetChart &chart)
{
    Parts &parts = *parts_;
    if (!parts.chart) {
        const Dispatch corner = parts.Range({chart.row, chart.column, chart.row, chart.column});
        const Dispatch charts = parts.worksheet.Object(L"ChartObjects");
        parts.chart =
            charts.Object(L"Add", {corner.Call(L"Left"), corner.Call(L"Top"), chart.width, chart.height});
    }
    const Dispatch drawing = parts.chart.Object(L"Chart");
    drawing.Call(L"ChartWizard", {parts.Range(chart.source), LineGallery, LinesWithoutMarkers, PlotByColumns,
                                  CategoryLabelColumns, SeriesNameRows, false, chart.title});
    for (const int axis : {CategoryAxis, ValueAxis})
        drawing.Object(L"Axes", {axis, PrimaryGroup}).Put(L"HasMajorGridlines", true);
    parts.chart = {};
}

} // namespace px40
