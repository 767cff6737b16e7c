#pragma once

#include <QString>

namespace px40 {

class Comm;
struct LinkState;

/// Why the instrument has not done what the exchange that has just ended asked of it, in one sentence; empty
/// if it has. `answered`: what `SendCommand` gave.
QString WhyNotObeyed(const QString &command, bool answered, const Comm &comm, const LinkState &state);

} // namespace px40
