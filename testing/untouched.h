// Records that held something before a reader got them: it leaves a field alone that it does not come to.
#ifndef DERKIT_TESTING_UNTOUCHED_H
#define DERKIT_TESTING_UNTOUCHED_H

#include <string>
#include <string_view>

#include "derkit/asn_types.h"
#include "testing/bytes.h"
#include "testing/views.h"

// What the fields hold; in a table of expected bytes it stands for a field that still holds it.
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
