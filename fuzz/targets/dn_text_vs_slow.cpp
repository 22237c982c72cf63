// The splitter of printable DNs and the decoder of their values against slow and obvious ones.
#include <optional>
#include <string>
#include <vector>

#include "asn/asn_cursor.h"
#include "asn/asn_printable_syntax.h"
#include "derkit/asn_printable.h"
#include "reference/dn_text.h"
#include "reference/dn_value.h"
#include "support/input.h"

namespace {

// The reference is slow.
constexpr std::size_t MAX_TEXT_SIZE = 256;

// The value goes into a name of its own.
void compare_value(const std::string& value) {
    const std::optional<reference_value_t> expected = reference_value(value);
    const exact_bytes_t text("2.5.4.3=" + value + '\0');
    std::string der;
    require(printable_to_asn_dn(text.chars(), der, oid_map_handle_t()) == expected.has_value(),
            "the same values are accepted");
    if (!expected) {
        return;
    }
    asn_cursor_t name(der);
    asn_cursor_t attribute = name.enter(asn_tag_t::SEQUENCE).enter(asn_tag_t::SET).enter(asn_tag_t::SEQUENCE);
    attribute.skip(asn_tag_t::OBJECT_IDENTIFIER);
    const std::string_view element = chars_of(attribute.rest());
    const blob_t content = attribute.read(asn_tag_t::ANY);
    require(attribute.ok() && attribute.empty() && name.empty(), "a value is one element");
    require(static_cast<unsigned char>(element[0]) == expected->tag, "tags are the same");
    require_same(expected->content, chars_of(content), "contents are the same");
}

} // namespace

void check_input(std::string_view input) {
    const std::string text(up_to_zero(input.substr(0, MAX_TEXT_SIZE)));
    const reference_dn_t expected = reference_split(text);
    const exact_bytes_t block(text + '\0');
    std::vector<RDNdescr_t> attributes;
    require((printable_dn_parse(block.chars(), attributes) != 0) == expected.done, "the same texts parse");
    require(attributes.size() == expected.attributes.size(), "as many attributes are found");
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const RDNdescr_t& attribute = attributes[i];
        require_same(expected.attributes[i].type, std::string(attribute.type_begin, attribute.type_end),
                     "types are the same");
        require_same(expected.attributes[i].value, std::string(attribute.value_begin, attribute.value_end),
                     "values are the same");
        require(expected.attributes[i].plus_joined == attribute.plus_joined, "RDNs are the same");
        compare_value(expected.attributes[i].value);
    }
}
