#include "app/statusbar.h"

#include "app/services.h"
#include "platform/elidedlabel.h"
#include "platform/named.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QPainter>

#include <algorithm>

namespace px40 {

/// Green while the port is open, an empty ring while it is closed, red when it was lost; light and dark
/// enough to be told apart without colours, too.
class PortDot : public QWidget
{
  public:
    enum State { Closed, Open, Lost };

    explicit PortDot(QWidget *parent) : QWidget(parent) { setFixedSize(Side, Side); }

    void SetState(State state)
    {
        state_ = state;
        update();
    }

  protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool dark = palette().color(QPalette::Window).lightness() < 128;
        const QColor ring =
            Mix(palette().color(QPalette::Window), palette().color(QPalette::WindowText), 0.6);
        const QColor lost = dark ? QColor(0xe5, 0x48, 0x3b) : QColor(0x9a, 0x14, 0x10);
        const QColor colour = state_ == Open ? LampGreen(palette()) : state_ == Lost ? lost : ring;
        painter.setPen(QPen(colour, 1.5));
        painter.setBrush(state_ == Closed ? QBrush() : colour);
        painter.drawEllipse(QRectF(rect()).adjusted(1, 1, -1, -1));
    }

  private:
    static constexpr int Side = 11;

    State state_ = Closed;
};

namespace {

constexpr int MessageWidth = 28; // in characters

QString LostText()
{
    return FirstLine(Text(Str::PortLost));
}

} // namespace

StatusBar::StatusBar(Services &services, QWidget *parent)
    : QStatusBar(parent), services_(&services), message_(NewNamed<ElidedLabel>(u"Msg", this)),
      selection_(NewNamed<ElidedLabel>(u"Sel", this)), dot_(new PortDot(this)),
      port_(NewNamed<QLabel>(u"Port", this))
{
    setObjectName(QStringLiteral("sbMain"));
    for (ElidedLabel *const label : {message_, selection_}) {
        label->setContentsMargins(6, 0, 6, 0);
        label->setMinimumWidth(1); // a long text must not widen the window
        addWidget(label);
    }
    port_->setContentsMargins(0, 0, 6, 0);
    addPermanentWidget(dot_);
    addPermanentWidget(port_);
    ShowPort();
    StatusLine *const line = &services.statusLine;
    connect(line, &StatusLine::changed, this, &StatusBar::ShowMessage);
    connect(&services.comm, &Comm::portLost, this, [line] { line->Show(LostText()); });
    connect(&services.comm, &Comm::portChanged, this, &StatusBar::OnPortChanged);
}

void StatusBar::ShowMessage(const QString &text)
{
    message_->SetText(text);
    // So much of the text is seen even in a narrow window, beside the summary of a selection.
    const QFontMetrics metrics = message_->fontMetrics();
    message_->setMinimumWidth(
        std::min(metrics.horizontalAdvance(text), MessageWidth * metrics.averageCharWidth()));
}

void StatusBar::ShowSelection(const QString &text)
{
    selection_->setText(text);
    selection_->setToolTip(text + u'\n' + Text(Str::SelectionTip));
    selection_->setVisible(!text.isEmpty());
}

void StatusBar::OnPortChanged()
{
    if (!services_->comm.IsLost())
        services_->statusLine.TakeBack(LostText());
    ShowPort();
}

void StatusBar::ShowPort()
{
    const int number = services_->comm.PortNumber();
    dot_->SetState(services_->comm.IsOpen()   ? PortDot::Open
                   : services_->comm.IsLost() ? PortDot::Lost
                                              : PortDot::Closed);
    if (services_->comm.IsOpen()) {
        const QString device = services_->simulated && services_->ports.IsFixed(number)
                                   ? Text(Str::PortPanelSimulated)
                                   : services_->ports.Device(number);
        port_->setText(Text(Str::PortPanelOpen).arg(number).arg(device));
    } else {
        port_->setText(
            Text(services_->comm.IsLost() ? Str::PortPanelLost : Str::PortPanelClosed).arg(number));
    }
}

} // namespace px40
