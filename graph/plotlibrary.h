#pragma once

// QCustomPlot's header uses keywords of Qt that the rest of the program does without: include this one
// instead.

#define signals Q_SIGNALS
#define slots Q_SLOTS
#define foreach(variable, container) for (variable : container) // NOLINT(bugprone-macro-parentheses)
#include <qcustomplot.h>
#undef signals
#undef slots
#undef foreach
