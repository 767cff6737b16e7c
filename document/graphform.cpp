#include "document/graphform.h"

#include "document/dataset.h"
#include "document/graphsettings.h"
#include "document/numbers.h"
#include "resources/strings.h"

#include <algorithm>
#include <cmath>

namespace px40 {

namespace {

constexpr int MostSamples = 32767; // a graph shows no more

bool TakeWhole(std::optional<int> value, QString *text)
{
    if (value)
        *text = QString::number(*value);
    return value.has_value();
}

bool TakeLimit(QString *text)
{
    const std::optional<QString> value = AxisLimitOf(*text);
    *text = value.value_or(*text);
    return value.has_value();
}

/// The axis and the label of a field, and what it takes.
struct FieldRule
{
    Str axis;
    Str label;
    Str allowed;
    const char16_t *least;
    const char16_t *most;
};

/// In the order of the fields.
constexpr FieldRule Rules[GraphFieldCount] = {
    {Str::GraphXAxis, Str::GraphDataRange, Str::WholeNumberAllowed, u"2", u"32767"},
    {Str::GraphXAxis, Str::GraphTickCategories, Str::WholeNumberAllowed, u"1", u"32767"},
    {Str::GraphXAxis, Str::GraphLabelCategories, Str::WholeNumberAllowed, u"1", u"32767"},
    {Str::GraphYAxis, Str::GraphMaximum, Str::NumberAllowed, u"-60000", u"60000"},
    {Str::GraphYAxis, Str::GraphMinimum, Str::NumberAllowed, u"-60000", u"60000"},
    {Str::GraphYAxis, Str::GraphMajorUnit, Str::WholeNumberAllowed, u"1", u"32767"},
    {Str::GraphYAxis, Str::GraphMinorUnit, Str::WholeNumberAllowed, u"1", u"32767"},
};

int Whole(const GraphForm &form, GraphField field)
{
    return WholeNumber(form[field]).value();
}

} // namespace

GraphForm LoadGraphForm(const DataSet &dataSet)
{
    const QStringList axisX = dataSet.GetAxisX();
    const QStringList axisY = dataSet.GetAxisY();
    GraphForm form;
    form[GraphField::End] = dataSet.GetGraphcount();
    form.xAuto = BooleanValue(axisX.at(0)).value();
    form[GraphField::Label] = axisX.at(1);
    form[GraphField::Tick] = axisX.at(2);
    form.yAuto = BooleanValue(axisY.at(0)).value();
    form[GraphField::Min] = axisY.at(1);
    form[GraphField::Max] = axisY.at(2);
    form[GraphField::Major] = axisY.at(3);
    form[GraphField::Minor] = axisY.at(4);
    return form;
}

std::optional<GraphField> CheckGraphForm(GraphForm *form)
{
    GraphForm &fields = *form;
    if (!fields.xAuto) {
        for (const GraphField field : {GraphField::End, GraphField::Tick, GraphField::Label}) {
            const QString &text = fields[field];
            if (!TakeWhole(field == GraphField::End ? GraphCountOf(text) : DivisionsOf(text), &fields[field]))
                return field;
        }
    }
    if (!fields.yAuto) {
        for (const GraphField field : {GraphField::Max, GraphField::Min}) {
            if (!TakeLimit(&fields[field]))
                return field;
        }
        // As rewritten, since those are what the axis gets: two limits may differ only beyond their digits.
        if (SingleNumber(fields[GraphField::Max]) <= SingleNumber(fields[GraphField::Min]))
            return GraphField::Min;
        for (const GraphField field : {GraphField::Major, GraphField::Minor}) {
            if (!TakeWhole(DivisionsOf(fields[field]), &fields[field]))
                return field;
        }
    }
    return std::nullopt;
}

QString GraphComplaint(const GraphForm &form, GraphField fault)
{
    const FieldRule &rule = Rules[static_cast<std::size_t>(fault)];
    // A minimum that is a number is refused only for the maximum's sake.
    const bool aboveMaximum = fault == GraphField::Min && AxisLimitOf(form[fault]);
    const QString allowed =
        aboveMaximum ? Text(Str::BelowMaximum).arg(form[GraphField::Max])
                     : Text(rule.allowed).arg(QString::fromUtf16(rule.least), QString::fromUtf16(rule.most));
    return Text(Str::IllegalValue) + QStringLiteral("\r\n") +
           Text(Str::FieldAllows).arg(Text(rule.axis), Text(rule.label), allowed);
}

void ApplyGraphForm(const GraphForm &form, DataSet *dataSet)
{
    if (!form.xAuto)
        dataSet->SetGraphcount(Whole(form, GraphField::End));
    else if (dataSet->GetDatacount() > 2)
        dataSet->SetGraphcount(std::min(dataSet->GetDatacount(), MostSamples));

    if (form.xAuto)
        dataSet->SetAxisX(true, 1, 1);
    else
        dataSet->SetAxisX(false, Whole(form, GraphField::Label), Whole(form, GraphField::Tick));

    if (form.yAuto)
        dataSet->SetAxisY(true, QStringLiteral("1"), QStringLiteral("10"), 1, 1);
    else
        dataSet->SetAxisY(false, form[GraphField::Min], form[GraphField::Max], Whole(form, GraphField::Major),
                          Whole(form, GraphField::Minor));

    dataSet->PaintGraphtop();
}

} // namespace px40
