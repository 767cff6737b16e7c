#include "link/commandoutcome.h"

#include "link/comm.h"
#include "link/linkstate.h"
#include "resources/strings.h"

namespace px40 {

QString WhyNotObeyed(const QString &command, bool answered, const Comm &comm, const LinkState &state)
{
    if (answered)
        return state.RecvBuffer.startsWith(u"ERR") ? Text(Str::CommandRefused).arg(command) : QString();
    if (comm.IsOpen())
        return Text(Str::CommandNoAnswer).arg(command);
    return FirstLine(Text(comm.IsLost() ? Str::PortLost : Str::PortNotOpen));
}

} // namespace px40
