#pragma once

#include <QString>

#include <cstddef>

namespace px40 {

/// What is wrong with the contents of a dialog.
struct FieldFault
{
    std::size_t
        field; ///< the first faulty one, 0-based in the order in which the dialog's fields are checked
    QString complaint; ///< what is wrong, and on a second line which field it is and what is allowed there
};

} // namespace px40
