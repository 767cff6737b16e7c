#include "document/graphform.h"

#include "document/dataset.h"
#include "document/numbers.h"
#include "resources/strings.h"

#include <algorithm>
#include <optional>
#include <variant>

namespace px40 {

namespace {

constexpr int Most = 32767; // samples in a graph; also the largest number in a field

/// The setting that a field edits, and the field's name in a message. A whole number must be at least
/// `least`; a text is a limit of the axis.
struct FieldRule
{
    std::variant<int GraphSettings::*, QString GraphSettings::*> setting;
    Str axis;
    Str label;
    int least = 1;
};

/// In the order of the fields.
constexpr FieldRule Rules[GraphFieldCount] = {
    {&GraphSettings::count, Str::GraphXAxis, Str::GraphDataRange, 2},
    {&GraphSettings::xTicks, Str::GraphXAxis, Str::GraphTickCategories},
    {&GraphSettings::xLabels, Str::GraphXAxis, Str::GraphLabelCategories},
    {&GraphSettings::yMaximum, Str::GraphYAxis, Str::GraphMaximum},
    {&GraphSettings::yMinimum, Str::GraphYAxis, Str::GraphMinimum},
    {&GraphSettings::yMajor, Str::GraphYAxis, Str::GraphMajorUnit},
    {&GraphSettings::yMinor, Str::GraphYAxis, Str::GraphMinorUnit},
};

/// Stores a field in its setting and rewrites its text in the normal form. For a faulty field gives a text
/// that says what is allowed, else an empty one.
QString Take(const FieldRule &rule, QString *text, GraphSettings *settings)
{
    if (const auto *const limit = std::get_if<QString GraphSettings::*>(&rule.setting)) {
        const std::optional<QString> rewritten = AxisLimitOf(*text);
        if (!rewritten)
            return Text(Str::NumberAllowed).arg(QStringLiteral("-60000"), QStringLiteral("60000"));
        settings->**limit = *text = *rewritten;
        // The axis gets the limits as rewritten: their texts may differ only in digits that are rounded away.
        if (*limit == &GraphSettings::yMinimum &&
            SingleNumber(settings->yMaximum) <= SingleNumber(settings->yMinimum))
            return Text(Str::BelowMaximum).arg(settings->yMaximum);
        return {};
    }
    const std::optional<int> number = WholeNumber(*text);
    if (!number || *number < rule.least)
        return Text(Str::WholeNumberAllowed).arg(rule.least).arg(Most);
    settings->*std::get<int GraphSettings::*>(rule.setting) = *number;
    *text = QString::number(*number);
    return {};
}

} // namespace

GraphForm LoadGraphForm(const DataSet &dataSet)
{
    const GraphSettings &settings = dataSet.Graph().Settings();
    GraphForm form{settings.xAuto, settings.yAuto, {}};
    for (std::size_t field = 0; field < GraphFieldCount; ++field) {
        if (const auto *const limit = std::get_if<QString GraphSettings::*>(&Rules[field].setting))
            form.texts[field] = settings.**limit;
        else
            form.texts[field] =
                QString::number(settings.*std::get<int GraphSettings::*>(Rules[field].setting));
    }
    return form;
}

Result<void, FieldFault> StoreGraphForm(GraphForm *form, DataSet *dataSet)
{
    GraphSettings settings = dataSet->Graph().Settings();
    for (std::size_t field = 0; field < GraphFieldCount; ++field) {
        const FieldRule &rule = Rules[field];
        if (rule.axis == Str::GraphXAxis ? form->xAuto : form->yAuto)
            continue;
        const QString allowed = Take(rule, &form->texts[field], &settings);
        if (!allowed.isEmpty())
            return tl::unexpected(FieldFault{
                field, Text(Str::IllegalValue) + QStringLiteral("\r\n") +
                           Text(Str::FieldAllows).arg(Text(rule.axis), Text(rule.label), allowed)});
    }
    if (form->xAuto && dataSet->GetDatacount() > 2)
        settings.count = std::min(dataSet->GetDatacount(), Most);
    dataSet->SetGraphcount(settings.count);
    dataSet->SetAxisX(form->xAuto, settings.xLabels, settings.xTicks);
    if (form->yAuto)
        dataSet->SetAxisY(true, QStringLiteral("1"), QStringLiteral("10"), 1, 1);
    else
        dataSet->SetAxisY(false, settings.yMinimum, settings.yMaximum, settings.yMajor, settings.yMinor);
    dataSet->PaintGraphtop();
    return {};
}

} // namespace px40
