#include "asn/asn_printable_syntax.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "derkit/asn_printable.h"
#include "util/string_room.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

bool is_separator(char c) {
    return c == ',' || c == '+';
}

const char* skip_blanks(const char* p) {
    while (is_blank(*p)) {
        ++p;
    }
    return p;
}

// A type of separators alone is an empty type: "=x" and ",=x" do not parse, ",O=x" does.
bool is_empty_type(const char* begin, const char* end) {
    return std::all_of(begin, end, is_separator);
}

// Gives the '=' behind the type at `p`, or null.
const char* parse_type(const char* p, RDNdescr_t& out) {
    out.type_begin = p;
    while (*p != '\0' && *p != '=' && !is_blank(*p)) {
        ++p;
    }
    out.type_end = p;
    p = skip_blanks(p);
    return *p == '=' && !is_empty_type(out.type_begin, out.type_end) ? p : nullptr;
}

std::string_view type_of(const RDNdescr_t& attribute) {
    return std::string_view(attribute.type_begin, static_cast<std::size_t>(attribute.type_end - attribute.type_begin));
}

} // namespace

dn_reader_t::dn_reader_t(const char* dn) : p_(skip_blanks(dn)), at_end_(*p_ == '\0') {}

// Gives the separator or the zero that ends the value at `p`, or null when the text ends inside double quotes.
const char* dn_reader_t::read_value(const char* p, RDNdescr_t& attribute) {
    attribute.value_begin = p;
    bool quoted = false;
    unsigned int traits = 0;
    for (;; ++p) {
        unsigned int last = 0;
        while (((last = traits_of(*p)) & VALUE_MARK) == 0) {
            traits |= last;
            ++p;
        }
        if (*p == '\0' || (!quoted && is_separator(*p))) {
            break;
        }
        traits |= last;
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
        p_ = skip_blanks(end + 1); // nothing behind a separator is an empty type: an error
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

char* printable_dn_reverse(char* dn) {
    std::vector<RDNdescr_t> attributes;
    constexpr unsigned int USUAL_NUM_ATTRIBUTES = 10;
    attributes.reserve(USUAL_NUM_ATTRIBUTES);
    if (printable_dn_parse(dn, attributes) == 0) {
        return nullptr;
    }
    if (attributes.size() < 2) {
        return dn;
    }
    // Every RDN is reversed in place, then all of them together: each comes out as it was, in another place.
    // The views are const, the text is the caller's to change.
    const auto in_text = [dn](const char* p) { return dn + (p - dn); };
    for (auto first = attributes.cbegin(); first != attributes.cend();) {
        const auto next =
            std::find_if(first + 1, attributes.cend(), [](const RDNdescr_t& a) { return !a.plus_joined; });
        char* begin = in_text(first->type_begin);
        while (begin != dn && is_blank(begin[-1])) {
            --begin;
        }
        std::reverse(begin, in_text((next - 1)->value_end));
        first = next;
    }
    std::reverse(dn, in_text(attributes.back().value_end));
    return dn;
}

bool printable_dn_get_attr(const char* dn, const char* type, std::string& out, PrintableDnGetAttr what) {
    const std::string_view wanted(type);
    dn_reader_t reader(dn);
    RDNdescr_t found;
    bool is_found = false;
    for (RDNdescr_t attribute; reader.next(attribute);) {
        if (!is_found && type_of(attribute) == wanted) {
            found = attribute;
            is_found = true;
        }
    }
    if (!is_found || reader.failed()) {
        return false;
    }
    const char* const begin = what == PDN_GET_ATTR_VALUE ? found.value_begin : found.type_begin;
    append_text(out, std::string_view(begin, static_cast<std::size_t>(found.value_end - begin)));
    return true;
}

bool printable_dn_contain_attrs(const char* dn, const char* rdns) {
    const char* component = rdns; // where the pattern goes on after a mismatch
    const char* pattern = rdns;
    bool quoted = false;
    bool matching = true;
    char previous = '\0';
    for (; *dn != '\0'; previous = *dn++) {
        const char c = *dn;
        if (previous != '\\') {
            if (c == '"') {
                quoted = !quoted;
            }
            if (c == ',' && !quoted && !matching) {
                matching = true;
                continue;
            }
        }
        if (!matching) {
            continue;
        }
        if (*pattern == '\0') {
            return c == ',' && !quoted;
        }
        if (c == *pattern) {
            ++pattern;
            if (c == ',' && !quoted) {
                component = pattern;
            }
        } else {
            // A mismatch on a comma consumes it, so the RDN behind it is not tried.
            pattern = component;
            matching = false;
        }
    }
    return *pattern == '\0';
}

bool printable_dn_C_before_CN(const char* dn) {
    dn_reader_t reader(dn);
    bool seen_C = false;
    bool seen_CN = false;
    bool CN_first = false;
    for (RDNdescr_t attribute; reader.next(attribute);) {
        if (!seen_C && type_of(attribute) == "C") {
            seen_C = true;
            CN_first = seen_CN;
        }
        seen_CN = seen_CN || type_of(attribute) == "CN";
    }
    return !reader.failed() && !CN_first;
}
