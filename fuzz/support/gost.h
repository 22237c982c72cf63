// What the targets of the GOST library share.
#ifndef DERKIT_FUZZ_GOST_H
#define DERKIT_FUZZ_GOST_H

#include "derkit/gost/limits.h"

// The password of all inputs.
inline constexpr const char* GOST_PASSWORD = "password";

// Key derivations that take no time: seeds have one iteration.
inline derkit::gost::limits cheap_limits() {
    derkit::gost::limits cost;
    cost.max_iterations = 64;
    cost.max_total_iterations = 512;
    return cost;
}

// How the targets write.
inline derkit::gost::write_options cheap_options(derkit::gost::format to) {
    derkit::gost::write_options options;
    options.to = to;
    options.iterations = 1;
    return options;
}

#endif
