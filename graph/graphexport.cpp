#include "graph/graphexport.h"

#include "graph/chart.h"
#include "platform/files.h"
#include "platform/replacefile.h"
#include "resources/strings.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QMimeData>
#include <QPageLayout>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <algorithm>

namespace px40 {

namespace {

constexpr QSize PictureSize{1600, 900};
constexpr int TextHeight = 22;     // about nine points on a page
constexpr double Density = 2;      // device pixels to a unit, assumed for vector formats
constexpr int DotsPerMetre = 6000; // as wide as a page
constexpr int Resolution = 96;     // dots per inch
constexpr double PageMargin = 15;  // millimetres

/// A second graph of the same model, never shown, so that the one on the screen is left alone.
class PaperPlot : public GraphPlot
{
  public:
    PaperPlot(const Chart &chart, const QString &caption, double density) : GraphPlot(chart.Model())
    {
        QFont font = chart.font();
        font.setPixelSize(TextHeight);
        setFont(font);
        SetStyle(GraphStyle::Paper());
        SetCaption(caption);
        ShowLike(chart);
        Fill(PictureSize, density);
    }

    /// False when the device cannot be drawn on.
    bool DrawVectors(QPaintDevice &device, double scale)
    {
        QCPPainter painter;
        if (!painter.begin(&device))
            return false;
        painter.scale(scale, scale);
        painter.setModes(QCPPainter::pmVectorized | QCPPainter::pmNoCaching | QCPPainter::pmNonCosmetic);
        Draw(painter);
        return painter.end();
    }
};

QImage Image(const Chart &chart, const QString &caption)
{
    PaperPlot plot(chart, caption, 1);
    QImage image(PictureSize, QImage::Format_RGB32);
    if (image.isNull())
        return image;
    image.setDotsPerMeterX(DotsPerMetre);
    image.setDotsPerMeterY(DotsPerMetre);
    QCPPainter painter(&image);
    plot.Draw(painter);
    return image;
}

bool DrawSvg(const Chart &chart, const QString &caption, QIODevice *to)
{
    QSvgGenerator svg;
    svg.setOutputDevice(to);
    svg.setResolution(Resolution);
    svg.setSize(PictureSize);
    svg.setViewBox(QRect(QPoint(0, 0), PictureSize));
    svg.setTitle(caption);
    return PaperPlot(chart, caption, Density).DrawVectors(svg, 1);
}

bool DrawPdf(const Chart &chart, const QString &caption, QIODevice *to)
{
    QPdfWriter pdf(to);
    pdf.setResolution(Resolution);
    pdf.setTitle(caption);
    pdf.setPageLayout({QPageSize(QPageSize::A4), QPageLayout::Landscape,
                       QMarginsF(PageMargin, PageMargin, PageMargin, PageMargin), QPageLayout::Millimeter});
    const double scale = std::min(static_cast<double>(pdf.width()) / PictureSize.width(),
                                  static_cast<double>(pdf.height()) / PictureSize.height());
    return PaperPlot(chart, caption, Density).DrawVectors(pdf, scale);
}

} // namespace

QByteArray GraphPicture(const Chart &chart, const QString &suffix, const QString &caption)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const bool drawn = suffix == u"png"   ? Image(chart, caption).save(&buffer, "PNG")
                       : suffix == u"svg" ? DrawSvg(chart, caption, &buffer)
                                          : DrawPdf(chart, caption, &buffer);
    return drawn ? bytes : QByteArray();
}

std::unique_ptr<QMimeData> GraphMimeData(const Chart &chart, const QString &caption)
{
    auto mime = std::make_unique<QMimeData>();
    mime->setImageData(Image(chart, caption));
    mime->setData(QStringLiteral("image/svg+xml"), GraphPicture(chart, QStringLiteral("svg"), caption));
    return mime;
}

Result<> WriteGraphFile(const Chart &chart, const QString &name, const QString &caption)
{
    const QString suffix = QFileInfo(name).suffix().toLower();
    if (suffix != u"png" && suffix != u"svg" && suffix != u"pdf")
        return Fail(Text(Str::GraphFileKinds));
    const QByteArray bytes = GraphPicture(chart, suffix, caption);
    if (bytes.isEmpty())
        return Fail(Text(Str::GraphNoPicture));
    return ReplaceContents(
        name, [&bytes](QIODevice &to) { return WriteBytes(to, bytes.constData(), bytes.size()); });
}

} // namespace px40
