#include "app/frmport.h"

#include "app/services.h"
#include "resources/strings.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace px40 {

namespace {

constexpr int ClickDelayMs = 10;

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

int PortEntryFor(const QString &portNumberText)
{
    for (int number = PortMap::First; number <= PortMap::Last; ++number) {
        if (portNumberText == QString::number(number))
            return number - PortMap::First;
    }
    return 0;
}

frmPort::frmPort(Services &services, Timer &checkTimer, QWidget *parent)
    : QDialog(parent), services_(&services), checkTimer_(&checkTimer),
      llPort_(new QLabel(Text(Str::PortLabel), this)), cbPort_(new QComboBox(this)),
      btOk_(new QPushButton(Text(Str::Ok), this)), btCancel_(new QPushButton(Text(Str::Cancel), this))
{
    setObjectName(QStringLiteral("frmPort"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Text(Str::PortTitle));
    llPort_->setObjectName(QStringLiteral("llPort"));
    cbPort_->setObjectName(QStringLiteral("cbPort"));
    btOk_->setObjectName(QStringLiteral("btOk"));
    btCancel_->setObjectName(QStringLiteral("btCancel"));
    llPort_->setBuddy(cbPort_);
    for (int number = PortMap::First; number <= PortMap::Last; ++number)
        cbPort_->addItem(QString::number(number));
    // A simulated instrument stands on a port of its own, whatever is kept.
    const QString port =
        services.simulated ? QString::number(services.comm.PortNumber()) : services.settings.PortNumberText;
    cbPort_->setCurrentIndex(PortEntryFor(port));
    cbPort_->setMaxVisibleItems(PortMap::Last);

    auto *const column = new QVBoxLayout(this);
    auto *const grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(12);
    grid->addWidget(llPort_, 0, 0);
    grid->addWidget(cbPort_, 0, 1, Qt::AlignLeft);
    column->addLayout(grid);
    if (PortMap::CanAssign()) {
        BuildDeviceRow();
        grid->addWidget(llDevice_, 1, 0);
        grid->addWidget(cbDevice_, 1, 1);
        grid->addWidget(llDeviceInfo_, 2, 1);
        setMinimumWidth(fontMetrics().averageCharWidth() * 94);
    }
    column->addSpacing(8);
    column->addStretch(1);
    auto *const buttons = new QDialogButtonBox(this);
    buttons->addButton(btOk_, QDialogButtonBox::AcceptRole);
    buttons->addButton(btCancel_, QDialogButtonBox::RejectRole);
    btOk_->setDefault(true);
    column->addWidget(buttons);

    // The click returns first; the work is done on the tick.
    connect(btOk_, &QPushButton::clicked, this, [this] { tmPortInter_.SetInterval(ClickDelayMs); });
    connect(btCancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(&tmPortInter_, &Timer::tick, this, &frmPort::OnTick);
    cbPort_->setFocus();
}

void frmPort::BuildDeviceRow()
{
    llDevice_ = new QLabel(Text(Str::PortDeviceLabel), this);
    cbDevice_ = new DeviceBox(this);
    cbDevice_->setObjectName(QStringLiteral("cbDevice"));
    cbDevice_->setEditable(true);
    cbDevice_->setCompleter(nullptr); // what is typed must not become another device
    cbDevice_->setInsertPolicy(QComboBox::NoInsert);
    cbDevice_->lineEdit()->setPlaceholderText(Text(Str::PortDeviceHint));
    cbDevice_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    llDevice_->setBuddy(cbDevice_);
    llDeviceInfo_ = new QLabel(this);
    llDeviceInfo_->setObjectName(QStringLiteral("llDeviceInfo"));
    llDeviceInfo_->setForegroundRole(QPalette::PlaceholderText);
    llDeviceInfo_->setWordWrap(true);
    llDeviceInfo_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    llDeviceInfo_->setMinimumHeight(2 * fontMetrics().lineSpacing()); // the dialog keeps its size
    connect(cbPort_, &QComboBox::currentIndexChanged, this, &frmPort::ShowDeviceOfPort);
    connect(cbDevice_, &QComboBox::editTextChanged, this, &frmPort::DescribeDevice);
    connect(cbDevice_, &QComboBox::activated, this, [this](int entry) {
        devices_ = PortMap::LiveDevices();
        cbDevice_->setEditText(cbDevice_->itemData(entry).toString());
    });
    ShowDeviceOfPort();
}

int frmPort::ChosenPort() const
{
    return cbPort_->currentText().toInt();
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
    llDeviceInfo_->setText(info);
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

void frmPort::OnTick()
{
    tmPortInter_.SetInterval(0);
    btOk_->setEnabled(false);
    KeepDevice();
    services_->jobs.Launch(Apply(this), "opening the port");
}

QCoro::Task<void> frmPort::Apply(QPointer<frmPort> dialog)
{
    Services *const services = dialog->services_;
    services->comm.ClosePort();
    dialog->checkTimer_->SetInterval(0);
    dialog->checkTimer_->SetEnabled(false);
    services->comm.tmTimeout().SetEnabled(false);
    const QString chosen = dialog->cbPort_->currentText();
    services->comm.SetPortNumber(chosen.toInt());
    const bool opened = co_await services->comm.OpenPort();
    if (opened && services->ports.Keeps()) // whoever looks at a demo keeps the port of the instrument
        services->settings.PortNumberText = chosen;
    if (!dialog)
        co_return;
    dialog->btOk_->setEnabled(true);
    if (opened)
        dialog->accept();
}

} // namespace px40
