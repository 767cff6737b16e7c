#include "document/frmsetting.h"

#include "document/dataset.h"
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

    /// The one that is added last is chosen by typing in a field.
    QRadioButton *AddOption(const QString &name, Str text)
    {
        custom_ = new QRadioButton(Text(text), this);
        custom_->setObjectName(name);
        options_->insertWidget(options_->count() - 1, custom_);
        return custom_;
    }

    QLabel *AddField(const char *labelName, Str text, const char *name, QLineEdit **field)
    {
        auto *const label = new QLabel(Text(text), this);
        label->setObjectName(QLatin1StringView(labelName));
        *field = new QLineEdit(this);
        (*field)->setObjectName(QLatin1StringView(name));
        (*field)->setMinimumWidth((*field)->fontMetrics().averageCharWidth() * FieldWidth);
        label->setBuddy(*field);
        const int row = fields_->rowCount();
        fields_->addWidget(label, row, 0);
        fields_->addWidget(*field, row, 1);
        connect(*field, &QLineEdit::textEdited, custom_, [custom = custom_] { custom->setChecked(true); });
        return label;
    }

  private:
    QHBoxLayout *options_;
    QGridLayout *fields_;
    QRadioButton *custom_ = nullptr;
};

} // namespace

frmSetting::frmSetting(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent)
    : FormDialog(QStringLiteral("frmSetting"), Text(Str::GraphTitle), prompts, jobs, parent),
      dataSet_(std::move(dataSet))
{
    auto *const column = new QVBoxLayout(this);
    auto *const axes = new QHBoxLayout;
    axes->setSpacing(12);
    axes->addWidget(BuildXaxis(), 1);
    axes->addWidget(BuildYaxis(), 1);
    column->addLayout(axes, 1);
    column->addSpacing(8);
    QDialogButtonBox *const buttons = BuildButtons(Text(Str::Ok), Text(Str::Cancel));
    QPushButton *const btApply = buttons->addButton(Text(Str::Apply), QDialogButtonBox::ApplyRole);
    btApply->setObjectName(QStringLiteral("btApply"));
    connect(btApply, &QPushButton::clicked, this, &frmSetting::Apply);
    column->addWidget(buttons);
    Load(LoadGraphForm(*dataSet_));
    (obXuser_->isChecked() ? obXuser_ : obXauto_)->setFocus();
}

QGroupBox *frmSetting::BuildXaxis()
{
    auto *const group = new AxisGroup(QStringLiteral("frXaxis"), Str::GraphXAxis, this);
    obXauto_ = group->AddOption(QStringLiteral("obXauto"), Str::Automatic);
    obXuser_ = group->AddOption(QStringLiteral("obXuser"), Str::Custom);
    group->AddField("llCount", Str::GraphDataRange, "tbEnd", &Field(GraphField::End));
    group->AddField("llTick", Str::GraphTickCategories, "tbTick", &Field(GraphField::Tick));
    group->AddField("llLabel", Str::GraphLabelCategories, "tbLabel", &Field(GraphField::Label));
    return group;
}

QGroupBox *frmSetting::BuildYaxis()
{
    auto *const group = new AxisGroup(QStringLiteral("frYaxis"), Str::GraphYAxis, this);
    obYauto_ = group->AddOption(QStringLiteral("obYauto"), Str::Automatic);
    obYuser_ = group->AddOption(QStringLiteral("obYuser"), Str::Custom);
    group->AddField("llMin", Str::GraphMinimum, "tbMin", &Field(GraphField::Min));
    group->AddField("llMax", Str::GraphMaximum, "tbMax", &Field(GraphField::Max));
    llMajor_ = group->AddField("llMajor", Str::GraphMajorUnit, "tbMajor", &Field(GraphField::Major));
    group->AddField("llMinor", Str::GraphMinorUnit, "tbMinor", &Field(GraphField::Minor));
    llMajor_->installEventFilter(this);
    return group;
}

QLineEdit *&frmSetting::Field(GraphField field)
{
    return fields_.at(static_cast<std::size_t>(field));
}

void frmSetting::Load(const GraphForm &form)
{
    for (std::size_t i = 0; i < fields_.size(); ++i)
        fields_[i]->setText(form.texts[i]);
    (form.xAuto ? obXauto_ : obXuser_)->setChecked(true);
    (form.yAuto ? obYauto_ : obYuser_)->setChecked(true);
}

void frmSetting::Confirm()
{
    if (Apply())
        accept();
}

bool frmSetting::Apply()
{
    if (asking_)
        return false;
    GraphForm form = {obXauto_->isChecked(), obYauto_->isChecked(), {}};
    for (std::size_t i = 0; i < fields_.size(); ++i)
        form.texts[i] = fields_[i]->text();
    const auto stored = StoreGraphForm(&form, dataSet_.get());
    Load(form); // what passed stands there in its plain form
    if (!stored)
        Refuse(Field(stored.error().field), stored.error().complaint);
    return stored.has_value();
}

bool frmSetting::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == llMajor_ && event->type() == QEvent::MouseButtonRelease) {
        const auto *const click = static_cast<QMouseEvent *>(event);
        if (click->button() == Qt::LeftButton && llMajor_->rect().contains(click->position().toPoint()))
            obYuser_->setChecked(true);
    }
    return FormDialog::eventFilter(watched, event);
}

} // namespace px40
