#pragma once

#include "simulator/instrument.h"

#include <string>
#include <string_view>

namespace px40::sim {

/// Whether the first word of an order is "source", "measure", "mode" or "options": what a person at the bench
/// does with the keys of the instrument, and a program on the line cannot.
bool IsKeyOrder(std::string_view order);

/// Obeys "source FUNCTION RANGE", "measure FUNCTION RANGE", "mode N" or "options FLAGS"; numbers and flags as
/// in Instrument, any blanks between the words. False with one sentence in `error` when that cannot be done;
/// the instrument is then unchanged.
bool ObeyKeys(std::string_view order, Instrument &instrument, std::string *error);

/// What these orders are called and which functions and ranges there are, for --help.
std::string_view KeyOrderHelp();

} // namespace px40::sim
