#include "document/graphform.h"

#include "document/dataset.h"
#include "document/numbers.h"
#include "graph/graphsettings.h"
#include "resources/strings.h"

#include <algorithm>
#include <optional>
#include <span>

namespace px40 {

namespace {

constexpr int MostSamples = 32767; // a graph shows no more

/// The axis and the label of a field, what it takes, and how that is read.
struct FieldRule
{
    Str axis;
    Str label;
    Str allowed;
    const char16_t *least;
    const char16_t *most;
    std::optional<QString> (*plain)(QStringView text);
};

template <std::optional<int> (*Read)(QStringView)>
std::optional<QString> Whole(QStringView text)
{
    const std::optional<int> value = Read(text);
    return value ? std::optional(QString::number(*value)) : std::nullopt;
}

/// In the order of the fields.
constexpr FieldRule Rules[GraphFieldCount] = {
    {Str::GraphXAxis, Str::GraphDataRange, Str::WholeNumberAllowed, u"2", u"32767", Whole<GraphCountOf>},
    {Str::GraphXAxis, Str::GraphTickCategories, Str::WholeNumberAllowed, u"1", u"32767", Whole<DivisionsOf>},
    {Str::GraphXAxis, Str::GraphLabelCategories, Str::WholeNumberAllowed, u"1", u"32767", Whole<DivisionsOf>},
    {Str::GraphYAxis, Str::GraphMaximum, Str::NumberAllowed, u"-60000", u"60000", AxisLimitOf},
    {Str::GraphYAxis, Str::GraphMinimum, Str::NumberAllowed, u"-60000", u"60000", AxisLimitOf},
    {Str::GraphYAxis, Str::GraphMajorUnit, Str::WholeNumberAllowed, u"1", u"32767", Whole<DivisionsOf>},
    {Str::GraphYAxis, Str::GraphMinorUnit, Str::WholeNumberAllowed, u"1", u"32767", Whole<DivisionsOf>},
};

constexpr GraphField XFields[] = {GraphField::End, GraphField::Tick, GraphField::Label};
constexpr GraphField YFields[] = {GraphField::Max, GraphField::Min, GraphField::Major, GraphField::Minor};

tl::unexpected<GraphFault> Fault(GraphField field, const QString &allowed)
{
    const FieldRule &rule = Rules[static_cast<std::size_t>(field)];
    return tl::unexpected(
        GraphFault{field, Text(Str::IllegalValue) + QStringLiteral("\r\n") +
                              Text(Str::FieldAllows).arg(Text(rule.axis), Text(rule.label), allowed)});
}

tl::expected<void, GraphFault> CheckFields(std::span<const GraphField> fields, GraphForm *form)
{
    for (const GraphField field : fields) {
        const FieldRule &rule = Rules[static_cast<std::size_t>(field)];
        QString &text = (*form)[field];
        const std::optional<QString> plain = rule.plain(text);
        if (!plain)
            return Fault(
                field, Text(rule.allowed).arg(QString::fromUtf16(rule.least), QString::fromUtf16(rule.most)));
        text = *plain;
        // As rewritten, since those are what the axis gets: two limits may differ only beyond their digits.
        const QString &maximum = (*form)[GraphField::Max];
        if (field == GraphField::Min && SingleNumber(maximum) <= SingleNumber(text))
            return Fault(field, Text(Str::BelowMaximum).arg(maximum));
    }
    return {};
}

tl::expected<void, GraphFault> Check(GraphForm *form)
{
    if (!form->xAuto) {
        if (auto checked = CheckFields(XFields, form); !checked)
            return checked;
    }
    if (!form->yAuto)
        return CheckFields(YFields, form);
    return {};
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

tl::expected<void, GraphFault> StoreGraphForm(GraphForm *form, DataSet *dataSet)
{
    if (auto checked = Check(form); !checked)
        return checked;
    const auto whole = [form](GraphField field) { return WholeNumber((*form)[field]).value(); };
    if (!form->xAuto)
        dataSet->SetGraphcount(whole(GraphField::End));
    else if (dataSet->GetDatacount() > 2)
        dataSet->SetGraphcount(std::min(dataSet->GetDatacount(), MostSamples));

    if (form->xAuto)
        dataSet->SetAxisX(true, 1, 1);
    else
        dataSet->SetAxisX(false, whole(GraphField::Label), whole(GraphField::Tick));

    if (form->yAuto)
        dataSet->SetAxisY(true, QStringLiteral("1"), QStringLiteral("10"), 1, 1);
    else
        dataSet->SetAxisY(false, (*form)[GraphField::Min], (*form)[GraphField::Max], whole(GraphField::Major),
                          whole(GraphField::Minor));

    dataSet->PaintGraphtop();
    return {};
}

} // namespace px40
