#include "acquire/frminterval.h"

#include "document/dataset.h"
#include "platform/named.h"
#include "resources/strings.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace px40 {

namespace {

constexpr int FieldWidth = 6; // digits: two are usual, the others make a typing slip visible
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
        auto *const label = NewNamed<QLabel>(QStringLiteral("ll") + name, unit, group);
        auto *const box = NewNamed<QLineEdit>(QStringLiteral("tb") + name, group);
        label->setBuddy(box);
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

} // namespace

frmInterval::frmInterval(std::shared_ptr<DataSet> dataSet, Prompts &prompts, Jobs &jobs, QWidget *parent)
    : FormDialog(QStringLiteral("frmInterval"), Text(Str::IntervalTitle), prompts, jobs, parent),
      dataSet_(std::move(dataSet))
{
    auto *const column = new QVBoxLayout(this);
    frInterval_ = NewNamed<QGroupBox>("frInterval", Text(Str::IntervalFrame), this);
    frInterval_->setLayout(BuildFields(frInterval_, u'I', &interval_));
    column->addWidget(frInterval_);
    llFixed_ = NewNamed<QLabel>("llFixed", Text(Str::IntervalFixed), this);
    llFixed_->setForegroundRole(QPalette::PlaceholderText);
    QSizePolicy kept = llFixed_->sizePolicy();
    kept.setRetainSizeWhenHidden(true); // the dialog keeps its size when the first reading comes
    llFixed_->setSizePolicy(kept);
    column->addWidget(llFixed_);
    column->addSpacing(4);
    column->addWidget(BuildPeriod());
    column->addSpacing(8);
    column->addStretch(1);
    column->addWidget(BuildButtons(Text(Str::Ok), Text(Str::Cancel)));
    Load(LoadIntervalForm(*dataSet_));
    FollowReadings();
    Enter(frInterval_->isEnabled() ? interval_[0] : period_[0]);
    connect(&dataSet_->Table(), &QAbstractItemModel::dataChanged, this, &frmInterval::FollowReadings);
}

QGroupBox *frmInterval::BuildPeriod()
{
    auto *const group = NewNamed<QGroupBox>("frPeriod", Text(Str::PeriodFrame), this);
    obNone_ = NewNamed<QRadioButton>("obNone", Text(Str::PeriodNone), group);
    obUser_ = NewNamed<QRadioButton>("obUser", Text(Str::PeriodCustom), group);
    auto *const column = new QVBoxLayout(group);
    column->addLayout(RowOfOptions({obNone_, obUser_}));
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

/// A new data set has no period texts. They are filled with zeros, so that the user need enter only one.
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
    if (entering) // what is being typed must not end up in a field of the period
        (obNone_->isChecked() ? obNone_ : obUser_)->setFocus();
}

void frmInterval::Confirm()
{
    IntervalForm form = {Entered(interval_), Entered(period_), obNone_->isChecked()};
    const auto stored = StoreIntervalForm(&form, dataSet_.get());
    if (stored) {
        accept();
        return;
    }
    Load(form); // the valid fields now have two digits
    const auto [field, complaint] = stored.error();
    Refuse(field < interval_.size() ? interval_[field] : period_.at(field - interval_.size()), complaint);
}

} // namespace px40
