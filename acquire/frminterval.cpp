#include "acquire/frminterval.h"

#include "document/dataset.h"
#include "platform/jobs.h"
#include "platform/prompts.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

namespace {

constexpr int FieldWidth = 6; // digits: two are usual, and room to see a slip
constexpr int LongestText = 64;

/// Day, hour, minute and second side by side, each below its label. `letter` tells the names of the two
/// groups' controls apart.
template <typename Boxes>
QGridLayout *BuildFields(QGroupBox *group, QChar letter, Boxes *boxes)
{
    struct Unit
    {
        const char16_t *name;
        Str text;
    };
    static constexpr Unit Units[] = {
        {u"day", Str::Day}, {u"hour", Str::Hour}, {u"min", Str::Minute}, {u"sec", Str::Second}};
    auto *const grid = new QGridLayout;
    for (std::size_t part = 0; part < boxes->size(); ++part) {
        const QString name = letter + QString::fromUtf16(Units[part].name);
        const QString unit = Text(Units[part].text);
        auto *const label = new QLabel(unit, group);
        auto *const box = new QLineEdit(group);
        label->setObjectName(QStringLiteral("ll") + name);
        label->setBuddy(box);
        box->setObjectName(QStringLiteral("tb") + name);
        box->setAccessibleName(group->title() + u' ' + unit); // the labels of both groups are the same
        box->setAlignment(Qt::AlignRight);
        box->setMaxLength(LongestText);
        box->setFixedWidth(box->fontMetrics().horizontalAdvance(u'0') * FieldWidth);
        const int column = static_cast<int>(part) * 2;
        if (part > 0) {
            grid->addWidget(new QLabel(QStringLiteral(":"), group), 1, column - 1, Qt::AlignCenter);
            grid->setColumnStretch(column - 1, 1);
        }
        grid->addWidget(label, 0, column, Qt::AlignRight);
        grid->addWidget(box, 1, column, Qt::AlignRight);
        boxes->at(part) = box;
    }
    return grid;
}

Duration Entered(const std::array<QLineEdit *, DurationParts.size()> &boxes)
{
    Duration duration;
    for (std::size_t part = 0; part < boxes.size(); ++part)
        duration.*DurationParts[part] = boxes[part]->text();
    return duration;
}

void Show(const Duration &duration, const std::array<QLineEdit *, DurationParts.size()> &boxes)
{
    for (std::size_t part = 0; part < boxes.size(); ++part)
        boxes[part]->setText(duration.*DurationParts[part]);
}

void Enter(QLineEdit *box)
{
    box->setFocus();
    box->selectAll();
}

} // namespace

frmInterval::frmInterval(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent)
    : QDialog(parent), dataSet_(std::move(dataSet)), prompts_(&prompts), jobs_(&jobs)
{
    setObjectName(QStringLiteral("frmInterval"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(Text(Str::IntervalTitle));
    auto *const column = new QVBoxLayout(this);
    column->addWidget(BuildInterval());
    llFixed_ = new QLabel(Text(Str::IntervalFixed), this);
    llFixed_->setObjectName(QStringLiteral("llFixed"));
    llFixed_->setForegroundRole(QPalette::PlaceholderText);
    QSizePolicy kept = llFixed_->sizePolicy();
    kept.setRetainSizeWhenHidden(true); // the dialog keeps its size when the first reading comes
    llFixed_->setSizePolicy(kept);
    column->addWidget(llFixed_);
    column->addSpacing(4);
    column->addWidget(BuildPeriod());
    column->addSpacing(8);
    column->addStretch(1);
    column->addWidget(BuildButtons());
    Load(LoadIntervalForm(*dataSet_));
    FollowReadings();
    Enter(frInterval_->isEnabled() ? interval_[0] : period_[0]);
    connect(&dataSet_->Table(), &QAbstractItemModel::dataChanged, this, &frmInterval::FollowReadings);
}

QGroupBox *frmInterval::BuildInterval()
{
    frInterval_ = new QGroupBox(Text(Str::IntervalFrame), this);
    frInterval_->setObjectName(QStringLiteral("frInterval"));
    auto *const column = new QVBoxLayout(frInterval_);
    column->addLayout(BuildFields(frInterval_, u'I', &interval_));
    return frInterval_;
}

QGroupBox *frmInterval::BuildPeriod()
{
    auto *const group = new QGroupBox(Text(Str::PeriodFrame), this);
    group->setObjectName(QStringLiteral("frPeriod"));
    obNone_ = new QRadioButton(Text(Str::PeriodNone), group);
    obNone_->setObjectName(QStringLiteral("obNone"));
    obUser_ = new QRadioButton(Text(Str::PeriodCustom), group);
    obUser_->setObjectName(QStringLiteral("obUser"));
    for (QRadioButton *const option : {obNone_, obUser_}) { // Tab reaches the chosen one only
        option->setFocusPolicy(Qt::ClickFocus);
        connect(option, &QRadioButton::toggled, option,
                [option](bool on) { option->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus); });
    }
    auto *const options = new QHBoxLayout;
    options->setSpacing(18);
    options->addWidget(obNone_);
    options->addWidget(obUser_);
    options->addStretch(1);
    auto *const column = new QVBoxLayout(group);
    column->addLayout(options);
    column->addSpacing(6);
    column->addLayout(BuildFields(group, u'P', &period_));
    for (const QLineEdit *const box : period_)
        connect(box, &QLineEdit::textEdited, obUser_, [this] { obUser_->setChecked(true); });
    connect(obUser_, &QRadioButton::toggled, this, [this](bool custom) {
        if (custom)
            BeginPeriod();
    });
    return group;
}

/// A new set has no period texts at all: whoever gives the first one need not give the others.
void frmInterval::BeginPeriod()
{
    const auto given = [](const QLineEdit *box) { return !box->text().isEmpty(); };
    if (std::count_if(period_.begin(), period_.end(), given) > 1)
        return;
    for (QLineEdit *const box : period_) {
        if (!given(box))
            box->setText(QStringLiteral("00"));
    }
}

QDialogButtonBox *frmInterval::BuildButtons()
{
    auto *const buttons = new QDialogButtonBox(this);
    btOk_ = buttons->addButton(Text(Str::Ok), QDialogButtonBox::AcceptRole);
    btOk_->setObjectName(QStringLiteral("btOk"));
    btOk_->setDefault(true);
    btCancel_ = buttons->addButton(Text(Str::Cancel), QDialogButtonBox::RejectRole);
    btCancel_->setObjectName(QStringLiteral("btCancel"));
    connect(btOk_, &QPushButton::clicked, this, &frmInterval::Confirm);
    connect(btCancel_, &QPushButton::clicked, this, &QDialog::reject);
    return buttons;
}

void frmInterval::Load(const IntervalForm &form)
{
    Show(form.interval, interval_);
    Show(form.period, period_);
    (form.periodNone ? obNone_ : obUser_)->setChecked(true);
}

void frmInterval::FollowReadings()
{
    const bool fixed = IsIntervalFixed(*dataSet_);
    llFixed_->setVisible(fixed);
    if (!fixed || !frInterval_->isEnabled())
        return;
    const bool entering = frInterval_->isAncestorOf(focusWidget());
    Show(dataSet_->GetInterval(), interval_);
    frInterval_->setEnabled(false);
    if (entering) // what is being typed must not go on in a field of the period
        (obNone_->isChecked() ? obNone_ : obUser_)->setFocus();
}

void frmInterval::Confirm()
{
    if (refusing_)
        return;
    IntervalForm form = {Entered(interval_), Entered(period_), obNone_->isChecked()};
    const std::optional<IntervalFault> fault = StoreIntervalForm(&form, dataSet_.get());
    if (!fault) {
        accept();
        return;
    }
    Load(form); // what passed stands there with two digits
    jobs_->Launch(Refuse(this, IntervalComplaint(form, *fault), *fault), "refusing an interval or period");
}

QCoro::Task<void> frmInterval::Refuse(QPointer<frmInterval> dialog, QString complaint, IntervalFault fault)
{
    dialog->refusing_ = true;
    dialog->EnterFaulty(fault); // the message keeps clear of it
    Prompts *const prompts = dialog->prompts_;
    co_await prompts->Warn(complaint);
    if (!dialog)
        co_return;
    dialog->refusing_ = false;
    dialog->EnterFaulty(fault);
}

void frmInterval::EnterFaulty(const IntervalFault &fault)
{
    Enter((fault.complaint == Str::IllegalInterval ? interval_ : period_).at(fault.part));
}

} // namespace px40
