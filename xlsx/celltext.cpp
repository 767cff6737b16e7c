#include "xlsx/celltext.h"

#include <QRegularExpression>
#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace px40 {

namespace {

constexpr qsizetype CellUnits = 32'767;

/// Appends the shortest digits that give the same number. False where the text is no plain decimal.
bool AppendNumber(std::string_view text, std::string &out)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double value = 0;
    const char *const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end || !std::isfinite(value))
        return false;
    char digits[32];
    const std::to_chars_result made = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, made.ptr);
    return true;
}

bool IsPlain(char c)
{
    return c >= ' ' && c < 0x7F && c != '&' && c != '<' && c != '>' && c != '_' && c != '"';
}

/// A line break or a tab stays as it is; a carriage return would be read back as a line break.
QString Control(QChar c)
{
    if (c == u'\n' || c == u'\t')
        return c;
    return QStringLiteral("_x%1_").arg(QString::number(c.unicode(), 16).toUpper(), 4, u'0');
}

QString Wide(std::string_view utf8)
{
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringDecoder::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    return decoder(QByteArrayView(utf8.data(), static_cast<qsizetype>(utf8.size())));
}

/// A UTF-16 unit as it is written in XML.
QString Escaped(QChar c, bool inCell)
{
    switch (c.unicode()) {
    case u'&':
        return QStringLiteral("&amp;");
    case u'<':
        return QStringLiteral("&lt;");
    case u'>':
        return QStringLiteral("&gt;");
    case u'"':
        return inCell ? QString(c) : QStringLiteral("&quot;");
    case 0xFFFE: // noncharacters, which XML cannot hold
    case 0xFFFF:
        return QString(QChar::ReplacementCharacter);
    default:
        break;
    }
    if (c >= u' ')
        return c;
    return inCell ? Control(c) : QStringLiteral(" ");
}

void AppendText(QString text, bool inCell, std::string &out)
{
    // "_x0041_" in a cell would be read as the character of that number.
    static const QRegularExpression likeEscape(QStringLiteral("_(?=x[0-9A-Fa-f]{4}_)"));
    if (inCell && text.contains(u'_'))
        text.replace(likeEscape, QStringLiteral("_x005F_"));
    QString escaped;
    for (const QChar c : std::as_const(text))
        escaped += Escaped(c, inCell);
    out += escaped.toStdString();
}

} // namespace

std::string Filled(std::string_view form, std::initializer_list<std::string_view> texts)
{
    std::string filled;
    for (std::size_t at = form.find('%'); at != std::string_view::npos; at = form.find('%')) {
        filled.append(form.substr(0, at)).append(texts.begin()[form[at + 1] - '1']);
        form.remove_prefix(at + 2);
    }
    return filled.append(form);
}

void AppendCellContent(CellFormat format, std::string_view text, std::string &out)
{
    if (text.empty()) {
        out += "/>";
        return;
    }
    const std::size_t before = out.size();
    out += "><v>";
    if (format == CellFormat::General && AppendNumber(text, out)) {
        out += "</v></c>";
        return;
    }
    out.resize(before);
    out += " t=\"inlineStr\"><is><t xml:space=\"preserve\">";
    if (text.size() <= CellUnits && std::all_of(text.begin(), text.end(), IsPlain)) {
        out += text;
    } else {
        QString wide = Wide(text).left(CellUnits);
        if (wide.back().isHighSurrogate()) // cut in the middle of a character
            wide.chop(1);
        AppendText(wide, true, out);
    }
    out += "</t></is></c>";
}

std::string XmlText(std::string_view text)
{
    std::string out;
    AppendText(Wide(text), false, out);
    return out;
}

} // namespace px40
