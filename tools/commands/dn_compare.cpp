// derkit dn compare: whether two distinguished names are the same, and where they differ.
#include <memory>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "derkit/asn_printable.h"
#include "formats/asn1_header.h"
#include "formats/dn_dialect.h"
#include "formats/dn_text.h"
#include "formats/name.h"
#include "formats/name_comparison.h"
#include "formats/named_oid.h"
#include "io/bytes.h"
#include "io/input.h"

namespace {

// Each is compared with each.
constexpr std::size_t MAX_ATTRIBUTES = 1000;

struct compare_options_t {
    std::string a;
    std::string b;
    std::string from = "text";
    std::string require;
    oid_map_option_t oid_map;
    bool json = false;
};

struct compared_name_t {
    std::string der;
    std::vector<rdn_t> parts;
    shown_text_t text;
};

std::string encode(const std::string& text, oid_map_handle_t map) {
    std::string der;
    if (!printable_to_asn_dn(text.c_str(), der, map)) {
        const std::string reason = explain_refusal(text, map);
        throw failure_t(text, reason.empty() ? "does not parse as a distinguished name" : reason);
    }
    return der;
}

std::string read_der_of(const std::string& given, const std::string& from, oid_map_handle_t map) {
    if (from == "der") {
        return read_filled_input(given);
    }
    if (from == "hex") {
        const std::optional<std::string> der = from_hex(given);
        if (!der.has_value()) {
            throw failure_t(given, "is not hexadecimal");
        }
        return *der;
    }
    const dn_dialect_t* const dialect = find_dn_dialect(from);
    return encode(dialect != nullptr ? read_dn(*dialect, given) : given, map);
}

compared_name_t read_compared(const std::string& given, const std::string& from, oid_map_handle_t map) {
    compared_name_t name;
    name.der = read_der_of(given, from, map);
    std::optional<std::vector<rdn_t>> parts = read_name_parts(name.der);
    if (!parts.has_value()) {
        throw failure_t(from == "der" ? input_name(given) : given, "is no Name");
    }
    std::size_t num_attributes = 0;
    for (const rdn_t& rdn : *parts) {
        num_attributes += rdn.size();
    }
    if (num_attributes > MAX_ATTRIBUTES) {
        throw failure_t("name", "has more than " + std::to_string(MAX_ATTRIBUTES) + " attributes");
    }
    name.parts = std::move(*parts);
    name.text = show_name(make_blob(name.der), {PDN_ORDER_AS_ENCODED, map, false}).text;
    return name;
}

const char* name_of_match(name_match_t match) {
    return match == name_match_t::SAME_OCTETS ? "same_octets" : match == name_match_t::MATCH ? "match" : "different";
}

const char* name_of_order(rdn_order_t order) {
    return order == rdn_order_t::SAME ? "same" : order == rdn_order_t::REVERSED ? "reversed" : "other";
}

void add_rdn(const char* key, const std::optional<std::size_t>& rdn, record_t& record) {
    if (rdn.has_value()) {
        record.add(key, static_cast<unsigned int>(*rdn + 1));
    }
}

// "UTF8String Example", or the DER of a value that is no text.
std::string value_text(const name_attribute_t& attribute) {
    if (!attribute.text.has_value()) {
        return "#" + to_hex(attribute.value);
    }
    const asn1_tag_t tag = {asn1_class_t::UNIVERSAL, attribute.tag & 0x1F, false};
    return asn1_type_name(tag) + " " + *attribute.text;
}

void add_attribute(const char* type_key, const char* key, const name_attribute_t* attribute, record_t& record) {
    if (attribute != nullptr) {
        const named_oid_t type = name_oid(make_blob(attribute->type));
        record.add(type_key, type.name.empty() ? type.oid : type.name);
        record.add(key, value_text(*attribute));
    }
}

std::vector<shown_text_t> shown(const std::vector<std::string>& texts) {
    return std::vector<shown_text_t>(texts.begin(), texts.end());
}

record_t describe_difference(const name_difference_t& difference) {
    record_t record;
    record.add("kinds", shown(difference.kinds));
    add_rdn("rdn_a", difference.rdn_a, record);
    add_attribute("type_a", "value_a", difference.a, record);
    add_rdn("rdn_b", difference.rdn_b, record);
    add_attribute("type_b", "value_b", difference.b, record);
    if (!difference.look_alikes.empty()) {
        record.add("look_alikes", shown(difference.look_alikes));
    }
    return record;
}

bool is_enough(name_match_t match, const std::string& required) {
    return required.empty() || match == name_match_t::SAME_OCTETS ||
           (required == "match" && match == name_match_t::MATCH);
}

void run(const compare_options_t& options, console_t& console) {
    const oid_map_handle_t map = options.oid_map.load();
    const compared_name_t a = read_compared(options.a, options.from, map);
    const compared_name_t b = read_compared(options.b, options.from, map);
    const name_comparison_t comparison = compare_names(a.der, a.parts, b.der, b.parts);
    record_t record("name_comparison", {COMMAND_LINE, 1, "A and B"});
    record.add("a", a.text);
    record.add("b", b.text);
    record.add("result", name_of_match(comparison.match));
    record.add("order", name_of_order(comparison.order));
    std::vector<record_t> differences;
    for (const name_difference_t& difference : comparison.differences) {
        differences.push_back(describe_difference(difference));
    }
    if (!differences.empty()) {
        record.add("differences", differences);
    }
    console.put(record, options.json);
    if (!is_enough(comparison.match, options.require)) {
        console.fail("A and B", options.require == "match" ? "do not match" : "have not the same octets");
    }
}

} // namespace

void add_dn_compare(command_t& dn, console_t& console) {
    command_t command =
        dn.add_subcommand_beside_arguments("compare", "Compare two names, by octets and by RFC 5280 7.1");
    const auto options = std::make_shared<compare_options_t>();
    command.add_argument("A", options->a, "A name");
    command.add_argument("B", options->b, "Another name");
    command.add_choice({"--from", "FORM",
                        "What A and B are: text (the default), hex, der (files), or a dialect: openssl, rfc4514, "
                        "rfc2253, java, cryptopro"},
                       options->from, {"text", "hex", "der", "openssl", "rfc4514", "rfc2253", "java", "cryptopro"});
    command.add_choice({"--require", "RESULT", "Fail unless the names match, or have the same octets"},
                       options->require, {"match", "octets"});
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object");
    command.set_footer("Examples:\n"
                       "  derkit dn compare 'CN=A  b,C=RU' 'CN=a B,C=RU'\n"
                       "  derkit dn compare --require match --from der subject.der issuer.der");
    command.set_action([options, &console] { run(*options, console); });
}
