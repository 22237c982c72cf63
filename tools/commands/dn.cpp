// derkit dn: converts distinguished names to their canonical text and to DER.
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "derkit/asn_printable.h"
#include "formats/der.h"
#include "formats/dn_dialect.h"
#include "formats/dn_text.h"
#include "formats/name.h"
#include "formats/named_oid.h"
#include "io/bytes.h"
#include "io/input.h"

namespace {

struct dn_options_t {
    std::vector<std::string> names;
    std::string from = "text";
    std::string to;
    std::optional<std::string> get; // the type of the attribute
    oid_map_option_t oid_map;
    bool loose = false;
    bool unescaped = false;
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

class dn_command_t {
  public:
    dn_command_t(const dn_options_t& options, console_t& console)
        : options_(options), console_(console), map_(options.oid_map.load()) {}

    void run();

  private:
    const dn_options_t& options_;
    console_t& console_;
    oid_map_handle_t map_;

    void run_lines();
    void run_name(const std::string& given, const place_t& place);
    name_t read_text(const std::string& given, const std::string& subject);
    name_t read_hex(const std::string& given, const std::string& subject) const;
    name_t read_file(const std::string& file) const;
    name_t read_der(std::string_view der, const std::string& subject) const;
    void warn_of_blanks(const std::string& text, const std::string& subject);
    void warn_of_other_types(const std::string& text, const std::string& subject);
    std::vector<std::string> get_values(const name_t& name) const;
    shown_text_t write_dialect(const name_t& name, const place_t& place) const;
    void show(const name_t& name, const place_t& place);
    void show_values(const std::vector<std::string>& values);
};

void dn_command_t::run() {
    for_each_argument(options_.names, console_, [this](const std::string& given, const place_t& place) {
        if (options_.from == "der") {
            const std::string name = input_name(given);
            show(read_file(given), {name, 1, name});
        } else if (given == "-") {
            run_lines();
        } else {
            run_name(given, place);
        }
    });
}

// Of the standard input: a name a line.
void dn_command_t::run_lines() {
    const std::string file = input_name("-");
    const std::string bytes = read_filled_input("-");
    std::istringstream lines{std::string(without_byte_order_mark(bytes))};
    unsigned int number = 0;
    for (std::string line; std::getline(lines, line);) {
        line.erase(std::min(line.find_last_not_of("\r\n") + 1, line.size()));
        ++number;
        if (line.empty()) {
            continue;
        }
        const std::string subject = file + ": line " + std::to_string(number);
        try {
            run_name(line, {file, number, subject});
        } catch (const failure_t& failure) {
            console_.fail(subject, failure.what());
        }
    }
}

void dn_command_t::run_name(const std::string& given, const place_t& place) {
    if (const dn_dialect_t* const dialect = find_dn_dialect(options_.from)) {
        show(read_text(read_dn(*dialect, given), place.subject), place);
    } else {
        show(options_.from == "hex" ? read_hex(given, place.subject) : read_text(given, place.subject), place);
    }
}

name_t dn_command_t::read_text(const std::string& given, const std::string& subject) {
    std::string text = options_.loose ? without_leading_blanks(given) : given;
    const std::string as_given = text;
    const bool parses = printable_dn_reverse(text.data()) != nullptr;
    name_t name;
    if (!parses || !printable_to_asn_dn(options_.reverse ? text.c_str() : as_given.c_str(), name.der, map_)) {
        const std::string reason = explain_refusal(as_given, map_);
        throw failure_t(subject, !reason.empty() ? reason
                                 : parses        ? "has an unknown type or a malformed value"
                                                 : "does not parse as a distinguished name");
    }
    warn_of_blanks(as_given, subject);
    const shown_name_t shown = show_name(make_blob(name.der), {PDN_ORDER_AS_ENCODED, map_, false});
    name.text = shown.text;
    name.remark = shown.remark;
    warn_of_other_types(as_given, subject);
    return name;
}

void dn_command_t::warn_of_blanks(const std::string& text, const std::string& subject) {
    for (const unsigned int number : find_leading_blanks(text)) {
        console_.warn(subject, "attribute " + std::to_string(number) +
                                   ": the value begins with a blank (--loose takes it without)");
    }
}

// Digits and dots in front of an equals sign are a type if the library finds an attribute of that type.
void dn_command_t::warn_of_other_types(const std::string& text, const std::string& subject) {
    for (std::size_t equals = text.find('=', 1); equals != std::string::npos; equals = text.find('=', equals + 1)) {
        const std::size_t end = text.find_last_not_of(' ', equals - 1) + 1;
        const std::size_t begin = end != 0 ? text.find_last_not_of("0123456789.", end - 1) + 1 : 0;
        const std::string type = text.substr(begin, end - begin);
        const std::optional<std::string> other = find_other_arcs(type);
        std::string value;
        if (other.has_value() && printable_dn_get_attr(text.c_str(), type.c_str(), value, PDN_GET_ATTR_VALUE)) {
            console_.warn(subject, type + " is no OID; libderkit encodes it as " + *other);
        }
    }
}

name_t dn_command_t::read_hex(const std::string& given, const std::string& subject) const {
    const std::optional<std::string> der = from_hex(given);
    if (!der.has_value()) {
        throw failure_t(subject, "is not hexadecimal");
    }
    return read_der(*der, subject);
}

name_t dn_command_t::read_file(const std::string& file) const {
    return read_der(read_filled_input(file), input_name(file));
}

// With --reverse the DER is that of the text, which need not be the same as before.
name_t dn_command_t::read_der(std::string_view der, const std::string& subject) const {
    asn_cursor_t in = cursor_over(der);
    in.skip(asn_tag_t::SEQUENCE);
    if (!in.ok() || !in.empty()) {
        throw failure_t(subject, "is not the DER of one Name");
    }
    const PrintableDnOrder order = options_.reverse ? PDN_ORDER_REVERSED : PDN_ORDER_AS_ENCODED;
    const shown_name_t shown = show_name(make_blob(der), {order, map_, false});
    name_t name = {shown.text, std::string(der), shown.remark};
    if (options_.reverse && !printable_to_asn_dn(name.text.str().c_str(), name.der, map_)) {
        throw failure_t(subject, "has no text that can be encoded in reverse");
    }
    return name;
}

// All values of a type, which may have any name of the dictionary.
std::vector<std::string> dn_command_t::get_values(const name_t& name) const {
    std::optional<std::string> type = oid_from_text(*options_.get);
    if (!type.has_value()) {
        type = oid_from_name(*options_.get);
    }
    if (!type.has_value()) {
        throw failure_t(*options_.get, "is no type of an attribute");
    }
    return values_of_type(make_blob(name.der), *type);
}

// What needs another escape than the dialect's is shown with the tool's.
shown_text_t dn_command_t::write_dialect(const name_t& name, const place_t& place) const {
    const std::optional<std::vector<rdn_t>> parts = read_name_parts(name.der);
    if (!parts.has_value()) {
        throw failure_t(place.subject, "is malformed");
    }
    return shown_text_t(write_dn(*find_dn_dialect(options_.to), *parts));
}

void dn_command_t::show(const name_t& name, const place_t& place) {
    if (!name.remark.empty()) {
        console_.warn(place.subject, name.remark);
    }
    std::vector<std::string> values;
    if (options_.get.has_value()) {
        values = get_values(name);
        if (values.empty()) {
            throw failure_t(name.text.str(), "has no attribute " + *options_.get);
        }
    }
    if (options_.json) {
        record_t record("name", place);
        record.add("dn", name.text);
        record.add_bytes("der", name.der);
        if (options_.get.has_value()) {
            record.add("values", std::vector<shown_text_t>(values.begin(), values.end()));
        }
        if (!options_.to.empty()) {
            record.add("dialect", options_.to);
            record.add("dialect_text", write_dialect(name, place));
        }
        console_.put(record, true);
    } else if (options_.der) {
        console_.put_bytes(name.der);
    } else if (options_.hex) {
        console_.put(shown_text_t(to_hex(name.der)));
    } else if (options_.get.has_value()) {
        show_values(values);
    } else if (!options_.to.empty()) {
        console_.put(write_dialect(name, place));
    } else {
        console_.put(name.text);
    }
}

void dn_command_t::show_values(const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        if (options_.unescaped) {
            console_.put_bytes(unescape(value) + "\n");
        } else {
            console_.put(shown_text_t(value));
        }
    }
}

} // namespace

void add_dn_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("dn", "Convert distinguished names to their canonical text or to DER");
    const auto options = std::make_shared<dn_options_t>();
    command.add_argument("NAME", options->names,
                         "Such as CN=user1,O=Example,C=RU; - takes a name from each line of the standard input");
    command.add_choice(
        {"--from", "FORM",
         "What NAME is: text (the default), hex (DER in hexadecimal) or der (a file with a DER Name; - is "
         "standard input), or a dialect, as for --to"},
        options->from, {"text", "hex", "der", "openssl", "rfc4514", "rfc2253", "java", "cryptopro"});
    command.add_choice(
        {"--to", "DIALECT", "Write the text that other programs expect: openssl, rfc4514, rfc2253, java or cryptopro"},
        options->to, {"openssl", "rfc4514", "rfc2253", "java", "cryptopro"});
    command.add_flag("--loose", options->loose, "Take C = RU as C=RU: leave out blanks at the beginning of a value");
    command.add_flag("--reverse", options->reverse, "Reverse the order of the RDNs first");
    command.add_flag("--der", options->der, "Write the DER Name");
    command.add_flag("--hex", options->hex, "Show the DER Name in hexadecimal");
    command.add_option({"--get", "TYPE", "Show all values of TYPE, which may be an OID or any name of it, as written"},
                       options->get);
    command.add_flag("--unescaped", options->unescaped,
                     "With --get: write values without escapes, for programs; they may disturb a terminal");
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line, with the DER in hexadecimal");
    command.exclude("--der", {"--hex", "--get", "--json", "--to"});
    command.exclude("--hex", {"--get", "--json", "--to"});
    command.exclude("--to", {"--get"});
    command.exclude("--unescaped", {"--json", "--der", "--hex"});
    command.set_footer("--der and --hex exclude each other and --get and --json.\n"
                       "Examples:\n"
                       "  derkit dn 'cn=user1, 2.5.4.10=\"Example, Inc.\"'\n"
                       "  derkit dn --get O 'CN=user1,O=Example'\n"
                       "  derkit dn --loose 'C = RU, O = Example'\n"
                       "  derkit dn --to java 'C=RU,O=Example,CN=user1'");
    command.set_action([options, &console] {
        if (options->unescaped && !options->get.has_value()) {
            throw usage_error_t("--unescaped: needs --get");
        }
        dn_command_t(*options, console).run();
    });
    add_dn_compare(command, console);
}
