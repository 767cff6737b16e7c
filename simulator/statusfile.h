#pragma once

#include <optional>
#include <string>

namespace px40::sim {

/// The reply that a status file holds: what follows "reply: " in the first line that begins so, blanks
/// included, of any length. All other lines say what a program should make of it and are ignored here. Empty,
/// with one sentence in `error`, when there is no such file or line.
std::optional<std::string> ReadStatusFile(const std::string &path, std::string *error);

} // namespace px40::sim
