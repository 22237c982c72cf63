// Dotted text of OBJECT IDENTIFIERs to DER content octets and back (X.690 8.19).
#include <charconv>
#include <string_view>

#include "asn/asn_builder.h"
#include "derkit/asn_oidmap.h"
#include "util/string_room.h"

namespace {

// Header room stays free in the caller's array, so that identifier and length fit in front of the content.
constexpr unsigned int MAX_OID_CONTENT_SIZE = 512 - HEADER_ROOM;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Reads one arc of at most 32 bits, leading zeros included, and moves `p` to the dot or the end behind it.
bool read_arc(const char*& p, const char* end, unsigned int& arc) {
    if (p == end || !is_digit(*p)) {
        return false;
    }
    unsigned long long value = 0;
    for (; p != end && *p != '.'; ++p) {
        if (!is_digit(*p)) {
            return false;
        }
        value = value * 10 + static_cast<unsigned int>(*p - '0');
        if (value > 0xFFFFFFFF) {
            return false;
        }
    }
    arc = static_cast<unsigned int>(value);
    return true;
}

unsigned int subidentifier_size(unsigned int value) {
    unsigned int size = 1;
    while ((value >>= 7) != 0) {
        ++size;
    }
    return size;
}

void write_subidentifier(unsigned int value, unsigned int size, unsigned char* out) {
    unsigned int continues = 0x00;
    for (unsigned int i = size; i-- != 0; value >>= 7) {
        out[i] = static_cast<unsigned char>((value & 0x7F) | continues);
        continues = 0x80;
    }
}

// Subidentifiers of more than 32 bits wrap; padding by leading 0x80 octets is accepted (X.690 8.19.2 forbids it).
bool read_subidentifier(const unsigned char*& p, const unsigned char* end, unsigned int& value) {
    value = 0;
    for (; p != end; ++p) {
        value = value << 7 | (*p & 0x7Fu);
        const bool last = (*p & 0x80) == 0;
        if (last) {
            ++p;
            return true;
        }
    }
    return false;
}

void append_arc(unsigned int arc, bool last, std::string& out) {
    char text[sizeof "4294967295."];
    char* end = std::to_chars(text, text + sizeof text, arc).ptr;
    if (!last) {
        *end++ = '.';
    }
    append_text(out, std::string_view(text, static_cast<std::size_t>(end - text)));
}

} // namespace

unsigned int oid_str_to_asn_(const char* begin, const char* end, unsigned char (&out)[512]) {
    const char* p = begin;
    unsigned int first_arc = 0;
    if (!read_arc(p, end, first_arc) || first_arc > 2) {
        return 0;
    }
    unsigned int size = 0;
    // The first two arcs share a subidentifier. The second one may be 40 or more behind 0 and 1 too, and the sum
    // wraps at 32 bits.
    unsigned int shared = 40 * first_arc;
    while (p != end) {
        ++p; // the dot
        unsigned int arc = 0;
        if (!read_arc(p, end, arc)) {
            return 0;
        }
        const unsigned int subidentifier = shared + arc;
        shared = 0;
        const unsigned int needed = subidentifier_size(subidentifier);
        if (needed > MAX_OID_CONTENT_SIZE - size) {
            return 0;
        }
        write_subidentifier(subidentifier, needed, out + size);
        size += needed;
    }
    return size;
}

int oid_asn_to_str_(const unsigned char* begin, const unsigned char* end, std::string& out) {
    const unsigned char* p = begin;
    unsigned int subidentifier = 0;
    if (!read_subidentifier(p, end, subidentifier)) {
        return 0;
    }
    // A plain division: the first arc can come out as 3 and more.
    append_arc(subidentifier / 40, false, out);
    append_arc(subidentifier % 40, p == end, out);
    while (p != end) {
        if (!read_subidentifier(p, end, subidentifier)) {
            return 0;
        }
        append_arc(subidentifier, p == end, out);
    }
    return 1;
}
