// Records filled before a reader gets them: it leaves alone the fields that it does not reach.
#ifndef DERKIT_TESTING_UNTOUCHED_H
#define DERKIT_TESTING_UNTOUCHED_H

#include <string>
#include <string_view>

#include "derkit/asn_types.h"
#include "testing/bytes.h"
#include "testing/views.h"

// What the fields hold. In a table of expected bytes: the field still holds it.
inline const std::string UNTOUCHED_BYTES = "-";
inline constexpr unsigned int UNTOUCHED_NUMBER = 77;

inline blob_t untouched_view() {
    return view_of(UNTOUCHED_BYTES);
}

inline std::string bytes_or_untouched(std::string_view hex) {
    return hex == UNTOUCHED_BYTES ? UNTOUCHED_BYTES : from_hex(hex);
}

// A field that was filled views the input.
inline bool is_untouched_or_lies_in(const blob_t& view, const exact_bytes_t& input) {
    return lies_in(view, UNTOUCHED_BYTES) || lies_in(view, input);
}

#endif
