#pragma once

// QCustomPlot's header uses keywords of Qt that the rest of the program goes without. Include it by this one.

#define signals Q_SIGNALS
#define slots Q_SLOTS
#define foreach(variable, container) for (variable : container) // NOLINT(bugprone-macro-parentheses)
#include <qcustomplot.h>
#undef signals
#undef slots
#undef foreach
