// derkit p12 show: what a container tells without its password, and what it holds.
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "commands/oid_map_option.h"
#include "commands/p12_password.h"
#include "commands/p12_subcommands.h"
#include "commands/printable_name.h"
#include "formats/asn_time.h"
#include "formats/certificate.h"
#include "formats/p12_container.h"
#include "formats/pfx_outline.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/console.h"
#include "io/hex.h"
#include "io/input_file.h"
#include "io/utf16.h"

namespace {

struct p12_show_options_t {
    std::string file;
    p12_password_t password;
    oid_map_option_t oid_map;
    bool json = false;
};

void add_if(record_t& record, const char* key, const std::optional<unsigned int>& number) {
    if (number.has_value()) {
        record.add(key, *number);
    }
}

void add_if(record_t& record, const char* key, const std::string& text) {
    if (!text.empty()) {
        record.add(key, shown_text_t(text));
    }
}

void add_named(record_t& record, const char* key, const char* oid_key, const std::optional<named_oid_t>& named) {
    if (named.has_value()) {
        add_if(record, key, named->name);
        add_if(record, oid_key, named->oid);
    }
}

class p12_show_t {
  public:
    p12_show_t(const p12_show_options_t& options, console_t& console)
        : options_(options), console_(console), name_(input_name(options.file)) {}

    void run();

  private:
    const p12_show_options_t& options_;
    console_t& console_;
    std::string name_; // of the file, in messages

    void show_outside(const pfx_outline_t& outline);
    void show_mac(const pfx_outline_t& outline);
    void show_entry(const entry_outline_t& entry, std::size_t index);
    void show_outer_bag(const bag_outline_t& bag, std::size_t entry_index, std::size_t index);
    void add_encryption(const pbe_outline_t& pbe, record_t& record) const;
    void add_derivation(const pbe_outline_t& pbe, record_t& record) const;
    void add_mac(const mac_outline_t& mac, record_t& record) const;

    void show_inside(const p12_container_t& container, oid_map_handle_t map);
    void show_good_mac(const p12_container_t& container);
    void show_key(const opened_bag_t& bag, unsigned int index);
    void show_certificate(const opened_bag_t& bag, unsigned int index, oid_map_handle_t map);
    void add_attributes(const opened_bag_t& bag, const std::string& place, record_t& record);
    void put(const record_t& record, const std::string& place);
    void fail(const std::string& place, const std::string& problem);
    void warn_of_trailing(const pfx_outline_t& outline);

    record_t new_record(const char* object) const;
};

void p12_show_t::run() {
    options_.password.check(options_.file);
    std::string bytes = read_input(options_.file);
    if (bytes.empty()) {
        throw failure_t(name_, "is empty");
    }
    if (!options_.password.given()) {
        show_outside(outline_pfx(bytes));
        return;
    }
    const oid_map_handle_t map = options_.oid_map.load();
    const std::optional<secret_t> password = options_.password.read(options_.file);
    show_inside(p12_container_t(name_, std::move(bytes), password), map);
}

// In lines, the kind of object and its place are the prefix.
record_t p12_show_t::new_record(const char* object) const {
    record_t record;
    if (options_.json) {
        record.add("object", shown_text_t(object));
    }
    return record;
}

void p12_show_t::put(const record_t& record, const std::string& place) {
    console_.put(record, options_.json, shown_text_t(place + ": "));
}

void p12_show_t::fail(const std::string& place, const std::string& problem) {
    console_.fail(name_ + ": " + place, problem);
}

void p12_show_t::show_outside(const pfx_outline_t& outline) {
    if (!outline.mac.has_value() && outline.entries.empty() && !outline.problem.empty()) {
        throw failure_t(name_, outline.fault());
    }
    show_mac(outline);
    for (std::size_t i = 0; i < outline.entries.size(); ++i) {
        show_entry(outline.entries[i], i);
    }
    if (!outline.problem.empty()) {
        console_.fail(name_, outline.fault());
    }
    warn_of_trailing(outline);
}

void p12_show_t::show_mac(const pfx_outline_t& outline) {
    record_t record = new_record("mac");
    if (!outline.mac.has_value()) {
        record.add("algorithm", shown_text_t("none"));
    } else {
        add_mac(*outline.mac, record);
        if (!outline.mac->declined.empty()) {
            record.add("not_read", shown_text_t("the MAC " + outline.mac->declined));
        }
    }
    put(record, "mac");
}

// PBMAC1 has salt and iterations of its own; those of the container mean nothing then.
void p12_show_t::add_mac(const mac_outline_t& mac, record_t& record) const {
    add_named(record, "algorithm", "algorithm_oid", mac.algorithm.scheme);
    record.add("size", mac.size);
    if (mac.algorithm.kdf.has_value()) {
        add_derivation(mac.algorithm, record);
        add_named(record, "mac", "mac_oid", mac.algorithm.cipher);
    } else {
        record.add("salt_size", mac.salt_size);
        record.add("iterations", mac.iterations);
    }
}

void p12_show_t::show_entry(const entry_outline_t& entry, std::size_t index) {
    record_t record = new_record("entry");
    if (options_.json) {
        record.add("entry", static_cast<unsigned int>(index + 1));
    }
    add_named(record, "content_type", "content_type_oid", entry.content_type);
    record.add("size", entry.size);
    if (entry.encryption.has_value()) {
        add_encryption(*entry.encryption, record);
    }
    put(record, entry_place(index));
    for (std::size_t i = 0; i < entry.bags.size(); ++i) {
        show_outer_bag(entry.bags[i], index, i);
    }
}

void p12_show_t::show_outer_bag(const bag_outline_t& bag, std::size_t entry_index, std::size_t index) {
    record_t record = new_record("bag");
    if (options_.json) {
        record.add("entry", static_cast<unsigned int>(entry_index + 1));
        record.add("bag", static_cast<unsigned int>(index + 1));
    }
    add_named(record, "type", "type_oid", bag.type);
    record.add("size", bag.size);
    if (bag.encryption.has_value()) {
        add_encryption(*bag.encryption, record);
    }
    put(record, bag_place(entry_place(entry_index), index));
}

void p12_show_t::add_encryption(const pbe_outline_t& pbe, record_t& record) const {
    add_named(record, "scheme", "scheme_oid", pbe.scheme);
    add_derivation(pbe, record);
    add_named(record, "cipher", "cipher_oid", pbe.cipher);
    add_named(record, "cipher_param_set", "cipher_param_set_oid", pbe.param_set);
    add_if(record, "iv_size", pbe.iv_size);
    add_if(record, "not_read", pbe.declined);
}

void p12_show_t::add_derivation(const pbe_outline_t& pbe, record_t& record) const {
    add_named(record, "kdf", "kdf_oid", pbe.kdf);
    add_named(record, "prf", "prf_oid", pbe.prf);
    add_if(record, "salt_size", pbe.salt_size);
    add_if(record, "iterations", pbe.iterations);
}

void p12_show_t::show_inside(const p12_container_t& container, oid_map_handle_t map) {
    show_good_mac(container);
    unsigned int index = 0;
    for (const opened_bag_t& bag : container.keys()) {
        show_key(bag, ++index);
    }
    index = 0;
    for (const opened_bag_t& bag : container.certificates()) {
        show_certificate(bag, ++index, map);
    }
    for (const std::string& text : container.passed_over()) {
        console_.fail(name_, text);
    }
    warn_of_trailing(container.outline());
}

void p12_show_t::show_good_mac(const p12_container_t& container) {
    record_t record = new_record("mac");
    record.add("verdict", shown_text_t("good"));
    record.add("profile", shown_text_t(container.profile() == container_profile_t::NATIVE ? "native" : "standard"));
    record.add("key", shown_text_t(container.mac_key() == mac_key_t::PBKDF2 ? "PBKDF2" : "PKCS#12 KDF"));
    add_mac(*container.outline().mac, record);
    put(record, "mac");
}

void p12_show_t::show_key(const opened_bag_t& bag, unsigned int index) {
    const std::string place = "key " + std::to_string(index);
    record_t record = new_record("key");
    if (options_.json) {
        record.add("index", index);
    }
    add_attributes(bag, place, record);
    private_key_t key;
    std::string problem;
    if (read_private_key(chars(bag.bag->value), key, problem)) {
        record.add("family", shown_text_t(key.family));
        add_if(record, "shape", key.shape);
        add_if(record, "bits", key.bits != 0 ? std::optional(key.bits) : std::nullopt);
        record.add("readable", yes_or_no(key.readable));
    } else {
        fail(place, problem);
    }
    put(record, place);
}

void p12_show_t::show_certificate(const opened_bag_t& bag, unsigned int index, oid_map_handle_t map) {
    const std::string place = "certificate " + std::to_string(index);
    record_t record = new_record("certificate");
    if (options_.json) {
        record.add("index", index);
    }
    add_attributes(bag, place, record);
    certificate_t certificate;
    std::string problem;
    if (!read_certificate(chars(bag.bag->value), certificate, problem)) {
        fail(place, problem);
        put(record, place);
        return;
    }
    const std::optional<shown_text_t> subject = show_name(certificate.subject, PDN_ORDER_AS_ENCODED, map);
    if (subject.has_value()) {
        record.add("subject", *subject);
    } else {
        fail(place, "subject is malformed or has text that its string type does not allow");
    }
    validity_t validity;
    if (read_validity(certificate.validity, validity)) {
        record.add("not_before", shown_text_t(validity.not_before));
        record.add("not_after", shown_text_t(validity.not_after));
    } else {
        fail(place, "validity is malformed");
    }
    put(record, place);
}

void p12_show_t::add_attributes(const opened_bag_t& bag, const std::string& place, record_t& record) {
    record.add("encrypted", yes_or_no(bag.encrypted));
    const bmp_string_t& friendly_name = bag.bag->friendly_name;
    if (friendly_name.size != 0) {
        const std::optional<std::string> text = utf8_from_utf16(chars(friendly_name.data, friendly_name.size));
        if (text.has_value()) {
            record.add("friendly_name", shown_text_t(*text));
        } else {
            fail(place, "friendly name is not UTF-16");
        }
    }
    add_if(record, "local_key_id", to_hex(chars(bag.bag->local_key_id)));
}

void p12_show_t::warn_of_trailing(const pfx_outline_t& outline) {
    if (outline.trailing_size != 0) {
        console_.warn(name_, std::to_string(outline.trailing_size) + " bytes behind the container are not looked at");
    }
}

} // namespace

void add_p12_show(CLI::App& p12, console_t& console) {
    CLI::App& command = *p12.add_subcommand("show", "Show what a container tells of its protection, or what it holds");
    const auto options = std::make_shared<p12_show_options_t>();
    command.add_option("FILE", options->file, "A container; - is standard input")->type_name("")->required();
    options->password.add_to(command);
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.footer("Without a password: the algorithms and their parameters, and what cannot be read (not_read). "
                   "With one: what is found to be good, and the keys and certificates.\n"
                   "Example:\n"
                   "  derkit p12 show --password-ask container.p12");
    command.callback([options, &console] { p12_show_t(*options, console).run(); });
}
