#pragma once

#include <QTest>

#include <initializer_list>
#include <tuple>
#include <utility>

namespace px40 {

/// The table of a test, from its "_data" function: the name of each row, and its cells as a tuple.
template <typename Cells>
void AddRows(std::initializer_list<std::pair<const char *, Cells>> rows)
{
    QTest::addColumn<Cells>("cells");
    for (const auto &[name, cells] : rows)
        QTest::newRow(name) << cells;
}

/// The cells of the row that is being tested.
template <typename Cells>
Cells ThisRow()
{
    QFETCH(Cells, cells);
    return cells;
}

} // namespace px40
