#include "document/graphexport.h"

#include "document/chart.h"
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
constexpr double Density = 2;      // of lines in drawings, against pixels
constexpr int DotsPerMetre = 6000; // as wide as a page
constexpr int Resolution = 96;     // dots per inch
constexpr double PageMargin = 15;  // millimetres

/// A second graph of the same data set, never shown, so that the one on the screen is left alone.
class PaperPlot : public GraphPlot
{
  public:
    PaperPlot(const Chart &chart, const QString &caption, double density) : GraphPlot(chart.Set())
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

QByteArray Png(const Chart &chart, const QString &caption)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    const bool ok = buffer.open(QIODevice::WriteOnly) && Image(chart, caption).save(&buffer, "PNG");
    return ok ? bytes : QByteArray();
}

QByteArray Svg(const Chart &chart, const QString &caption)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QSvgGenerator svg;
    svg.setOutputDevice(&buffer);
    svg.setResolution(Resolution);
    svg.setSize(PictureSize);
    svg.setViewBox(QRect(QPoint(0, 0), PictureSize));
    svg.setTitle(caption);
    const bool ok = PaperPlot(chart, caption, Density).DrawVectors(svg, 1);
    return ok ? bytes : QByteArray();
}

QByteArray Pdf(const Chart &chart, const QString &caption)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly))
        return {};
    QPdfWriter pdf(&buffer);
    pdf.setResolution(Resolution);
    pdf.setTitle(caption);
    pdf.setPageLayout({QPageSize(QPageSize::A4), QPageLayout::Landscape,
                       QMarginsF(PageMargin, PageMargin, PageMargin, PageMargin), QPageLayout::Millimeter});
    const double scale = std::min(static_cast<double>(pdf.width()) / PictureSize.width(),
                                  static_cast<double>(pdf.height()) / PictureSize.height());
    const bool ok = PaperPlot(chart, caption, Density).DrawVectors(pdf, scale);
    return ok ? bytes : QByteArray();
}

} // namespace

std::optional<GraphFileKind> GraphFileKindOf(const QString &name)
{
    const QString suffix = QFileInfo(name).suffix().toLower();
    if (suffix == u"png")
        return GraphFileKind::Png;
    if (suffix == u"svg")
        return GraphFileKind::Svg;
    if (suffix == u"pdf")
        return GraphFileKind::Pdf;
    return std::nullopt;
}

QByteArray GraphPicture(const Chart &chart, GraphFileKind kind, const QString &caption)
{
    switch (kind) {
    case GraphFileKind::Png:
        return Png(chart, caption);
    case GraphFileKind::Svg:
        return Svg(chart, caption);
    case GraphFileKind::Pdf:
        return Pdf(chart, caption);
    }
    return {};
}

std::unique_ptr<QMimeData> GraphMimeData(const Chart &chart, const QString &caption)
{
    auto mime = std::make_unique<QMimeData>();
    mime->setImageData(Image(chart, caption));
    mime->setData(QStringLiteral("image/svg+xml"), Svg(chart, caption));
    return mime;
}

Result<> WriteGraphFile(const Chart &chart, const QString &name, const QString &caption)
{
    const std::optional<GraphFileKind> kind = GraphFileKindOf(name);
    if (!kind)
        return Fail(Text(Str::GraphFileKinds));
    const QByteArray bytes = GraphPicture(chart, *kind, caption);
    if (bytes.isEmpty())
        return Fail(Text(Str::GraphNoPicture));
    return ReplaceFile(name,
                       [&bytes](QIODevice &to) { return WriteBytes(to, bytes.constData(), bytes.size()); });
}

} // namespace px40
