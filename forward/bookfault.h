#pragma once

#include <QString>

namespace px40 {

/// Thrown where a workbook cannot be taken any further, with the sentence for the user.
struct BookFault
{
    QString sentence;
};

} // namespace px40
