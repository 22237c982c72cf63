#include "derkit/int2str.h"

#include "util/ascii.h"
#include "util/string_room.h"

const IntToString I2S_LOG_LEVEL[] = {
    {0, "DISABLED"}, {1, "EVENTS"}, {2, "DETAILS"}, {3, "VERBOSE"}, {0, nullptr},
};

namespace {

bool equal_but_for_case(const char* a, const char* b) {
    while (ascii_lower(*a) == ascii_lower(*b)) {
        if (*a == '\0') {
            return true;
        }
        ++a;
        ++b;
    }
    return false;
}

} // namespace

const char* IntToString::getString(unsigned int wanted, const char* dflt) const {
    for (const IntToString* row = this; row->name != nullptr; ++row) {
        if (row->value == wanted) {
            return row->name;
        }
    }
    return dflt;
}

unsigned int IntToString::getInt(const char* wanted, unsigned int dflt) const {
    for (const IntToString* row = this; row->name != nullptr; ++row) {
        if (equal_but_for_case(row->name, wanted)) {
            return row->value;
        }
    }
    return dflt;
}

void TO_HEX_STRING(const unsigned char* data, unsigned int len, char* out, char sep) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    unsigned int i = 0;
    for (;;) {
        *out++ = DIGITS[data[i] >> 4];
        *out++ = DIGITS[data[i] & 0x0F];
        ++i;
        // Asked only now: one byte is converted even when len is 0.
        if (i >= len) {
            return;
        }
        if (sep != '\0') {
            *out++ = sep;
        }
    }
}

std::string& TO_HEX_STD_STRING(const unsigned char* data, unsigned int len, std::string& out, char sep) {
    if (len == 0) {
        return out;
    }
    const unsigned long long num_separators = sep == '\0' ? 0 : len - 1;
    TO_HEX_STRING(data, len, append_room(out, 2ULL * len + num_separators), sep);
    return out;
}
