// derkit dn: converts the text of a distinguished name to its canonical form and to DER.
#include <memory>
#include <optional>
#include <string>

#include "commands/commands.h"
#include "commands/options.h"
#include "derkit/asn_printable.h"
#include "formats/name.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

struct dn_options_t {
    std::string text;
    std::optional<std::string> get; // the type of the attribute
    oid_map_option_t oid_map;
    bool reverse = false;
    bool der = false;
    bool hex = false;
    bool json = false;
};

struct name_t {
    shown_text_t text; // canonical
    std::string der;
    std::string remark;
};

name_t normalize(const dn_options_t& options) {
    std::string text = options.text;
    const bool parses = printable_dn_reverse(text.data()) != nullptr;
    if (!parses) {
        throw failure_t(options.text, "does not parse as a distinguished name");
    }
    const oid_map_handle_t map = options.oid_map.load();
    name_t name;
    if (!printable_to_asn_dn(options.reverse ? text.c_str() : options.text.c_str(), name.der, map)) {
        throw failure_t(options.text, "has an unknown type or a malformed value");
    }
    const shown_name_t shown = show_name(make_blob(name.der), {PDN_ORDER_AS_ENCODED, map, false});
    name.text = shown.text;
    name.remark = shown.remark;
    return name;
}

// Searches the text as shown: in raw text, a zero byte would end the name.
shown_text_t get_value(const name_t& name, const std::string& type) {
    std::string value;
    if (!printable_dn_get_attr(name.text.str().c_str(), type.c_str(), value, PDN_GET_ATTR_VALUE)) {
        throw failure_t(name.text.str(), "has no attribute " + type);
    }
    return shown_text_t(value);
}

// Digits and dots in front of an equals sign are a type if the library finds an attribute of that type.
void warn_of_other_types(const std::string& text, console_t& console) {
    for (std::size_t equals = text.find('=', 1); equals != std::string::npos; equals = text.find('=', equals + 1)) {
        const std::size_t end = text.find_last_not_of(' ', equals - 1) + 1;
        const std::size_t begin = end != 0 ? text.find_last_not_of("0123456789.", end - 1) + 1 : 0;
        const std::string type = text.substr(begin, end - begin);
        const std::optional<std::string> other = find_other_arcs(type);
        std::string value;
        if (other.has_value() && printable_dn_get_attr(text.c_str(), type.c_str(), value, PDN_GET_ATTR_VALUE)) {
            console.warn(text, type + " is no OID; libderkit encodes it as " + *other);
        }
    }
}

void run(const dn_options_t& options, console_t& console) {
    const name_t name = normalize(options);
    warn_of_other_types(options.text, console);
    if (!name.remark.empty()) {
        console.warn(options.text, name.remark);
    }
    if (options.json) {
        record_t record("name", {COMMAND_LINE, 1, options.text});
        record.add("dn", name.text);
        record.add_bytes("der", name.der);
        if (options.get.has_value()) {
            record.add("value", get_value(name, *options.get));
        }
        console.put(record, true);
    } else if (options.der) {
        console.put_bytes(name.der);
    } else if (options.hex) {
        console.put(shown_text_t(to_hex(name.der)));
    } else if (options.get.has_value()) {
        console.put(get_value(name, *options.get));
    } else {
        console.put(name.text);
    }
}

} // namespace

void add_dn_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("dn", "Convert a distinguished name to its canonical text or to DER");
    const auto options = std::make_shared<dn_options_t>();
    command.add_argument("TEXT", options->text, "The name, such as CN=user1,O=Example,C=RU");
    command.add_flag("--reverse", options->reverse, "Reverse the order of the RDNs first");
    command.add_flag("--der", options->der, "Write the DER Name");
    command.add_flag("--hex", options->hex, "Show the DER Name in hexadecimal");
    command.add_option({"--get", "TYPE", "Show the value of the first TYPE, as written"}, options->get);
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object, with the DER in hexadecimal");
    command.exclude("--der", {"--hex", "--get", "--json"});
    command.exclude("--hex", {"--get", "--json"});
    command.set_footer("--der and --hex exclude each other and --get and --json.\n"
                       "Examples:\n"
                       "  derkit dn 'cn=user1, 2.5.4.10=\"Example, Inc.\"'\n"
                       "  derkit dn --get O 'CN=user1,O=Example'");
    command.set_action([options, &console] { run(*options, console); });
}
