#include "asn/asn_printable_syntax.h"

#include <algorithm>
#include <cstring>

#include "asn/asn_printable_traits.h"

namespace {

bool is_separator(char c) {
    return c == ',' || c == '+';
}

const char* skip_blanks(const char* p) {
    while (is_blank(*p)) {
        ++p;
    }
    return p;
}

// A type of separators alone is an empty type: "=x" and ",=x" do not parse, ",O=x" does. No separator is at its end.
bool is_empty_type(const char* begin, const char* end) {
    while (is_separator(*begin)) {
        ++begin;
    }
    return begin == end;
}

// Skips characters up to the next mark, and adds their classes to `traits`.
const char* skip_plain(const char* p, const char* end, unsigned int& traits) {
    constexpr std::ptrdiff_t BLOCK_SIZE = 8;
    for (unsigned int block = 0; end - p >= BLOCK_SIZE; p += BLOCK_SIZE) {
        block = traits_of_block<BLOCK_SIZE>(p);
        if ((block & VALUE_MARK) != 0) {
            break;
        }
        traits |= block;
    }
    for (; (traits_of(*p) & VALUE_MARK) == 0; ++p) {
        traits |= traits_of(*p);
    }
    return p;
}

// Returns the '=' after the type at `p`, or null.
const char* parse_type(const char* p, RDNdescr_t& out) {
    out.type_begin = p;
    while ((traits_of(*p) & TYPE_END) == 0) {
        ++p;
    }
    out.type_end = p;
    p = skip_blanks(p);
    return *p == '=' && !is_empty_type(out.type_begin, out.type_end) ? p : nullptr;
}

} // namespace

dn_reader_t::dn_reader_t(const char* dn) : p_(skip_blanks(dn)), end_(p_ + std::strlen(p_)), at_end_(p_ == end_) {}

// Returns the separator or the final zero after the value at `p`, or null when the text ends inside double quotes.
[[gnu::always_inline]] inline const char* dn_reader_t::read_value(const char* p, RDNdescr_t& attribute) {
    attribute.value_begin = p;
    bool quoted = false;
    unsigned int traits = 0;
    for (;; ++p) {
        p = skip_plain(p, end_, traits);
        if (*p == '\0' || (!quoted && is_separator(*p))) {
            break;
        }
        traits |= traits_of(*p);
        if (*p == '"') {
            quoted = !quoted;
        } else if (*p == '\\' && p[1] != '\0') {
            ++p;
            traits |= traits_of(*p);
        }
    }
    attribute.value_end = p;
    value_traits_ = traits;
    return quoted ? nullptr : p;
}

bool dn_reader_t::next(RDNdescr_t& attribute) {
    if (at_end_) {
        return false;
    }
    const char* const equals_sign = parse_type(p_, attribute);
    const char* const end = equals_sign == nullptr ? nullptr : read_value(equals_sign + 1, attribute);
    if (end == nullptr) {
        failed_ = true;
        return false;
    }
    attribute.plus_joined = plus_joined_;
    plus_joined_ = *end == '+';
    at_end_ = *end == '\0';
    if (!at_end_) {
        p_ = skip_blanks(end + 1); // nothing after a separator is an empty type: an error
    }
    return true;
}

int printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out) {
    dn_reader_t reader(dn);
    for (RDNdescr_t attribute; reader.next(attribute);) {
        out.push_back(attribute);
    }
    return reader.failed() ? 0 : 1;
}
