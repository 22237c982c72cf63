// The splitter of printable DNs against a slow and obvious one.
#include <string>
#include <vector>

#include "asn/asn_printable_syntax.h"
#include "reference/dn_text.h"
#include "support/input.h"

namespace {

// The reference is slow.
constexpr std::size_t MAX_TEXT_SIZE = 256;

} // namespace

void check_input(std::string_view input) {
    const std::string text(up_to_zero(input.substr(0, MAX_TEXT_SIZE)));
    const reference_dn_t expected = reference_split(text);
    const block_t block(text + '\0');
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
    }
}
