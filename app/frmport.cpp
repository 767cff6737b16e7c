#include "app/frmport.h"

#include "app/services.h"
#include "platform/elidedlabel.h"
#include "platform/named.h"
#include "platform/prompts.h"
#include "platform/timer.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

namespace {

/// Lists the devices afresh each time it opens, so that one that was just plugged in is there.
class DeviceBox : public QComboBox
{
  public:
    using QComboBox::QComboBox;

    void showPopup() override
    {
        const QString typed = currentText();
        clear();
        const QList<PortDevice> devices = PortMap::LiveDevices();
        for (const PortDevice &device : devices) {
            const QString label = device.description.isEmpty()
                                      ? device.path
                                      : device.path + QStringLiteral("  (") + device.description + u')';
            addItem(label, device.path);
        }
        setCurrentIndex(-1);
        setEditText(typed);
        QComboBox::showPopup();
    }
};

} // namespace

frmPort::frmPort(Services &services, Timer &checkTimer, QWidget *parent)
    : FormDialog(QStringLiteral("frmPort"), Text(Str::PortTitle), services.prompts, services.jobs, parent),
      services_(&services), checkTimer_(&checkTimer), cbPort_(NewNamed<QComboBox>(u"cbPort", this))
{
    auto *const llPort = NewNamed<QLabel>(u"llPort", Text(Str::PortLabel), this);
    llPort->setBuddy(cbPort_);
    for (int number = PortMap::First; number <= PortMap::Last; ++number)
        cbPort_->addItem(QString::number(number), QString::number(number));
    if (!PortMap::CanAssign()) {
        NameDevices();
        setMinimumWidth(fontMetrics().averageCharWidth() * 50); // the title needs it
    }
    // A simulated instrument has a port of its own, whatever the settings say. If their text is no port
    // number, the first one stays.
    const int entry = cbPort_->findData(services.simulated ? QString::number(services.comm.PortNumber())
                                                           : services.settings.PortNumberText);
    cbPort_->setCurrentIndex(std::max(0, entry));
    cbPort_->setMaxVisibleItems(PortMap::Last);

    auto *const column = new QVBoxLayout(this);
    auto *const grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(12);
    grid->addWidget(llPort, 0, 0);
    grid->addWidget(cbPort_, 0, 1, Qt::AlignLeft);
    column->addLayout(grid);
    if (PortMap::CanAssign()) {
        cbDevice_ = BuildDeviceBox();
        auto *const llDevice = new QLabel(Text(Str::PortDeviceLabel), this);
        llDevice->setBuddy(cbDevice_);
        llDeviceInfo_ = NewNamed<ElidedLabel>(u"llDeviceInfo", this);
        llDeviceInfo_->setForegroundRole(QPalette::PlaceholderText);
        llDeviceInfo_->setWordWrap(true);
        llDeviceInfo_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
        llDeviceInfo_->setFixedHeight(2 * fontMetrics().lineSpacing()); // the dialog keeps its size
        grid->addWidget(llDevice, 1, 0);
        grid->addWidget(cbDevice_, 1, 1);
        grid->addWidget(llDeviceInfo_, 2, 1);
        setMinimumWidth(fontMetrics().averageCharWidth() * 94);
        ShowDeviceOfPort();
    }
    column->addSpacing(8);
    column->addStretch(1);
    column->addWidget(BuildButtons(Text(Str::Ok), Text(Str::Cancel)));
    cbPort_->setFocus();
}

QComboBox *frmPort::BuildDeviceBox()
{
    auto *const box = NewNamed<DeviceBox>(u"cbDevice", this);
    box->setEditable(true);
    box->setCompleter(nullptr); // what is typed must not become another device
    box->setInsertPolicy(QComboBox::NoInsert);
    box->lineEdit()->setAccessibleName(Text(Str::PortDeviceLabel));
    box->lineEdit()->setPlaceholderText(Text(Str::PortDeviceHint));
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(cbPort_, &QComboBox::currentIndexChanged, this, &frmPort::ShowDeviceOfPort);
    connect(box, &QComboBox::editTextChanged, this, &frmPort::DescribeDevice);
    connect(box, &QComboBox::activated, this, [this, box](int entry) {
        devices_ = PortMap::LiveDevices();
        box->setEditText(box->itemData(entry).toString());
    });
    return box;
}

/// Puts beside each number what is plugged in there.
void frmPort::NameDevices()
{
    const QList<PortDevice> devices = PortMap::LiveDevices();
    for (int entry = 0; entry < cbPort_->count(); ++entry) {
        const QString number = cbPort_->itemData(entry).toString();
        for (const PortDevice &device : devices) {
            if (device.path == services_->ports.Device(number.toInt()))
                cbPort_->setItemText(
                    entry, number + QStringLiteral("  (") +
                               (device.description.isEmpty() ? device.path : device.description) + u')');
        }
    }
}

int frmPort::ChosenPort() const
{
    return cbPort_->currentData().toInt();
}

void frmPort::ShowDeviceOfPort()
{
    const int number = ChosenPort();
    devices_ = PortMap::LiveDevices();
    cbDevice_->setEditText(services_->ports.Device(number));
    cbDevice_->setEnabled(!services_->ports.IsFixed(number));
    DescribeDevice();
}

void frmPort::DescribeDevice()
{
    const QString path = cbDevice_->currentText().trimmed();
    QString info;
    if (services_->ports.IsFixed(ChosenPort())) {
        info = Text(services_->simulated ? Str::PortDeviceSimulated : Str::PortDeviceFixed);
    } else if (path.isEmpty()) {
        info = Text(Str::PortDeviceUnassigned);
    } else if (!QFileInfo::exists(path)) {
        const bool gone =
            path == services_->ports.Device(ChosenPort()) && services_->ports.IsKnown(ChosenPort());
        info = gone ? Text(Str::PortDeviceAbsent) : FirstLine(Text(Str::PortNoDevice).arg(path));
    } else {
        const QString device = QFileInfo(path).canonicalFilePath();
        for (const PortDevice &live : std::as_const(devices_)) {
            if (QFileInfo(live.path).canonicalFilePath() != device)
                continue;
            QStringList parts = {live.description};
            if (!live.serialNumber.isEmpty())
                parts << Text(Str::PortDeviceSerial).arg(live.serialNumber);
            if (device != path)
                parts << device;
            parts.removeAll(QString());
            info = parts.join(QStringLiteral(", "));
        }
    }
    llDeviceInfo_->SetText(info);
}

void frmPort::KeepDevice()
{
    const int number = ChosenPort();
    if (!cbDevice_ || services_->ports.IsFixed(number))
        return;
    const QString path = cbDevice_->currentText().trimmed();
    if (path != services_->ports.Device(number))
        services_->ports.Assign(number, path);
}

void frmPort::Confirm()
{
    btOk_->setEnabled(false);
    KeepDevice();
    jobs_->Launch(Apply(this), "opening the port");
}

QCoro::Task<void> frmPort::Apply(QPointer<frmPort> dialog)
{
    co_await NextEventLoopTurn(); // the click returns first
    if (!dialog)
        co_return;
    Services *const services = dialog->services_;
    services->comm.ClosePort();
    dialog->checkTimer_->SetInterval(0);
    dialog->checkTimer_->SetEnabled(false);
    const QString chosen = QString::number(dialog->ChosenPort());
    services->comm.SetPortNumber(dialog->ChosenPort());
    const Result<> opened = services->comm.OpenPort();
    if (!opened) {
        if (dialog->cbDevice_)
            dialog->cbDevice_->setFocus(); // a box is placed clear of the field that has the focus
        co_await services->prompts.Warn(opened.error().text);
    }
    if (opened && services->ports.Keeps()) // --demo does not change the saved port
        services->settings.PortNumberText = chosen;
    if (!dialog)
        co_return;
    dialog->btOk_->setEnabled(true);
    if (opened)
        dialog->accept();
}

} // namespace px40
