#include "document/tabletext.h"

#include "document/tablemodel.h"

#include <QItemSelection>

#include <algorithm>
#include <array>
#include <vector>

namespace px40 {

namespace {

using ColumnSet = std::array<bool, TableModel::Columns>;

/// Some rows of which the same columns are selected.
struct Rows
{
    int first;
    int last;
    ColumnSet columns;
};

void AddColumns(const QItemSelectionRange &range, ColumnSet *columns)
{
    for (int column = range.left(); column <= range.right(); ++column)
        columns->at(static_cast<std::size_t>(column)) = true;
}

/// The selection cut at every row where a range begins or ends, so that no two pieces overlap.
std::vector<Rows> Pieces(const QItemSelection &selection)
{
    std::vector<int> cuts;
    for (const QItemSelectionRange &range : selection) {
        cuts.push_back(range.top());
        cuts.push_back(range.bottom() + 1);
    }
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    std::vector<Rows> pieces;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        Rows piece{cuts[i], cuts[i + 1] - 1, {}};
        bool any = false;
        for (const QItemSelectionRange &range : selection) {
            if (range.top() <= piece.first && piece.last <= range.bottom()) {
                AddColumns(range, &piece.columns);
                any = true;
            }
        }
        if (any)
            pieces.push_back(piece);
    }
    return pieces;
}

void AppendCell(const QString &cell, bool first, QString *text)
{
    if (!first)
        *text += u'\t';
    for (const QChar character : cell)
        *text += character == u'\t' || character == u'\n' || character == u'\r' ? QChar(u' ') : character;
}

} // namespace

QString TableText(const TableModel &table, const QItemSelection &selection)
{
    ColumnSet columns{};
    for (const QItemSelectionRange &range : selection)
        AddColumns(range, &columns);

    QString text;
    bool first = true;
    for (int column = 0; column < TableModel::Columns; ++column) {
        if (!columns.at(static_cast<std::size_t>(column)))
            continue;
        AppendCell(table.Heading(column), first, &text);
        first = false;
    }
    text += u'\n';
    for (const Rows &rows : Pieces(selection)) {
        const int last = std::min(rows.last, table.Samples() - 1);
        for (int row = rows.first; row <= last; ++row) {
            first = true;
            for (int column = 0; column < TableModel::Columns; ++column) {
                const auto index = static_cast<std::size_t>(column);
                if (!columns[index])
                    continue;
                AppendCell(rows.columns[index] ? table.Cell(row + 1, column) : QString(), first, &text);
                first = false;
            }
            text += u'\n';
        }
    }
    return text;
}

} // namespace px40
