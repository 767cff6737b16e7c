#include "acquire/measureface.h"

#include "acquire/drawnface.h"
#include "acquire/readinglabel.h"
#include "resources/icons.h"
#include "resources/strings.h"

namespace px40 {

namespace {

// In the units of the design size. What the face is larger than that lies to both sides of the reading, above
// and below it.
constexpr double ReadingWidth = 216;
constexpr double ReadingTop = 31;
constexpr double UnitWidth = 56;

} // namespace

MeasureFace::MeasureFace(QWidget *parent)
    : InstrumentFace(DesignSize, Text(Str::MoniterTitle), parent), llValue_(new ReadingLabel(this)),
      shOn_(new DrawnFace(this)), shOff_(new DrawnFace(this))
{
    llValue_->setObjectName(QStringLiteral("llValue"));
    llValue_->setTextFormat(Qt::PlainText);
    llValue_->setForegroundRole(QPalette::Text);
    shOn_->setObjectName(QStringLiteral("shOn"));
    shOff_->setObjectName(QStringLiteral("shOff"));
    shOn_->setAccessibleName(LampText(true));
    shOff_->setAccessibleName(LampText(false));
    MeasureFace::LoadDrawings();
    Show(MeasureDisplay());
}

void MeasureFace::LoadDrawings()
{
    InstrumentFace::LoadDrawings();
    shOn_->SetDrawing(MakeIcon(u"lampon", Ground()));
    shOff_->SetDrawing(MakeIcon(u"lampoff", Ground()));
}

void MeasureFace::Show(const MeasureDisplay &display)
{
    ShowSide(display.unit, display.function, display.symbol, LampOf(display.known, display.on),
             display.indicators);
    llValue_->setText(display.value);
}

void MeasureFace::ShowLamp(Lamp lamp)
{
    shOn_->setVisible(lamp == Lamp::On);
    shOff_->setVisible(lamp == Lamp::Off);
}

void MeasureFace::LayOut()
{
    InstrumentFace::LayOut();
    shOn_->setGeometry(LampPlace());
    shOff_->setGeometry(LampPlace());
    const QSizeF area = Area();
    const double left = (area.width() - ReadingWidth - UnitGap - UnitWidth) / 2;
    const double top = ReadingTop + (area.height() - DesignSize.height()) / 2;
    llValue_->setFont(FaceFont(Text(Str::FontSizeHuge), Scale()));
    llValue_->setGeometry(Place(left, top, ReadingWidth, ReadingHeight));
    PlaceUnit(left + ReadingWidth + UnitGap, top, UnitWidth, llValue_->y() + llValue_->Baseline());
}

} // namespace px40
