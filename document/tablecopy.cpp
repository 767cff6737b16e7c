#include "document/tablecopy.h"

#include "document/selectionsummary.h"
#include "document/tablemodel.h"
#include "resources/strings.h"

#include <QItemSelection>
#include <QRegularExpression>

#include <algorithm>
#include <optional>
#include <utility>

namespace px40 {

namespace {

bool IsSelected(const QItemSelection &selection, int row, int column)
{
    return std::any_of(selection.begin(), selection.end(), [=](const QItemSelectionRange &range) {
        return range.top() <= row && row <= range.bottom() && range.left() <= column &&
               column <= range.right();
    });
}

QString OneLine(QString cell)
{
    for (QChar &character : cell)
        character = character == u'\t' || character == u'\n' || character == u'\r' ? QChar(u' ') : character;
    return cell;
}

constexpr int MostDigits = 15; // a spreadsheet holds no more, and would change the others

/// How a number is written.
struct NumberForm
{
    int whole = 1; ///< digits before the point that are always shown
    int decimals = 0;

    bool operator==(const NumberForm &) const = default;
    QByteArray Format() const
    {
        return QByteArray(whole, '0') + (decimals > 0 ? "\\." + QByteArray(decimals, '0') : QByteArray());
    }
};

/// Nothing when the text is no number, or one that a spreadsheet would show differently.
std::optional<NumberForm> FormOf(QStringView text)
{
    static const QRegularExpression Number(
        QStringLiteral("\\A[+-]?(\\d*)(?:\\.(\\d*))?([eE][+-]?\\d{1,2})?\\z"));
    const QRegularExpressionMatch match = Number.match(text);
    const auto whole = static_cast<int>(match.capturedLength(1));
    const auto decimals = static_cast<int>(match.capturedLength(2));
    if (whole + decimals == 0 || whole + decimals > MostDigits)
        return std::nullopt;
    if (match.capturedLength(3) > 0)
        return NumberForm();
    return NumberForm{match.capturedView(1).startsWith(u'0') ? whole : 1, decimals};
}

/// Excel takes a cell's value from x:num and its number format from the style; x:str is a text. LibreOffice
/// takes them from sdval and sdnum, whose first number is the language in which both are written (1033, with
/// a decimal point). Of formats LibreOffice keeps only those that it has built in: for any other it takes one
/// of its own instead. So there only readings with two decimals keep both.
class HtmlTable
{
  public:
    QByteArray Write(QStringView text)
    {
        constexpr int BytesToACharacter = 8; // of the text, tags included
        out_.reserve(text.size() * BytesToACharacter);
        bool heading = true;
        for (const QStringView line : text.chopped(1).tokenize(u'\n'))
            Row(line, std::exchange(heading, false));
        out_ += "<!--EndFragment--></table></body></html>\n";
        return out_.prepend(Head());
    }

  private:
    /// To be made last, when the forms of all numbers are known.
    QByteArray Head() const
    {
        QByteArray head = "<html xmlns:x=\"urn:schemas-microsoft-com:office:excel\">"
                          "<head><meta charset=\"utf-8\"><style>\n.t{mso-number-format:\"\\@\"}\n";
        for (qsizetype i = 0; i < forms_.size(); ++i)
            head += ".n" + QByteArray::number(i) + "{mso-number-format:\"" + forms_[i].Format() + "\"}\n";
        return head + "</style></head><body><table><!--StartFragment-->\n";
    }

    void Row(QStringView line, bool heading)
    {
        out_ += "<tr>";
        int column = 0;
        for (const QStringView cell : line.tokenize(u'\t')) {
            if (heading && cell == Text(Str::HeadingTime))
                timeColumn_ = column;
            Cell(cell, column == timeColumn_ && !heading);
            ++column;
        }
        out_ += "</tr>\n";
    }

    void Cell(QStringView cell, bool isTime)
    {
        if (const std::optional<NumberForm> form = FormOf(cell.trimmed()))
            NumberTag(cell.trimmed(), *form);
        else if (cell.isEmpty() || isTime)
            out_ += "<td>";
        else
            TextTag(cell);
        out_ += Escaped(cell) + "</td>";
    }

    void NumberTag(QStringView number, const NumberForm &form)
    {
        if (number.startsWith(u'+'))
            number = number.mid(1);
        if (number.endsWith(u'.'))
            number.chop(1);
        out_ += "<td";
        if (form != NumberForm())
            out_ += " class=n" + QByteArray::number(FormIndex(form));
        const QByteArray plain = Escaped(number);
        out_ += " x:num=\"" + plain + "\" sdval=\"" + plain;
        out_ += form == NumberForm{1, 2} ? "\" sdnum=\"1033;0;0.00\">" : "\" sdnum=\"1033\">";
    }

    qsizetype FormIndex(const NumberForm &form)
    {
        if (!forms_.contains(form))
            forms_.append(form);
        return forms_.indexOf(form);
    }

    void TextTag(QStringView cell)
    {
        out_ += "<td class=t x:str";
        if (cell.front().isSpace() || cell.back().isSpace()) // HTML drops these blanks
            out_ += "=\"" + Escaped(cell) + '"';
        out_ += " sdnum=\"1033;0;@\">";
    }

    static QByteArray Escaped(QStringView text)
    {
        QString escaped = text.toString().toHtmlEscaped();
        for (QChar &character : escaped)
            character = std::max(character, QChar(u' '));
        return escaped.toUtf8();
    }

    QByteArray out_;
    QList<NumberForm> forms_; ///< few, whatever is copied
    int timeColumn_ = -1;
};

} // namespace

QString TableText(const TableModel &table, const QItemSelection &selection)
{
    QList<int> columns;
    QStringList cells;
    for (int column = 0; column < TableModel::Columns; ++column) {
        const bool taken =
            std::any_of(selection.begin(), selection.end(), [column](const QItemSelectionRange &range) {
                return range.left() <= column && column <= range.right();
            });
        if (!taken)
            continue;
        columns << column;
        cells << OneLine(table.Heading(column));
    }
    QString text = cells.join(u'\t') + u'\n';
    for (const int row : SelectedRows(selection, table.Samples() - 1)) {
        cells.clear();
        for (const int column : columns)
            cells << (IsSelected(selection, row, column) ? OneLine(table.Cell(row + 1, column)) : QString());
        text += cells.join(u'\t') + u'\n';
    }
    return text;
}

QByteArray TableHtml(QStringView text)
{
    return HtmlTable().Write(text);
}

} // namespace px40
