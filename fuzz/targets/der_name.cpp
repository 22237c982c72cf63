// DER names to text in both orders and back to DER, single OIDs to names, bytes to hexadecimal text.
#include <algorithm>
#include <string>
#include <vector>

#include "asn/asn_cursor.h"
#include "asn/asn_printable_syntax.h"
#include "derkit/asn_printable.h"
#include "derkit/int2str.h"
#include "support/input.h"

namespace {

// A digit that tells success, and the text.
std::string print(const exact_bytes_t& der, PrintableDnOrder order, oid_map_handle_t map) {
    std::string out = "kept";
    const bool done = asn_dn_to_printable(der.data(), der.size(), out, order, map);
    require_same("kept", out.substr(0, 4), "text is appended");
    return std::to_string(done) + out.substr(4);
}

std::string print_oid(const exact_bytes_t& der, bool with_oid, oid_map_handle_t map) {
    std::string out = "kept";
    const bool done = asn_oid_to_printable(der.data(), der.size(), out, with_oid, map);
    return std::to_string(done) + out;
}

std::size_t count_attributes(std::string_view der) {
    asn_cursor_t in(view_of(der));
    asn_cursor_t name = in.enter(asn_tag_t::SEQUENCE);
    std::size_t count = 0;
    while (!name.empty()) {
        asn_cursor_t rdn = name.enter(asn_tag_t::SET);
        for (; !rdn.empty(); rdn.skip(asn_tag_t::SEQUENCE)) {
            ++count;
        }
    }
    return count;
}

bool is_hex_value(const RDNdescr_t& attribute) {
    return attribute.value_begin != attribute.value_end && *attribute.value_begin == '#';
}

// Not so a dotted type that is too long or has a first arc above 2, nor one that comes back by name because its octets
// were padded or wrapped.
bool has_type_that_comes_back(const RDNdescr_t& attribute, oid_map_handle_t map) {
    const bool is_name = *attribute.type_begin < '0' || *attribute.type_begin > '9';
    unsigned char der[512];
    const unsigned int size = oid_str_to_asn_(attribute.type_begin, attribute.type_end, der);
    return is_name || (size != 0 && (map.map == nullptr || oid_map_find_asn(map, der, size) == nullptr));
}

void check_text(std::string_view der, const std::string& text, const std::string& text_reversed, oid_map_handle_t map) {
    std::vector<RDNdescr_t> attributes;
    require(printable_dn_parse(text.c_str(), attributes) != 0, "printed text parses");
    require(attributes.size() == count_attributes(der), "every attribute is printed");
    std::string changed = text;
    require(printable_dn_reverse(changed.data()) != nullptr, "printed text can be reversed");
    require_same(text_reversed, changed, "printing in reversed order is reversing what is printed");

    std::string again;
    const bool goes_back = printable_dn_normalize(text, again, nullptr, map);
    const bool is_canonical = std::all_of(attributes.begin(), attributes.end(), [map](const RDNdescr_t& attribute) {
        return !is_hex_value(attribute) && has_type_that_comes_back(attribute, map);
    });
    if (is_canonical) {
        require(goes_back, "printed text goes back to DER");
        require_same(text, again, "a printed name goes to DER and prints the same");
    }
    if (!goes_back) {
        return;
    }
    // Of a '#' value, bytes behind the element and needless length octets are dropped; then it stays.
    std::string once_more;
    require(printable_dn_normalize(again, once_more, nullptr, map), "normalised text goes back to DER");
    require_same(again, once_more, "normalised twice is as normalised once");
}

void check_name(std::string_view der, oid_map_handle_t map) {
    const auto as_encoded = [map](const exact_bytes_t& in) { return print(in, PDN_ORDER_AS_ENCODED, map); };
    const auto reversed = [map](const exact_bytes_t& in) { return print(in, PDN_ORDER_REVERSED, map); };
    const std::string text = answer_of(as_encoded, der);
    const std::string text_reversed = answer_of(reversed, der);
    require(text[0] == text_reversed[0], "a name prints in both orders or in none");
    if (text[0] == '1' && text.find('\0') == std::string::npos) {
        check_text(der, text.substr(1), text_reversed.substr(1), map);
    }
}

void check_hex(std::string_view bytes) {
    const exact_bytes_t in(bytes);
    std::string plain = "kept";
    std::string separated;
    TO_HEX_STD_STRING(in.data(), in.size(), plain, '\0');
    TO_HEX_STD_STRING(in.data(), in.size(), separated, ':');
    require_same("kept", plain.substr(0, 4), "digits are appended");
    require(separated.size() == (bytes.empty() ? 0 : 3 * bytes.size() - 1), "separators stand between bytes");
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::string digits = plain.substr(4 + 2 * i, 2);
        require(std::stoul(digits, nullptr, 16) == static_cast<unsigned char>(bytes[i]), "two digits give the byte");
        require_same(digits + (i + 1 < bytes.size() ? ":" : ""), separated.substr(3 * i, 3), "digits are the same");
    }
}

} // namespace

void check_input(std::string_view input) {
    check_hex(input.substr(0, 64));
    for (const oid_map_handle_t map : {OID_MAP_HANDLE_DEFAULT, oid_map_handle_t()}) {
        check_name(input, map);
        answer_of([map](const exact_bytes_t& in) { return print_oid(in, false, map); }, input);
        answer_of([map](const exact_bytes_t& in) { return print_oid(in, true, map); }, input);
    }
}
