#include "xlsx/celltext.h"

#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace px40 {

namespace {

constexpr qsizetype CellUnits = 32'767;

/// The shortest digits that give the same number; nothing where the text is no plain decimal.
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

bool IsHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

/// "_x0041_" in a text would be read as the character of that number.
bool LooksEscaped(QStringView text)
{
    return text.size() >= 7 && text[1] == u'x' && text[6] == u'_' &&
           std::all_of(text.begin() + 2, text.begin() + 6, IsHexDigit);
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

/// One unit as it stands in XML; `rest` begins with it.
QString Escaped(QStringView rest, bool inCell)
{
    const QChar c = rest.front();
    switch (c.unicode()) {
    case u'&':
        return QStringLiteral("&amp;");
    case u'<':
        return QStringLiteral("&lt;");
    case u'>':
        return QStringLiteral("&gt;");
    case u'"':
        return inCell ? QString(c) : QStringLiteral("&quot;");
    case u'_':
        return inCell && LooksEscaped(rest) ? QStringLiteral("_x005F_") : QString(c);
    case 0xFFFE: // no characters
    case 0xFFFF:
        return QString(QChar::ReplacementCharacter);
    default:
        break;
    }
    if (c >= u' ')
        return c;
    return inCell ? Control(c) : QStringLiteral(" ");
}

void AppendText(QStringView text, bool inCell, std::string &out)
{
    QString escaped;
    while (!text.empty()) {
        escaped += Escaped(text, inCell);
        text = text.mid(1);
    }
    out += escaped.toStdString();
}

} // namespace

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
