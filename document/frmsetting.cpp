#include "document/frmsetting.h"

#include "document/dataset.h"
#include "platform/jobs.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace px40 {

namespace {

constexpr int FieldWidth = 18; // average characters: room for the longest number

/// One of the dialog's two groups: the option buttons in a row and below them the fields.
class AxisGroup : public QGroupBox
{
  public:
    AxisGroup(const QString &name, Str title, QWidget *parent)
        : QGroupBox(Text(title), parent), options_(new QHBoxLayout), fields_(new QGridLayout)
    {
        setObjectName(name);
        auto *const column = new QVBoxLayout(this);
        column->addLayout(options_);
        column->addSpacing(6);
        column->addLayout(fields_);
        column->addStretch(1);
        options_->setSpacing(18);
        options_->addStretch(1);
        fields_->setColumnStretch(1, 1);
        fields_->setHorizontalSpacing(12);
    }

    QRadioButton *AddOption(const QString &name, Str text)
    {
        auto *const option = new QRadioButton(Text(text), this);
        option->setObjectName(name);
        options_->insertWidget(options_->count() - 1, option);
        return option;
    }

    QLabel *AddLabel(const QString &name, Str text)
    {
        auto *const label = new QLabel(Text(text), this);
        label->setObjectName(name);
        fields_->addWidget(label, fields_->rowCount(), 0);
        return label;
    }

    /// On the row of the label added last; typing in it chooses the option.
    QLineEdit *AddField(QLabel *label, const QString &name, QRadioButton *chosenByTyping)
    {
        auto *const field = new QLineEdit(this);
        field->setObjectName(name);
        field->setMinimumWidth(field->fontMetrics().averageCharWidth() * FieldWidth);
        label->setBuddy(field);
        fields_->addWidget(field, fields_->rowCount() - 1, 1);
        connect(field, &QLineEdit::textEdited, chosenByTyping,
                [chosenByTyping] { chosenByTyping->setChecked(true); });
        return field;
    }

  private:
    QHBoxLayout *options_;
    QGridLayout *fields_;
};

} // namespace

frmSetting::frmSetting(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent)
    : QDialog(parent), dataSet_(std::move(dataSet)), prompts_(&prompts), jobs_(&jobs)
{
    setObjectName(QStringLiteral("frmSetting"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Text(Str::GraphTitle));
    auto *const column = new QVBoxLayout(this);
    auto *const axes = new QHBoxLayout;
    axes->setSpacing(12);
    axes->addWidget(BuildXaxis(), 1);
    axes->addWidget(BuildYaxis(), 1);
    column->addLayout(axes, 1);
    column->addSpacing(8);
    column->addWidget(BuildButtons());
    Load(LoadGraphForm(*dataSet_));
    (obXuser_->isChecked() ? obXuser_ : obXauto_)->setFocus();
}

QGroupBox *frmSetting::BuildXaxis()
{
    auto *const group = new AxisGroup(QStringLiteral("frXaxis"), Str::GraphXAxis, this);
    obXauto_ = group->AddOption(QStringLiteral("obXauto"), Str::Automatic);
    obXuser_ = group->AddOption(QStringLiteral("obXuser"), Str::Custom);
    QLabel *const llCount = group->AddLabel(QStringLiteral("llCount"), Str::GraphDataRange);
    tbEnd_ = group->AddField(llCount, QStringLiteral("tbEnd"), obXuser_);
    QLabel *const llTick = group->AddLabel(QStringLiteral("llTick"), Str::GraphTickCategories);
    tbTick_ = group->AddField(llTick, QStringLiteral("tbTick"), obXuser_);
    QLabel *const llLabel = group->AddLabel(QStringLiteral("llLabel"), Str::GraphLabelCategories);
    tbLabel_ = group->AddField(llLabel, QStringLiteral("tbLabel"), obXuser_);
    return group;
}

QGroupBox *frmSetting::BuildYaxis()
{
    auto *const group = new AxisGroup(QStringLiteral("frYaxis"), Str::GraphYAxis, this);
    obYauto_ = group->AddOption(QStringLiteral("obYauto"), Str::Automatic);
    obYuser_ = group->AddOption(QStringLiteral("obYuser"), Str::Custom);
    QLabel *const llMin = group->AddLabel(QStringLiteral("llMin"), Str::GraphMinimum);
    tbMin_ = group->AddField(llMin, QStringLiteral("tbMin"), obYuser_);
    QLabel *const llMax = group->AddLabel(QStringLiteral("llMax"), Str::GraphMaximum);
    tbMax_ = group->AddField(llMax, QStringLiteral("tbMax"), obYuser_);
    llMajor_ = group->AddLabel(QStringLiteral("llMajor"), Str::GraphMajorUnit);
    tbMajor_ = group->AddField(llMajor_, QStringLiteral("tbMajor"), obYuser_);
    QLabel *const llMinor = group->AddLabel(QStringLiteral("llMinor"), Str::GraphMinorUnit);
    tbMinor_ = group->AddField(llMinor, QStringLiteral("tbMinor"), obYuser_);
    llMajor_->installEventFilter(this);
    return group;
}

QDialogButtonBox *frmSetting::BuildButtons()
{
    auto *const buttons = new QDialogButtonBox(this);
    const auto add = [buttons](const QString &name, Str text, QDialogButtonBox::ButtonRole role) {
        QPushButton *const button = buttons->addButton(Text(text), role);
        button->setObjectName(name);
        return button;
    };
    btOk_ = add(QStringLiteral("btOk"), Str::Ok, QDialogButtonBox::AcceptRole);
    btCancel_ = add(QStringLiteral("btCancel"), Str::Cancel, QDialogButtonBox::RejectRole);
    btApply_ = add(QStringLiteral("btApply"), Str::Apply, QDialogButtonBox::ApplyRole);
    btOk_->setDefault(true);
    connect(btOk_, &QPushButton::clicked, this, [this] {
        if (Apply())
            accept();
    });
    connect(btCancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(btApply_, &QPushButton::clicked, this, &frmSetting::Apply);
    return buttons;
}

void frmSetting::Load(const GraphForm &form)
{
    for (int i = 0; i < GraphFieldCount; ++i) {
        const auto field = static_cast<GraphField>(i);
        Box(field)->setText(form[field]);
    }
    (form.xAuto ? obXauto_ : obXuser_)->setChecked(true);
    (form.yAuto ? obYauto_ : obYuser_)->setChecked(true);
}

bool frmSetting::Apply()
{
    if (refusing_)
        return false;
    GraphForm form;
    form.xAuto = obXauto_->isChecked();
    form.yAuto = obYauto_->isChecked();
    for (int i = 0; i < GraphFieldCount; ++i) {
        const auto field = static_cast<GraphField>(i);
        form[field] = Box(field)->text();
    }
    const std::optional<GraphField> fault = CheckGraphForm(&form);
    Load(form); // what passed stands there in its plain form
    if (fault) {
        jobs_->Launch(Refuse(this, GraphComplaint(form, *fault), *fault), "refusing a graph setting");
        return false;
    }
    ApplyGraphForm(form, dataSet_.get());
    return true;
}

QCoro::Task<void> frmSetting::Refuse(QPointer<frmSetting> dialog, QString complaint, GraphField field)
{
    dialog->refusing_ = true;
    QLineEdit *const box = dialog->Box(field);
    box->setFocus(); // the message keeps clear of it
    box->selectAll();
    Prompts *const prompts = dialog->prompts_;
    co_await prompts->Warn(complaint);
    if (!dialog)
        co_return;
    dialog->refusing_ = false;
    dialog->Box(field)->setFocus();
    dialog->Box(field)->selectAll();
}

QLineEdit *frmSetting::Box(GraphField field) const
{
    switch (field) {
    case GraphField::End:
        return tbEnd_;
    case GraphField::Tick:
        return tbTick_;
    case GraphField::Label:
        return tbLabel_;
    case GraphField::Max:
        return tbMax_;
    case GraphField::Min:
        return tbMin_;
    case GraphField::Major:
        return tbMajor_;
    case GraphField::Minor:
        return tbMinor_;
    }
    Q_UNREACHABLE();
}

bool frmSetting::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == llMajor_ && event->type() == QEvent::MouseButtonRelease) {
        const auto *const click = static_cast<QMouseEvent *>(event);
        if (click->button() == Qt::LeftButton && llMajor_->rect().contains(click->position().toPoint()))
            obYuser_->setChecked(true);
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace px40
