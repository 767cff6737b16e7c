#pragma once

#include <QAnyStringView>

#include <utility>

namespace px40 {

/// Makes a control with that object name. The parent among `arguments` owns it.
template <typename Control, typename... Arguments>
Control *NewNamed(QAnyStringView name, Arguments &&...arguments)
{
    auto *const control = new Control(std::forward<Arguments>(arguments)...);
    control->setObjectName(name);
    return control;
}

} // namespace px40
