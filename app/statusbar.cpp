#include "app/statusbar.h"

#include "app/services.h"
#include "platform/elidedlabel.h"
#include "platform/named.h"
#include "resources/strings.h"

#include <algorithm>

namespace px40 {

namespace {

constexpr int MessageWidth = 28; // in characters

QString LostText()
{
    return FirstLine(Text(Str::PortLost));
}

} // namespace

StatusBar::StatusBar(Services &services, QWidget *parent)
    : QStatusBar(parent), services_(&services), message_(NewNamed<ElidedLabel>(u"Msg", this)),
      selection_(NewNamed<ElidedLabel>(u"Sel", this)), port_(NewNamed<QLabel>(u"Port", this))
{
    setObjectName(QStringLiteral("sbMain"));
    for (ElidedLabel *const label : {message_, selection_}) {
        label->setContentsMargins(6, 0, 6, 0);
        label->setMinimumWidth(1); // a long text must not widen the window
        addWidget(label);
    }
    port_->setContentsMargins(6, 0, 6, 0);
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
