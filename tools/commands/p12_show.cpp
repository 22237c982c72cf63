// derkit p12 show: what can be seen of a container without its password, and what it holds.
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "formats/certificate.h"
#include "formats/p12_container.h"
#include "formats/pfx_outline.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/input.h"

namespace {

struct p12_show_options_t {
    std::string file;
    container_password_option_t password;
    oid_map_option_t oid_map;
    t61_option_t t61;
    bool json = false;
};

// PBMAC1 has salt and iterations of its own; those of the container mean nothing then.
void add_mac(const mac_outline_t& mac, record_t& record) {
    add_named("algorithm", "algorithm_oid", mac.algorithm.scheme, record);
    record.add("size", mac.size);
    if (mac.algorithm.kdf.has_value()) {
        add_derivation(mac.algorithm, record);
        add_named("mac", "mac_oid", mac.algorithm.cipher, record);
    } else {
        record.add("salt_size", mac.salt_size);
        record.add("iterations", mac.iterations);
    }
}

void add_declinable_encryption(const std::optional<pbe_outline_t>& pbe, record_t& record) {
    if (pbe.has_value()) {
        add_encryption(*pbe, record);
        record.add_if("not_read", pbe->declined);
    }
}

class p12_show_t {
  public:
    p12_show_t(const p12_show_options_t& options, console_t& console)
        : options_(options), console_(console), name_(input_name(options.file)) {}

    void run();

  private:
    struct index_t {
        const char* key;
        std::size_t number; // from 1
    };

    const p12_show_options_t& options_;
    console_t& console_;
    std::string name_; // of the file, in messages

    void show_outside(const pfx_outline_t& outline);
    void show_mac(const pfx_outline_t& outline);
    void show_entry(const entry_outline_t& entry, std::size_t index);
    void show_outer_bag(const bag_outline_t& bag, std::size_t entry_index, std::size_t index);

    void show_inside(const p12_container_t& container, oid_map_handle_t map);
    void show_good_mac(const p12_container_t& container);
    void show_key(const opened_bag_t& bag, unsigned int index);
    void show_certificate(const opened_bag_t& bag, unsigned int index, oid_map_handle_t map);
    void add_attributes(const opened_bag_t& bag, const std::string& place, record_t& record);
    void put(const record_t& record, const std::string& place);
    void fail(const std::string& place, const std::string& problem);

    record_t new_record(const char* object, std::initializer_list<index_t> place = {}) const;
};

void p12_show_t::run() {
    options_.password.require_free_stdin(options_.file);
    std::string bytes = read_filled_input(options_.file);
    if (!options_.password.given()) {
        show_outside(outline_pfx(bytes));
        return;
    }
    const oid_map_handle_t map = options_.oid_map.load();
    outline_readable_pfx(name_, bytes); // before a password is asked for
    const std::optional<secret_t> password = options_.password.read(options_.file);
    show_inside(p12_container_t(name_, std::move(bytes), password), map);
}

// In lines, the prefix names the kind of object and its place.
record_t p12_show_t::new_record(const char* object, std::initializer_list<index_t> place) const {
    record_t record;
    if (options_.json) {
        record.add("object", object);
        for (const index_t& index : place) {
            record.add(index.key, static_cast<unsigned int>(index.number));
        }
    }
    return record;
}

void p12_show_t::put(const record_t& record, const std::string& place) {
    warn_of_remarks(record, name_ + ": " + place, console_);
    console_.put(record, options_.json, shown_text_t(place + ": "));
}

void p12_show_t::fail(const std::string& place, const std::string& problem) {
    console_.fail(name_ + ": " + place, problem);
}

void p12_show_t::show_outside(const pfx_outline_t& outline) {
    if (!outline.is_container()) {
        throw failure_t(name_, outline.fault());
    }
    show_mac(outline);
    for (std::size_t i = 0; i < outline.entries.size(); ++i) {
        show_entry(outline.entries[i], i);
    }
    if (!outline.problem.empty()) {
        console_.fail(name_, outline.fault());
    }
    warn_of_trailing(name_, "container", outline.trailing_size, console_);
}

void p12_show_t::show_mac(const pfx_outline_t& outline) {
    record_t record = new_record("mac");
    if (outline.mac.has_value()) {
        add_mac(*outline.mac, record);
    } else {
        record.add("algorithm", "none");
    }
    record.add_if("not_read", outline.declined);
    put(record, "mac");
}

void p12_show_t::show_entry(const entry_outline_t& entry, std::size_t index) {
    record_t record = new_record("entry", {{"entry", index + 1}});
    add_named("content_type", "content_type_oid", entry.content_type, record);
    record.add("size", entry.size);
    add_declinable_encryption(entry.encryption, record);
    record.add_if("not_read", entry.declined);
    put(record, entry_place(index));
    for (std::size_t i = 0; i < entry.bags.size(); ++i) {
        show_outer_bag(entry.bags[i], index, i);
    }
}

void p12_show_t::show_outer_bag(const bag_outline_t& bag, std::size_t entry_index, std::size_t index) {
    record_t record = new_record("bag", {{"entry", entry_index + 1}, {"bag", index + 1}});
    add_named("type", "type_oid", bag.type, record);
    record.add("size", bag.size);
    add_declinable_encryption(bag.encryption, record);
    record.add_if("not_read", bag.declined);
    put(record, bag_place(entry_place(entry_index), index));
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
    for (const std::string& text : container.skipped()) {
        console_.fail(name_, text);
    }
    warn_of_trailing(name_, "container", container.outline().trailing_size, console_);
}

void p12_show_t::show_good_mac(const p12_container_t& container) {
    record_t record = new_record("mac");
    record.add("verdict", "good");
    record.add("profile", container.profile() == container_profile_t::NATIVE ? "native" : "standard");
    record.add("key", container.mac_key() == mac_key_t::PBKDF2 ? "PBKDF2" : "PKCS#12 KDF");
    add_mac(*container.outline().mac, record);
    put(record, "mac");
}

void p12_show_t::show_key(const opened_bag_t& bag, unsigned int index) {
    const std::string place = "key " + std::to_string(index);
    record_t record = new_record("key", {{"index", index}});
    add_attributes(bag, place, record);
    private_key_t key;
    std::string problem;
    if (read_private_key(chars(bag.bag->value), key, problem)) {
        record.add("family", key.family);
        record.add_if("shape", key.shape);
        record.add_if("bits", key.bits != 0 ? std::optional(key.bits) : std::nullopt);
        record.add_yes_or_no("readable", key.readable);
        problem = find_fault(key);
    }
    if (!problem.empty()) {
        fail(place, problem);
    }
    put(record, place);
}

void p12_show_t::show_certificate(const opened_bag_t& bag, unsigned int index, oid_map_handle_t map) {
    const std::string place = "certificate " + std::to_string(index);
    record_t record = new_record("certificate", {{"index", index}});
    add_attributes(bag, place, record);
    certificate_t certificate;
    std::string problem;
    if (!read_certificate(chars(bag.bag->value), certificate, problem)) {
        fail(place, problem);
        put(record, place);
        return;
    }
    add_name("subject", certificate.subject, {PDN_ORDER_AS_ENCODED, map, options_.t61.is_latin1()}, record);
    for (const std::string& bad_time : add_validity(certificate.validity, false, record)) {
        fail(place, bad_time);
    }
    put(record, place);
}

void p12_show_t::add_attributes(const opened_bag_t& bag, const std::string& place, record_t& record) {
    record.add_yes_or_no("encrypted", bag.encrypted);
    const bmp_string_t& friendly_name = bag.bag->friendly_name;
    if (friendly_name.size != 0) {
        const std::optional<std::string> text = utf8_from_utf16(chars(friendly_name.data, friendly_name.size));
        if (text.has_value()) {
            record.add("friendly_name", shown_text_t::without_escapes(*text));
        } else {
            fail(place, "friendly name is not UTF-16");
        }
    }
    record.add_if("local_key_id", to_hex(chars(bag.bag->local_key_id)));
}

} // namespace

void add_p12_show(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("show", "Show how a container is protected, or what it holds");
    const auto options = std::make_shared<p12_show_options_t>();
    command.add_argument("FILE", options->file, "A container; - is standard input");
    options->password.add_to(command);
    options->oid_map.add_to(command);
    options->t61.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer("Without a password: the algorithms and their parameters, and why something cannot be read "
                       "(not_read). With one: whether the MAC is good, and the keys and certificates.\n"
                       "Example:\n"
                       "  derkit p12 show --password-ask container.p12");
    command.set_action([options, &console] { p12_show_t(*options, console).run(); });
}
