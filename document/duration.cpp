#include "document/duration.h"

#include "document/numbers.h"

namespace px40 {

bool ValidateDuration(Duration *duration, bool normalise)
{
    struct Part
    {
        QString *text;
        int highest;
        int number;
    };
    Part parts[] = {
        {&duration->Day, 99, 0}, {&duration->Hour, 23, 0}, {&duration->Min, 59, 0}, {&duration->Sec, 59, 0}};
    int sum = 0;
    for (Part &part : parts) {
        const std::optional<int> number = WholeNumber(*part.text);
        if (!number || *number < 0 || *number > part.highest)
            return false;
        part.number = *number;
        sum += *number;
    }
    if (sum == 0)
        return false;
    if (normalise) {
        for (const Part &part : parts)
            *part.text = QStringLiteral("%1").arg(part.number, 2, 10, QLatin1Char('0'));
    }
    return true;
}

} // namespace px40
