// Excel takes a cell's value from x:num and its number format from the style; x:str is a text. LibreOffice
// takes them from sdval and sdnum, whose first number is the language in which both are written (1033, with a
// decimal point). Of formats LibreOffice keeps only those that it has built in: for any other it takes one of
// the target's own, whichever that may be. So there a reading has the decimals shown where these are two.

#include "document/tablehtml.h"

#include "resources/strings.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace px40 {

namespace {

constexpr int MostDigits = 15; // a spreadsheet holds no more, and would change the others

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

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

/// Nothing when the text is no number that a spreadsheet shows in the same way.
std::optional<NumberForm> FormOf(QStringView text)
{
    qsizetype at = text.startsWith(u'+') || text.startsWith(u'-') ? 1 : 0;
    const auto digits = [&] {
        const qsizetype from = at;
        while (at < text.size() && IsDigit(text[at]))
            ++at;
        return static_cast<int>(std::min<qsizetype>(at - from, MostDigits + 1));
    };
    const bool padded = at < text.size() && text[at] == u'0';
    NumberForm form;
    const int whole = digits();
    if (at < text.size() && text[at] == u'.') {
        ++at;
        form.decimals = digits();
    }
    const int all = whole + form.decimals;
    if (all == 0 || all > MostDigits)
        return std::nullopt;
    if (at < text.size() && (text[at] == u'e' || text[at] == u'E')) {
        at += at + 1 < text.size() && (text[at + 1] == u'+' || text[at + 1] == u'-') ? 2 : 1;
        const int exponent = digits();
        return exponent > 0 && exponent <= 2 && at == text.size() ? std::optional(NumberForm())
                                                                  : std::nullopt;
    }
    if (at < text.size())
        return std::nullopt;
    form.whole = padded ? std::max(1, whole) : 1;
    return form;
}

class Writer
{
  public:
    QByteArray Write(QStringView text)
    {
        constexpr int BytesToACharacter = 8; // of the text
        out_.reserve(text.size() * BytesToACharacter);
        for (QStringView rest = text; !rest.isEmpty();) {
            const qsizetype end = rest.indexOf(u'\n');
            Row(rest.left(end), rest.size() == text.size());
            rest = end < 0 ? QStringView() : rest.mid(end + 1);
        }
        Put("<!--EndFragment--></table></body></html>\n");
        return out_.prepend(Head());
    }

  private:
    /// When the forms of all numbers are known.
    QByteArray Head() const
    {
        QByteArray head = "<html xmlns:x=\"urn:schemas-microsoft-com:office:excel\">"
                          "<head><meta charset=\"utf-8\"><style>\n.t{mso-number-format:\"\\@\"}\n";
        for (std::size_t i = 0; i < forms_.size(); ++i)
            head += ".n" + QByteArray::number(i) + "{mso-number-format:\"" + forms_[i].Format() + "\"}\n";
        return head + "</style></head><body><table><!--StartFragment-->\n";
    }

    void Row(QStringView line, bool heading)
    {
        Put("<tr>");
        for (int column = 0; !line.isNull(); ++column) {
            const qsizetype end = line.indexOf(u'\t');
            const QStringView cell = line.left(end);
            if (heading && cell == Text(Str::HeadingTime))
                timeColumn_ = column;
            Cell(cell, column == timeColumn_ && !heading);
            line = end < 0 ? QStringView() : line.mid(end + 1);
        }
        Put("</tr>\n");
    }

    void Cell(QStringView cell, bool asTyped)
    {
        if (const std::optional<NumberForm> form = FormOf(cell.trimmed()))
            NumberTag(cell.trimmed(), *form);
        else if (cell.isEmpty() || asTyped)
            Put("<td>");
        else
            TextTag(cell);
        PutEscaped(cell);
        Put("</td>");
    }

    void NumberTag(QStringView number, const NumberForm &form)
    {
        if (number.startsWith(u'+'))
            number = number.mid(1);
        if (number.endsWith(u'.'))
            number.chop(1);
        Put("<td");
        if (form != NumberForm()) {
            Put(" class=n");
            Put(QByteArray::number(Known(form)));
        }
        Put(" x:num=\"");
        PutEscaped(number);
        Put("\" sdval=\"");
        PutEscaped(number);
        Put(form == NumberForm{1, 2} ? "\" sdnum=\"1033;0;0.00\">" : "\" sdnum=\"1033\">");
    }

    std::ptrdiff_t Known(const NumberForm &form)
    {
        const auto found = std::find(forms_.begin(), forms_.end(), form);
        const std::ptrdiff_t place = found - forms_.begin();
        if (found == forms_.end())
            forms_.push_back(form);
        return place;
    }

    void TextTag(QStringView cell)
    {
        Put("<td class=t x:str");
        if (cell.front().isSpace() || cell.back().isSpace()) { // lost in HTML
            Put("=\"");
            PutEscaped(cell);
            Put("\"");
        }
        Put(" sdnum=\"1033;0;@\">");
    }

    void Put(QByteArrayView bytes) { out_.append(bytes); }

    void PutEscaped(QStringView text)
    {
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar c = text[i];
            if (c == u'&')
                Put("&amp;");
            else if (c == u'<')
                Put("&lt;");
            else if (c == u'>')
                Put("&gt;");
            else if (c == u'"')
                Put("&quot;");
            else if (c.unicode() < 0x80)
                out_ += c.unicode() < ' ' ? ' ' : static_cast<char>(c.unicode());
            else
                Put(text.mid(i, c.isHighSurrogate() ? 2 : 1).toUtf8());
            i += c.isHighSurrogate() ? 1 : 0;
        }
    }

    QByteArray out_;
    std::vector<NumberForm> forms_; ///< few, whatever is copied
    int timeColumn_ = -1;
};

} // namespace

QByteArray TableHtml(QStringView text)
{
    return Writer().Write(text);
}

} // namespace px40
