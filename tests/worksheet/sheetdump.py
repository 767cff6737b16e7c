"""Says what openpyxl finds on the last sheet of a workbook, one line for each cell and for each part of the chart.

sheetdump.py BOOK [LAST]   rows up to LAST, and the last two
sheetdump.py --make BOOK   makes a workbook to add a sheet to
"""

import json
import sys
import warnings

import openpyxl
from openpyxl.styles import Border, Font, Side

EMU_PER_POINT = 12700


def quoted(text):
    return json.dumps(text, ensure_ascii=False)


def make(name):
    book = openpyxl.Workbook()
    book.active.title = "Costs"
    book.active["A1"] = "Ω <kept>"
    book.active["A1"].font = Font(bold=True)
    book.active["A1"].border = Border(left=Side("double"))
    book.create_sheet("Plan B")["C3"] = "=1+1"
    book.active = 1
    book.save(name)


def cell_line(cell):
    value = cell.value
    words = [cell.coordinate, quoted(value) if isinstance(value, str) else str(value), cell.number_format]
    words += [f"{side}={style}" for side in ("left", "right", "top", "bottom")
              if (style := getattr(cell.border, side).style)]
    if cell.alignment.horizontal not in (None, "general"):
        words.append(cell.alignment.horizontal)
    if cell.data_type == "f":
        words.append("formula")
    return " ".join(words)


def chart_lines(chart):
    start, extent = chart.anchor._from, chart.anchor.ext
    where = openpyxl.utils.get_column_letter(start.col + 1) + str(start.row + 1)
    size = f"{extent.width / EMU_PER_POINT:g} x {extent.height / EMU_PER_POINT:g} points"
    yield f"{type(chart).__name__} at {where}+{start.colOff}+{start.rowOff}, {size}, {chart.grouping}"
    yield "title " + (quoted(chart.title.tx.rich.p[0].r[0].t) if chart.title else "none")
    yield f"legend {'yes' if chart.legend else 'none'}"
    for name, axis in ("categories", chart.x_axis), ("values", chart.y_axis):
        yield f"{name} axis, gridlines {'yes' if axis.majorGridlines else 'none'}"
    for series in chart.series:
        yield f"series {series.cat.strRef.f} {series.val.numRef.f} {'no' if series.marker and not series.marker.symbol else 'with'} markers"


def dump(name, last):
    book = openpyxl.load_workbook(name)
    print("sheets", *(f"[{s.title}]" if s is book.active else s.title for s in book), sep="|")
    sheet = book.worksheets[-1]
    print("cursor", sheet.sheet_view.selection[0].activeCell)
    end = sheet.max_row
    for (row, _), cell in sorted(sheet._cells.items()):
        if row <= last or row > end - 2:
            print(cell_line(cell))
    for chart in sheet._charts:
        print(*chart_lines(chart), sep="\n")


sys.stdout.reconfigure(encoding="utf-8")
warnings.simplefilter("error")
if sys.argv[1] == "--make":
    make(sys.argv[2])
else:
    dump(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 1048576)
