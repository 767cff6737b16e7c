#pragma once

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
