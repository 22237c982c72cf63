// derkit oid: all that is known of one object identifier.
#include <memory>
#include <optional>
#include <string>

#include "commands/commands.h"
#include "commands/options.h"
#include "derkit/asn_helper.h"
#include "derkit/asn_oidmap.h"
#include "derkit/int2str.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

struct oid_options_t {
    std::string oid;
    oid_map_option_t oid_map;
    bool json = false;
};

std::optional<std::string> oid_from_name(const std::string& name, oid_map_handle_t map) {
    const OIDdescr_t* const entry = oid_map_find_sn(map, name.data(), size_of(name));
    return entry != nullptr ? std::optional(std::string(chars(entry->oid_asn, entry->oid_asn_size))) : std::nullopt;
}

std::optional<std::string> oid_from_hex(const std::string& hex) {
    const std::optional<std::string> content = from_hex(hex);
    return content.has_value() && oid_to_text(*content).has_value() ? content : std::nullopt;
}

// Some short names, DC for one, would be hexadecimal too: names come first.
std::string find_oid(const std::string& text, oid_map_handle_t map) {
    std::optional<std::string> content = oid_from_text(text);
    if (!content.has_value()) {
        content = oid_from_name(text, map);
    }
    if (!content.has_value()) {
        content = oid_from_hex(text);
    }
    if (!content.has_value()) {
        throw failure_t(text, "neither a dotted OID, nor a known short name, nor the hexadecimal content of an OID");
    }
    return *content;
}

void run(const oid_options_t& options, console_t& console) {
    const oid_map_handle_t map = options.oid_map.load();
    const std::string content = find_oid(options.oid, map);
    record_t record;
    record.add("oid", oid_to_text(content).value_or(""));
    record.add("der", to_hex(content));
    const OIDdescr_t* const entry = oid_map_find_asn(map, octets(content), size_of(content));
    if (entry != nullptr) {
        record.add("short_name", std::string_view(entry->oid_sn, entry->oid_sn_size));
        record.add("long_name", std::string_view(entry->oid_ln, entry->oid_ln_size));
    }
    const char* const algorithm = I2S_PKI_ALG_T->getString(PKI_OID_TO_ALG(content.data(), size_of(content)), nullptr);
    if (algorithm != nullptr) {
        record.add("algorithm", algorithm);
    }
    console.put(record, options.json);
}

} // namespace

void add_oid_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("oid", "Show an object identifier as dotted text, DER and names");
    const auto options = std::make_shared<oid_options_t>();
    command.add_argument("OID", options->oid, "Dotted text, a short name, or DER content octets in hexadecimal");
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object");
    command.set_footer("Examples:\n"
                       "  derkit oid 2.5.4.3\n"
                       "  derkit oid OU\n"
                       "  derkit oid 2A864886F70D01010B");
    command.set_action([options, &console] { run(*options, console); });
}
