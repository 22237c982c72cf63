#include "formats/name.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "asn/asn_cursor.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

// An element whose length takes four octets.
std::string element(asn_tag_t::Type tag, std::string_view content) {
    std::string der = {static_cast<char>(tag), static_cast<char>(0x84)};
    for (const unsigned int shift : {24u, 16u, 8u, 0u}) {
        der += static_cast<char>(content.size() >> shift & 0xFF);
    }
    der += content;
    return der;
}

// The library's text of an attribute's value, taken from that of a name which has the value alone.
std::optional<std::string> value_text(std::string_view value) {
    static constexpr std::string_view TYPE = "1.2=";
    std::string attribute = "\x06\x01\x2A";
    attribute += value;
    const std::string name =
        element(asn_tag_t::SEQUENCE, element(asn_tag_t::SET, element(asn_tag_t::SEQUENCE, attribute)));
    std::string text;
    const bool done = asn_dn_to_printable(octets(name), size_of(name), text, PDN_ORDER_AS_ENCODED, oid_map_handle_t());
    return done ? std::optional(text.substr(TYPE.size())) : std::nullopt;
}

// A T61String that holds Latin-1, as an UTF8String. Nothing for any other value.
std::optional<std::string> utf8_from_latin1_value(const blob_t& value) {
    asn_cursor_t in(value);
    const blob_t content = in.read(asn_tag_t::T61_STRING);
    return in.ok() ? std::optional(element(asn_tag_t::UTF8_STRING, utf8_from_latin1(chars(content)))) : std::nullopt;
}

std::string join(const std::vector<std::string>& parts, char separator) {
    std::string text;
    for (const std::string& part : parts) {
        text += part;
        text += separator;
    }
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}

class name_reader_t {
  public:
    explicit name_reader_t(const name_style_t& style) : style_(style) {}

    // Name ::= SEQUENCE OF RelativeDistinguishedName                                 RFC 5280 4.1.2.4
    std::string read_name(const blob_t& name) {
        asn_cursor_t in(name);
        asn_cursor_t rdns = in.enter(asn_tag_t::SEQUENCE);
        if (!in.ok()) {
            return in_hexadecimal(name, "it is no Name");
        }
        std::vector<std::string> texts;
        while (!rdns.empty()) {
            const blob_t left = rdns.rest();
            const asn_cursor_t rdn = rdns.enter(asn_tag_t::SET);
            if (!rdn.ok()) {
                texts.push_back(in_hexadecimal(left, "an RDN is malformed"));
            } else if (rdn.empty()) {
                texts.push_back(in_hexadecimal(make_blob(left.data, left.size - rdns.size), "an RDN is empty"));
            } else {
                texts.push_back(read_rdn(rdn));
            }
        }
        if (style_.order == PDN_ORDER_REVERSED) {
            std::reverse(texts.begin(), texts.end());
        }
        return join(texts, ',');
    }

    std::string remark() const {
        if (num_problems_ == 0) {
            return "";
        }
        const std::string others = num_problems_ == 1 ? "" : ", and " + std::to_string(num_problems_ - 1) + " more";
        return first_problem_ + ", so it is shown in hexadecimal" + others;
    }

  private:
    const name_style_t& style_;
    std::string first_problem_;
    std::size_t num_problems_ = 0;

    std::string in_hexadecimal(const blob_t& der, const std::string& problem) {
        add_problem(problem);
        return "#" + to_hex(chars(der));
    }

    void add_problem(const std::string& problem) {
        if (num_problems_ == 0) {
            first_problem_ = problem;
        }
        ++num_problems_;
    }

    // RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
    std::string read_rdn(asn_cursor_t rdn) {
        std::vector<std::string> texts;
        while (!rdn.empty()) {
            const blob_t left = rdn.rest();
            asn_cursor_t attribute = rdn.enter(asn_tag_t::SEQUENCE);
            const blob_t type = attribute.read(asn_tag_t::OBJECT_IDENTIFIER);
            texts.push_back(attribute.ok() ? read_type(type) + "=" + read_value(type, attribute.rest())
                                           : in_hexadecimal(left, "an attribute is malformed"));
            if (!attribute.ok()) {
                break;
            }
        }
        return join(texts, '+');
    }

    // AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }
    std::string read_type(const blob_t& type) {
        std::string text = type_text(type);
        if (text.starts_with('#')) {
            add_problem("a type has no dotted text that leads back to its DER");
        }
        return text;
    }

    std::string read_value(const blob_t& type, const blob_t& value) {
        const std::optional<std::string> latin1 = style_.latin1_in_t61 ? utf8_from_latin1_value(value) : std::nullopt;
        const std::optional<std::string> text = value_text(latin1.has_value() ? *latin1 : chars(value));
        return text.has_value()
                   ? *text
                   : in_hexadecimal(value, "the value of " + type_text(type) + " is no text of its string type");
    }

    std::string type_text(const blob_t& type) const {
        const OIDdescr_t* const entry =
            style_.map.map == nullptr ? nullptr : oid_map_find_asn(style_.map, type.data, type.size);
        return entry != nullptr ? std::string(entry->oid_sn, entry->oid_sn_size) : oid_text(chars(type));
    }
};

} // namespace

std::vector<std::string> values_of_type(const blob_t& name, std::string_view type) {
    std::vector<std::string> values;
    asn_cursor_t in(name);
    asn_cursor_t rdns = in.enter(asn_tag_t::SEQUENCE);
    while (!rdns.empty()) {
        asn_cursor_t rdn = rdns.enter(asn_tag_t::SET);
        while (!rdn.empty()) {
            asn_cursor_t attribute = rdn.enter(asn_tag_t::SEQUENCE);
            if (chars(attribute.read(asn_tag_t::OBJECT_IDENTIFIER)) == type && attribute.ok()) {
                const std::string_view value = chars(attribute.rest());
                values.push_back(value_text(value).value_or("#" + to_hex(value)));
            }
        }
    }
    return values;
}

shown_name_t show_name(const blob_t& name, const name_style_t& style) {
    name_reader_t reader(style);
    const std::string text = reader.read_name(name);
    return {shown_text_t(text), reader.remark()};
}
