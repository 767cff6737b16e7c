#pragma once

#include "document/fieldfault.h"
#include "platform/result.h"

#include <array>

namespace px40 {

class DataSet;

/// The text boxes of the Graph setup dialog, in the order in which they are checked.
enum class GraphField {
    End,   ///< samples shown at once, 2 to 32767
    Tick,  ///< categories between tick marks, 1 to 32767
    Label, ///< categories between tick-mark labels, 1 to 32767
    Max,   ///< of the Y axis, -60000 to 60000
    Min,
    Major, ///< divisions of the Y axis, 1 to 32767
    Minor,
};
constexpr std::size_t GraphFieldCount = 7;

/// What is in the Graph setup dialog: texts as the user typed them, checked or not.
struct GraphForm
{
    bool xAuto = true; ///< the fields End, Tick and Label do not count
    bool yAuto = true; ///< the fields Max, Min, Major and Minor do not count
    std::array<QString, GraphFieldCount> texts;
};

/// The settings that the data set has now.
GraphForm LoadGraphForm(const DataSet &dataSet);

/// Gives the form's settings to the data set and shows the first sample again; an automatic X axis shows all
/// samples as soon as there are more than 2. Fails with the first faulty field of the axes that are not
/// automatic, and then changes nothing. Each field that passes is rewritten in its plain form, also when a
/// later one is faulty. A maximum that is not above the minimum counts as a fault of the minimum.
Result<void, FieldFault> StoreGraphForm(GraphForm *form, DataSet *dataSet);

} // namespace px40
