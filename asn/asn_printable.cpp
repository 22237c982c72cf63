// Operations on the text of a DN, and normalising it by way of DER.
#include "derkit/asn_printable.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "asn/asn_printable_syntax.h"
#include "util/string_room.h"

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
    // Reversing each RDN, then the whole text, swaps the RDNs and keeps the text of each.
    const auto in_text = [dn](const char* p) { return dn + (p - dn); }; // the views are const
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
    for (RDNdescr_t attribute; reader.next(attribute);) {
        if (found.type_begin == nullptr && attribute.type() == wanted) {
            found = attribute;
        }
    }
    if (found.type_begin == nullptr || reader.failed()) {
        return false;
    }
    const char* const begin = what == PDN_GET_ATTR_VALUE ? found.value_begin : found.type_begin;
    append_text(out, std::string_view(begin, static_cast<std::size_t>(found.value_end - begin)));
    return true;
}

// Compares during one scan, without parsing.
bool printable_dn_contain_attrs(const char* dn, const char* rdns) {
    const char* component = rdns; // the RDN of the pattern to try again after a mismatch
    const char* pattern = rdns;
    bool quoted = false;
    bool matching = true;
    char previous = '\0';
    for (; *dn != '\0'; previous = *dn++) {
        const char c = *dn;
        const bool escaped = previous == '\\';
        if (c == '"' && !escaped) {
            quoted = !quoted;
        }
        const bool unquoted_comma = c == ',' && !quoted;
        if (!matching) {
            matching = unquoted_comma && !escaped;
        } else if (*pattern == '\0') {
            return unquoted_comma;
        } else if (c == *pattern) {
            ++pattern;
            if (unquoted_comma) {
                component = pattern;
            }
        } else {
            // A mismatch on a comma consumes it, so the RDN after it is not tried.
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
        if (!seen_C && attribute.type() == "C") {
            seen_C = true;
            CN_first = seen_CN;
        }
        seen_CN = seen_CN || attribute.type() == "CN";
    }
    return !reader.failed() && !CN_first;
}

bool printable_dn_normalize(const std::string& in, std::string& out, std::string* der, oid_map_handle_t map) {
    std::string own_der;
    std::string& encoded = der == nullptr ? own_der : *der;
    if (!printable_to_asn_dn(in.c_str(), encoded, map)) {
        return false;
    }
    out.clear();
    return asn_dn_to_printable(reinterpret_cast<const unsigned char*>(encoded.data()),
                               static_cast<unsigned int>(encoded.size()), out, PDN_ORDER_AS_ENCODED, map);
}
