// What from_c.c needs of the library: plain types, and no exceptions.
#include "shim.h"

#include <cstring>
#include <derkit/helpers/helpers.h>
#include <new>

int canonical_name(const char* text, char* out, unsigned int room) {
    try {
        const derkit::maybe_string canonical = derkit::canonical_name(text);
        if (!canonical || canonical->size() >= room) {
            return -1;
        }
        std::memcpy(out, canonical->c_str(), canonical->size() + 1);
        return static_cast<int>(canonical->size());
    } catch (const std::bad_alloc&) {
        return -1;
    }
}
