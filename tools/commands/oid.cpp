// derkit oid: everything known about an object identifier.
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

struct oid_options_t {
    std::vector<std::string> oids;
    oid_map_option_t oid_map;
    bool json = false;
};

// With or without the "#" that the tool writes in front of an OID in hexadecimal.
std::optional<std::string> oid_from_hex(std::string_view hex) {
    hex.remove_prefix(hex.starts_with('#') ? 1 : 0);
    const std::optional<std::string> der = from_hex(hex);
    if (!der.has_value()) {
        return std::nullopt;
    }
    const std::string content = oid_content(*der);
    return oid_arcs(content).has_value() ? std::optional(content) : std::nullopt;
}

// Names come first: some short names, such as DC, are hexadecimal digits too.
std::string read_oid(const std::string& text) {
    std::optional<std::string> content = oid_from_text(text);
    if (!content.has_value()) {
        content = oid_from_name(text);
    }
    if (!content.has_value()) {
        content = oid_from_hex(text);
    }
    if (!content.has_value()) {
        throw failure_t(text, "neither a dotted OID, nor a known name, nor the DER of an OID in hexadecimal");
    }
    return *content;
}

// The library reads arcs in 32 bits, and takes any second arc, so its text and its DER can be those of another OID.
void add_library_text(const std::string& content, const std::string& arcs, record_t& record) {
    std::string text;
    oid_asn_to_str_(octets(content), octets(content) + content.size(), text);
    if (text != arcs) {
        record.add("libderkit", text);
    }
}

void warn_of_other_oids(const std::string& given, const std::string& content, const std::string& arcs,
                        console_t& console) {
    const std::optional<std::string> other = find_other_arcs(given);
    if (other.has_value()) {
        console.warn(given, "is no OID; libderkit encodes it as " + *other);
    }
    if (oid_text(content) != arcs) {
        console.warn(given, "its dotted text does not lead back to its DER: arcs are padded or above 32 bits");
    }
}

void add_names(const oid_names_t& names, record_t& record) {
    record.add_if("short_name", names.short_name);
    record.add_if("long_name", names.long_name);
    record.add_if("name", names.name);
    record.add_if("kind", names.kind);
    record.add_if("algorithm", names.algorithm);
    if (!names.others.empty()) {
        record.add("other_names", std::vector<shown_text_t>(names.others.begin(), names.others.end()));
    }
}

void show_oid(const std::string& given, const place_t& place, bool as_json, console_t& console) {
    const std::string content = read_oid(given);
    const std::string arcs = oid_arcs(content).value_or("");
    record_t record("oid", place);
    record.add("oid", arcs);
    record.add_bytes("der", content);
    add_library_text(content, arcs, record);
    add_names(names_of_oid(content), record);
    warn_of_other_oids(given, content, arcs, console);
    console.put(record, as_json);
}

void run(const oid_options_t& options, console_t& console) {
    options.oid_map.load();
    for_each_argument(options.oids, console, [&](const std::string& given, const place_t& place) {
        show_oid(given, place, options.json, console);
    });
}

} // namespace

void add_oid_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("oid", "Show an object identifier as dotted text, DER and names");
    const auto options = std::make_shared<oid_options_t>();
    command.add_argument("OID", options->oids,
                         "Dotted text, a name, or the DER in hexadecimal: a whole element or its content");
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer("Examples:\n"
                       "  derkit oid 2.5.4.3\n"
                       "  derkit oid OU prime256v1 sha256WithRSAEncryption\n"
                       "  derkit oid 2A864886F70D01010B");
    command.set_action([options, &console] { run(*options, console); });
}
