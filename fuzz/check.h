#pragma once

#include <QByteArray>

#include <cstdio>
#include <cstdlib>

/// Ends the run when `condition` does not hold, so that the fuzzer keeps the input; in every kind of build.
#define PX40_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);              \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)

namespace px40 {

/// Tries one input; each program has its own.
void CheckInput(const QByteArray &input);

} // namespace px40
