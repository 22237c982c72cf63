// Dotted text of OBJECT IDENTIFIERs to DER content octets and back (X.690 8.19).
#include "asn/asn_oid_text.h"

#include <charconv>

#include "derkit/asn_oidmap.h"

namespace {

// The caller's array also has room for an identifier and five length octets.
constexpr unsigned int MAX_OID_CONTENT_SIZE = 512 - 6;
constexpr unsigned int MAX_SUBIDENTIFIER_SIZE = 5; // of 32 bits

unsigned int digit_of(char c) {
    return static_cast<unsigned char>(c) - static_cast<unsigned int>('0');
}

struct arc_t {
    const char* end; // the dot after it or the end of the text; null when there is no arc
    unsigned int value;
};

// Reads one arc of at most 32 bits; leading zeros are accepted. Always inlined, like write_subidentifier(): both take
// less time than a call.
[[gnu::always_inline]] inline arc_t read_arc(const char* p, const char* end) {
    if (p == end || digit_of(*p) > 9) {
        return {nullptr, 0};
    }
    unsigned long long value = digit_of(*p++);
    for (; p != end && *p != '.'; ++p) {
        const unsigned int digit = digit_of(*p);
        value = value * 10 + digit;
        if (digit > 9 || value > 0xFFFFFFFF) {
            return {nullptr, 0};
        }
    }
    return {p, static_cast<unsigned int>(value)};
}

// Writes a subidentifier after the first `size` octets of `out`. False when it does not fit.
[[gnu::always_inline]] inline bool write_subidentifier(unsigned int value, unsigned char (&out)[512],
                                                       unsigned int& size) {
    if (value < 0x80) {
        if (size == MAX_OID_CONTENT_SIZE) {
            return false;
        }
        out[size++] = static_cast<unsigned char>(value);
        return true;
    }
    unsigned int num_octets = 2;
    while (num_octets < MAX_SUBIDENTIFIER_SIZE && value >> (7 * num_octets) != 0) {
        ++num_octets;
    }
    if (num_octets > MAX_OID_CONTENT_SIZE - size) {
        return false;
    }
    for (unsigned int i = num_octets; i-- != 0; value >>= 7) {
        out[size + i] = static_cast<unsigned char>(value | 0x80);
    }
    size += num_octets;
    out[size - 1] &= 0x7F;
    return true;
}

// Subidentifiers of more than 32 bits wrap, and leading 0x80 octets are accepted (X.690 8.19.2 forbids them).
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

constexpr std::size_t MAX_ARC_SIZE = sizeof "4294967295";

[[gnu::noinline]] char* write_long_arc(unsigned int arc, char* to) {
    return std::to_chars(to, to + MAX_ARC_SIZE, arc).ptr;
}

// Most arcs have one digit or two.
char* write_arc(unsigned int arc, char* to) {
    if (arc >= 100) {
        return write_long_arc(arc, to);
    }
    if (arc >= 10) {
        *to++ = static_cast<char>('0' + arc / 10);
        arc %= 10;
    }
    *to++ = static_cast<char>('0' + arc);
    return to;
}

// Puts an arc and a dot. Takes less time than a call.
[[gnu::always_inline]] inline void put_arc(unsigned int arc, text_writer_t& out) {
    char* const end = write_arc(arc, out.room(MAX_ARC_SIZE + 1));
    *end = '.';
    out.advance_to(end + 1);
}

} // namespace

unsigned int oid_str_to_asn_(const char* begin, const char* end, unsigned char (&out)[512]) {
    arc_t arc = read_arc(begin, end);
    if (arc.end == nullptr || arc.value > 2) {
        return 0;
    }
    unsigned int size = 0;
    // The first two arcs share a subidentifier. The second arc may be 40 or more even after 0 and 1, and the sum wraps
    // at 32 bits.
    unsigned int shared = 40 * arc.value;
    while (arc.end != end) {
        arc = read_arc(arc.end + 1, end);
        if (arc.end == nullptr || !write_subidentifier(shared + arc.value, out, size)) {
            return 0;
        }
        shared = 0;
    }
    return size;
}

bool put_oid(const unsigned char* p, const unsigned char* end, text_writer_t& out) {
    unsigned int subidentifier = 0;
    if (!read_subidentifier(p, end, subidentifier)) {
        return false;
    }
    // A plain division: the first arc can become 3 or more.
    put_arc(subidentifier / 40, out);
    put_arc(subidentifier % 40, out);
    while (p != end) {
        if (!read_subidentifier(p, end, subidentifier)) {
            return false;
        }
        put_arc(subidentifier, out);
    }
    out.drop_last(); // the dot after the last arc
    return true;
}

int oid_asn_to_str_(const unsigned char* begin, const unsigned char* end, std::string& out) {
    text_writer_t writer(out);
    const bool complete = put_oid(begin, end, writer);
    writer.flush();
    return complete ? 1 : 0;
}
