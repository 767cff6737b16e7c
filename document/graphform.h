#pragma once

#include <QString>

#include <array>
#include <optional>

namespace px40 {

class DataSet;

/// The text boxes of the Graph setup dialog.
enum class GraphField {
    End,   ///< samples shown at once, 2 to 32767
    Tick,  ///< categories between tick marks, 1 to 32767
    Label, ///< categories between tick-mark labels, 1 to 32767
    Max,   ///< of the Y axis, -60000 to 60000
    Min,
    Major, ///< divisions of the Y axis, 1 to 32767
    Minor,
};
constexpr int GraphFieldCount = 7;

/// What stands in the Graph setup dialog: texts as the user typed them, checked or not.
struct GraphForm
{
    bool xAuto = true; ///< the fields End, Tick and Label do not count
    bool yAuto = true; ///< the fields Max, Min, Major and Minor do not count
    std::array<QString, GraphFieldCount> texts;

    QString &operator[](GraphField field) { return texts.at(static_cast<std::size_t>(field)); }
    const QString &operator[](GraphField field) const { return texts.at(static_cast<std::size_t>(field)); }
};

/// The settings that the data set has now.
GraphForm LoadGraphForm(const DataSet &dataSet);

/// The first faulty field of the axes that are not automatic, in the order X, then Y with the maximum first;
/// nothing when all is well. Each field that passes is rewritten in its plain form, also when a later one is
/// faulty. A maximum that is not above the minimum counts as a fault of the minimum.
std::optional<GraphField> CheckGraphForm(GraphForm *form);

/// What to tell the user about that fault: what is wrong, and on a second line which field it is and what is
/// allowed there.
QString GraphComplaint(const GraphForm &form, GraphField fault);

/// Gives the settings of a form that passed its check to the data set and shows the first sample again. An
/// automatic X axis shows all samples as soon as there are more than 2.
void ApplyGraphForm(const GraphForm &form, DataSet *dataSet);

} // namespace px40
