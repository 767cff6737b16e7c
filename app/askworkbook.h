#pragma once

#include "forward/workbookplace.h"

namespace px40 {

class Clock;
class Prompts;

/// Asks for the files of workbooks in boxes and file dialogs. Both must outlive what is given.
AskForFile AskForFileBy(Prompts &prompts, const Clock &clock);

} // namespace px40
