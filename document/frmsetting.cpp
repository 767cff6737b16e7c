#include "document/frmsetting.h"

#include "document/dataset.h"
#include "platform/named.h"
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

#include <span>

namespace px40 {

namespace {

constexpr int FieldWidth = 18; // average characters: the longest number fits

struct FieldRow
{
    GraphField field;
    const char *label;
    const char *name;
    Str text;
};

constexpr FieldRow XFields[] = {
    {GraphField::End, "llCount", "tbEnd", Str::GraphDataRange},
    {GraphField::Tick, "llTick", "tbTick", Str::GraphTickCategories},
    {GraphField::Label, "llLabel", "tbLabel", Str::GraphLabelCategories},
};

constexpr FieldRow YFields[] = {
    {GraphField::Min, "llMin", "tbMin", Str::GraphMinimum},
    {GraphField::Max, "llMax", "tbMax", Str::GraphMaximum},
    {GraphField::Major, "llMajor", "tbMajor", Str::GraphMajorUnit},
    {GraphField::Minor, "llMinor", "tbMinor", Str::GraphMinorUnit},
};

/// The two options side by side with the fields below; typing in a field chooses `custom`. The fields are
/// stored in `fields`.
template <typename Fields>
QLayout *LayOutAxis(QRadioButton *automatic, QRadioButton *custom, std::span<const FieldRow> rows,
                    Fields *fields)
{
    auto *const options = new QHBoxLayout;
    options->setSpacing(18);
    options->addWidget(automatic);
    options->addWidget(custom);
    options->addStretch(1);
    auto *const grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(12);
    QWidget *const group = custom->parentWidget();
    for (const FieldRow &row : rows) {
        auto *const label = NewNamed<QLabel>(row.label, Text(row.text), group);
        auto *const field = NewNamed<QLineEdit>(row.name, group);
        field->setMinimumWidth(field->fontMetrics().averageCharWidth() * FieldWidth);
        label->setBuddy(field);
        const int line = grid->rowCount();
        grid->addWidget(label, line, 0);
        grid->addWidget(field, line, 1);
        QObject::connect(field, &QLineEdit::textEdited, custom, [custom] { custom->setChecked(true); });
        fields->at(static_cast<std::size_t>(row.field)) = field;
    }
    auto *const column = new QVBoxLayout;
    column->addLayout(options);
    column->addSpacing(6);
    column->addLayout(grid);
    column->addStretch(1);
    return column;
}

} // namespace

frmSetting::frmSetting(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent)
    : FormDialog(QStringLiteral("frmSetting"), Text(Str::GraphTitle), prompts, jobs, parent),
      dataSet_(std::move(dataSet))
{
    auto *const frXaxis = NewNamed<QGroupBox>("frXaxis", Text(Str::GraphXAxis), this);
    obXauto_ = NewNamed<QRadioButton>("obXauto", Text(Str::Automatic), frXaxis);
    obXuser_ = NewNamed<QRadioButton>("obXuser", Text(Str::Custom), frXaxis);
    frXaxis->setLayout(LayOutAxis(obXauto_, obXuser_, XFields, &fields_));
    auto *const frYaxis = NewNamed<QGroupBox>("frYaxis", Text(Str::GraphYAxis), this);
    obYauto_ = NewNamed<QRadioButton>("obYauto", Text(Str::Automatic), frYaxis);
    obYuser_ = NewNamed<QRadioButton>("obYuser", Text(Str::Custom), frYaxis);
    frYaxis->setLayout(LayOutAxis(obYauto_, obYuser_, YFields, &fields_));
    llMajor_ = frYaxis->findChild<QLabel *>(QStringLiteral("llMajor"));
    llMajor_->installEventFilter(this);

    auto *const column = new QVBoxLayout(this);
    auto *const axes = new QHBoxLayout;
    axes->setSpacing(12);
    axes->addWidget(frXaxis, 1);
    axes->addWidget(frYaxis, 1);
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
    Load(form); // the valid fields now have their normal form
    if (!stored)
        Refuse(fields_.at(stored.error().field), stored.error().complaint);
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
