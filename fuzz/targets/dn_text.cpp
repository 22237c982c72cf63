// Operations on the text of names, text to DER, and normalising.
#include <algorithm>
#include <string>
#include <vector>

#include "asn/asn_printable_syntax.h"
#include "derkit/asn_printable.h"
#include "support/input.h"

namespace {

// An RDN with the blanks in front of it.
std::string_view text_of_rdn(std::string_view dn, const RDNdescr_t& first, const RDNdescr_t& last) {
    const char* begin = first.type_begin;
    while (begin != dn.data() && (begin[-1] == ' ' || begin[-1] == '\t')) {
        --begin;
    }
    return std::string_view(begin, static_cast<std::size_t>(last.value_end - begin));
}

std::string reversed(std::string_view dn, const std::vector<RDNdescr_t>& attributes) {
    std::string text;
    for (std::size_t begin = 0, end = 0; begin < attributes.size(); begin = end) {
        for (end = begin + 1; end < attributes.size() && attributes[end].plus_joined;) {
            ++end;
        }
        const std::string_view rdn = text_of_rdn(dn, attributes[begin], attributes[end - 1]);
        text.insert(0, std::string(rdn) + (begin == 0 ? "" : ","));
    }
    return attributes.empty() ? std::string(dn) : text;
}

std::string reverse(const exact_bytes_t& text) {
    const std::string before = text.chars();
    char* const result = printable_dn_reverse(text.chars());
    require(result == nullptr || result == text.chars(), "the text is reversed in place");
    require(result != nullptr || before == text.chars(), "text that does not parse is untouched");
    return read_text_t(text).number(result != nullptr).bytes(text.chars()).text();
}

std::string type_of(const RDNdescr_t& attribute) {
    return std::string(attribute.type_begin, attribute.type_end);
}

// The first attribute of every type is found, as a pair and as a value.
void check_attributes(const char* dn, const std::vector<RDNdescr_t>& attributes) {
    constexpr std::size_t MAX_ATTRIBUTES = 20;
    for (std::size_t i = 0; i < std::min(attributes.size(), MAX_ATTRIBUTES); ++i) {
        const std::string type = type_of(attributes[i]);
        const RDNdescr_t& first = *std::find_if(attributes.begin(), attributes.end(),
                                                [&type](const RDNdescr_t& other) { return type_of(other) == type; });
        std::string pair = "kept";
        std::string value = "kept";
        require(printable_dn_get_attr(dn, type.c_str(), pair, PDN_GET_ATTR_PAIR) &&
                    printable_dn_get_attr(dn, type.c_str(), value, PDN_GET_ATTR_VALUE),
                "an attribute that is there is found");
        require_same("kept" + std::string(first.type_begin, first.value_end), pair, "a pair is as it is written");
        require_same("kept" + std::string(first.value_begin, first.value_end), value, "a value is as it is written");
    }
}

bool expect_C_before_CN(const std::vector<RDNdescr_t>& attributes) {
    const auto position = [&attributes](const char* type) {
        return std::find_if(attributes.begin(), attributes.end(),
                            [type](const RDNdescr_t& attribute) { return type_of(attribute) == type; }) -
               attributes.begin();
    };
    return position("C") <= position("CN") || position("C") == static_cast<std::ptrdiff_t>(attributes.size());
}

std::string test(const exact_bytes_t& text) {
    std::string out;
    return read_text_t(text)
        .number(printable_dn_C_before_CN(text.chars()))
        .number(printable_dn_get_attr(text.chars(), "CN", out, PDN_GET_ATTR_PAIR))
        .bytes(out)
        .number(printable_dn_contain_attrs(text.chars(), "CN=a,O=b"))
        .number(printable_dn_contain_attrs("CN=a,O=b", text.chars()))
        .text();
}

void check_operations(std::string_view text) {
    answer_to_text(test, text);
    const std::string reverse_answer = answer_to_text(reverse, text);
    const std::string dn(text);
    require(printable_dn_contain_attrs(dn.c_str(), dn.c_str()), "a name contains itself");

    std::vector<RDNdescr_t> attributes;
    const bool parses = printable_dn_parse(dn.c_str(), attributes) != 0;
    require((reverse_answer[0] == '1') == parses, "a name is reversed when it parses");
    if (!parses) {
        std::string out = "kept";
        require(!printable_dn_C_before_CN(dn.c_str()), "text that does not parse has no order");
        require(!printable_dn_get_attr(dn.c_str(), "CN", out, PDN_GET_ATTR_PAIR) && out == "kept",
                "text that does not parse has no attributes");
        return;
    }
    std::string changed = dn;
    printable_dn_reverse(changed.data());
    require_same(reversed(dn, attributes), changed, "RDNs change their order and keep their text");
    // A backslash at the end escapes nothing; reversed, it would escape the comma behind it.
    if (dn.empty() || dn.back() != '\\') {
        printable_dn_reverse(changed.data());
        require_same(dn, changed, "reversed twice is as before");
    }
    require(printable_dn_C_before_CN(dn.c_str()) == expect_C_before_CN(attributes), "C stands before CN or is absent");
    check_attributes(dn.c_str(), attributes);
}

std::string print(const std::string& der, oid_map_handle_t map, bool& done) {
    const exact_bytes_t block(der);
    std::string text;
    done = asn_dn_to_printable(block.data(), block.size(), text, PDN_ORDER_AS_ENCODED, map);
    return text;
}

// Dotted text with a first arc above 2 does not go back, and a zero ends the text.
bool can_be_encoded(const std::string& text) {
    std::vector<RDNdescr_t> attributes;
    require(text.find('\0') != std::string::npos || printable_dn_parse(text.c_str(), attributes) != 0,
            "printed text parses");
    return text.find('\0') == std::string::npos &&
           std::none_of(attributes.begin(), attributes.end(), [](const RDNdescr_t& attribute) {
               return *attribute.type_begin >= '0' && *attribute.type_begin <= '9' &&
                      (*attribute.type_begin > '2' || attribute.type_begin[1] != '.');
           });
}

void check_encoded(const std::string& dn, oid_map_handle_t map) {
    const auto encode = [map](const exact_bytes_t& text) {
        std::string der = "kept";
        const bool done = printable_to_asn_dn(text.chars(), der, map);
        require(done || der == "kept", "text that does not encode leaves the DER");
        return done ? der : std::string();
    };
    const std::string der = answer_to_text(encode, dn);
    bool prints = false;
    const std::string printed = der.empty() ? std::string() : print(der, map, prints);

    std::string text = "kept";
    std::string normal_der = "kept";
    require(printable_dn_normalize(dn, text, &normal_der, map) == prints, "a name normalises when its DER prints");
    require_same(der.empty() ? "kept" : der, normal_der, "normalising gives the DER");
    require_same(der.empty() ? "kept" : printed, text, "normalising gives the printed DER");
    std::string alone;
    require(printable_dn_normalize(dn, alone, nullptr, map) == prints && (!prints || alone == text),
            "normalising without DER gives the same text");
    if (!prints) {
        return; // a '#' value brought a string that its type does not allow
    }
    std::string again;
    std::string der_again;
    const bool goes_back = printable_dn_normalize(text, again, &der_again, map);
    if (can_be_encoded(text)) {
        require(goes_back, "printed text goes back to DER");
        require_same(text, again, "normalised twice is as normalised once");
        require(der_again.size() < 0x10000, "lengths are exact below 65,536");
    }
}

} // namespace

void check_input(std::string_view input) {
    const std::string dn(up_to_zero(input));
    check_operations(dn);
    check_encoded(dn, OID_MAP_HANDLE_DEFAULT);
    check_encoded(dn, oid_map_handle_t());

    // The first line is a pattern, the second a name; neither needs to be one.
    const std::size_t line_end = std::min(dn.find('\n'), dn.size());
    const std::string pattern = dn.substr(0, line_end);
    const std::string name = dn.substr(std::min(line_end + 1, dn.size()));
    const bool contained = printable_dn_contain_attrs(name.c_str(), pattern.c_str());
    require(!contained || pattern.size() <= name.size(), "what is contained is not longer");
    const bool plain = (name + pattern).find_first_of("\"\\") == std::string::npos;
    require(!plain || printable_dn_contain_attrs((pattern + "," + name).c_str(), pattern.c_str()),
            "a name contains the RDNs that it starts with");
}
