// derkit p12 show: what can be seen of a container without its password, and what it holds.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/gost_facts.h"
#include "commands/gost_options.h"
#include "commands/options.h"
#include "formats/certificate.h"
#include "formats/container.h"
#include "formats/der.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/input.h"

namespace {

constexpr const char* OID_FRIENDLY_NAME = "1.2.840.113549.1.9.20";

struct p12_show_options_t {
    std::vector<std::string> files;
    container_password_option_t password;
    container_options_t reading;
    oid_map_option_t oid_map;
    t61_option_t t61;
    bool json = false;
};

const char* verdict_text(gost::mac_verdict verdict) {
    switch (verdict) {
    case gost::mac_verdict::good:
        return "good";
    case gost::mac_verdict::wrong:
        return "wrong";
    case gost::mac_verdict::none:
        return "none";
    case gost::mac_verdict::unsupported:
        return "unsupported";
    case gost::mac_verdict::not_checked:
        break;
    }
    return "not checked";
}

// The library keeps a name that is not UTF-16 with the other attributes.
bool has_unreadable_name(const gost::bag& bag) {
    return !bag.friendly_name.has_value() && std::ranges::any_of(bag.attributes, [](const gost::attribute& attribute) {
        return attribute.oid == OID_FRIENDLY_NAME;
    });
}

// Damage is a failure also where nothing was to be opened.
bool is_damaged(const std::optional<gost::failure>& refusal) {
    return refusal.has_value() && refusal->why == gost::cause::malformed;
}

bool is_damaged(const part_t& part) {
    return is_damaged(part.bag != nullptr ? part.bag->refusal : part.entry->refusal);
}

// Counts bags in all entries.
unsigned int index_of(const part_t& part, unsigned int& num_bags) {
    return part.bag != nullptr ? ++num_bags : static_cast<unsigned int>(part.entry_number);
}

class p12_show_t {
  public:
    p12_show_t(const p12_show_options_t& options, console_t& console)
        : options_(options), console_(console), reading_(options.reading.get()) {}

    void run();

  private:
    const p12_show_options_t& options_;
    console_t& console_;
    gost::open_options reading_;
    oid_map_handle_t map_;
    std::optional<std::optional<secret_t>> password_; // once it was needed
    std::string name_;                                // of the present file, in messages

    void run_file(const std::string& file);
    const std::optional<secret_t>& password();
    void show_outside(const gost::container& listed);
    void show_inside(const gost::container& opened);
    void show_kind(const gost::container& container, bool is_open, const std::optional<gost::failure>& obstacle);
    void show_mac(const gost::container_mac& mac, bool is_open);
    void warn_of_distrust(gost::mac_verdict verdict);
    void show_part(const part_t& part, unsigned int index);
    void show_opened(const part_t& part, unsigned int& num_keys, unsigned int& num_certificates);
    void show_key(const part_t& part, unsigned int index);
    void show_certificate(const part_t& part, unsigned int index);
    void add_attributes(const part_t& part, const std::string& place, record_t& record);
    void put(const record_t& record, const std::string& place);
    void fail(const std::string& place, const std::string& problem);
    record_t new_record(const char* object, unsigned int index, const std::string& place) const;
    record_t part_record(const part_t& part, unsigned int index) const;
};

void p12_show_t::run() {
    for (const std::string& file : options_.files) {
        options_.password.require_free_stdin(file);
    }
    map_ = options_.oid_map.load();
    for_each_file(options_.files, console_, [this](const std::string& file) { run_file(file); });
}

void p12_show_t::run_file(const std::string& file) {
    name_ = input_name(file);
    const std::string bytes = read_filled_input(file);
    if (options_.password.given()) {
        list_openable_container(name_, bytes, reading_); // before a password is asked for
        show_inside(open_container(name_, bytes, password(), reading_));
    } else {
        show_outside(list_container(name_, bytes, reading_.cost));
    }
    warn_of_trailing(name_, "container", bytes.size() - first_element(bytes).size(), console_);
}

const std::optional<secret_t>& p12_show_t::password() {
    if (!password_.has_value()) {
        password_.emplace(options_.password.read(options_.files.front()));
    }
    return *password_;
}

record_t p12_show_t::new_record(const char* object, unsigned int index, const std::string& place) const {
    return {object, {name_, index, name_ + ": " + place}};
}

record_t p12_show_t::part_record(const part_t& part, unsigned int index) const {
    record_t record = new_record(part.bag != nullptr ? "bag" : "entry", index, part.place());
    record.add("entry", static_cast<unsigned int>(part.entry_number));
    if (part.bag != nullptr) {
        record.add("bag", static_cast<unsigned int>(part.bag_number));
    }
    return record;
}

void p12_show_t::put(const record_t& record, const std::string& place) {
    warn_of_remarks(record, name_ + ": " + place, console_);
    console_.put(record, options_.json);
}

void p12_show_t::fail(const std::string& place, const std::string& problem) {
    console_.fail(name_ + ": " + place, problem);
}

void p12_show_t::show_outside(const gost::container& listed) {
    show_kind(listed, false, find_obstacle(listed, gost::integrity::required));
    show_mac(listed.mac(), false);
    unsigned int num_bags = 0;
    for (const part_t& part : parts_of(listed)) {
        show_part(part, index_of(part, num_bags));
        if (is_damaged(part)) {
            fail(part.typed_place(), find_refusal(part));
        }
    }
}

void p12_show_t::show_kind(const gost::container& container, bool is_open,
                           const std::optional<gost::failure>& obstacle) {
    record_t record = new_record("container", 1, "container");
    record.add("kind", gost::name_of(container.kind()));
    record.add("kind_number", static_cast<unsigned int>(container.kind()));
    if (is_open) {
        record.add("form", container.form() == gost::container_form::native ? "native" : "standard");
    }
    if (obstacle.has_value()) {
        record.add("not_read", text_of(*obstacle));
    }
    put(record, "container");
}

void p12_show_t::show_mac(const gost::container_mac& mac, bool is_open) {
    record_t record = new_record("mac", 1, "mac");
    if (is_open) {
        record.add("verdict", verdict_text(mac.verdict));
    }
    if (mac.key != gost::mac_key::unknown) {
        record.add("key", mac.key == gost::mac_key::pbkdf2 ? "PBKDF2" : "PKCS#12 KDF");
    }
    if (mac.scheme.has_value()) {
        add_mac(*mac.scheme, record);
    } else {
        record.add("algorithm", "none");
    }
    if (mac.scheme.has_value() && mac.scheme->unsupported.has_value()) {
        record.add("not_read", text_of(*mac.scheme->unsupported));
    }
    put(record, "mac");
}

void p12_show_t::show_part(const part_t& part, unsigned int index) {
    record_t record = part_record(part, index);
    if (part.bag == nullptr) {
        add_named("content_type", "content_type_oid", name_of(part.entry->content_type), record);
    } else {
        add_named("type", "type_oid", name_of(part.bag->id), record);
    }
    const auto& encryption = part.bag != nullptr ? part.bag->encryption : part.entry->encryption;
    if (encryption.has_value()) {
        add_encryption(*encryption, record);
    }
    record.add_if("not_read", find_refusal(part));
    put(record, part.place());
}

void p12_show_t::show_inside(const gost::container& opened) {
    show_kind(opened, true, std::nullopt);
    show_mac(opened.mac(), true);
    warn_of_distrust(opened.mac().verdict);
    unsigned int num_keys = 0;
    unsigned int num_certificates = 0;
    unsigned int num_bags = 0;
    for (const part_t& part : parts_of(opened)) {
        const unsigned int index = index_of(part, num_bags);
        const std::string refusal = find_refusal(part);
        if (refusal.empty()) {
            show_opened(part, num_keys, num_certificates);
        } else {
            show_part(part, index);
            fail(part.typed_place(), refusal);
        }
    }
}

void p12_show_t::warn_of_distrust(gost::mac_verdict verdict) {
    if (verdict != gost::mac_verdict::good) {
        console_.warn(name_, std::string("anyone may have made or altered it: MAC ") + verdict_text(verdict));
    }
}

void p12_show_t::show_opened(const part_t& part, unsigned int& num_keys, unsigned int& num_certificates) {
    if (part.is(gost::bag_type::private_key)) {
        show_key(part, ++num_keys);
    } else if (part.is(gost::bag_type::certificate)) {
        show_certificate(part, ++num_certificates);
    }
}

void p12_show_t::show_key(const part_t& part, unsigned int index) {
    const std::string place = "key " + std::to_string(index);
    record_t record = new_record("key", index, place);
    add_attributes(part, place, record);
    private_key_t key;
    std::string problem;
    if (read_private_key(part.bag->value, key, problem)) {
        record.add("family", key.family);
        record.add_if("shape", key.shape);
        record.add_if("bits", key.bits() != 0 ? std::optional(key.bits()) : std::nullopt);
        if (key.is_gost) {
            record.add("readable", key.key.has_value());
        }
        problem = key.fault;
    }
    if (!problem.empty()) {
        fail(place, problem);
    }
    put(record, place);
}

void p12_show_t::show_certificate(const part_t& part, unsigned int index) {
    const std::string place = "certificate " + std::to_string(index);
    record_t record = new_record("certificate", index, place);
    add_attributes(part, place, record);
    certificate_t certificate;
    std::string problem;
    if (!read_certificate(part.bag->value, certificate, problem)) {
        fail(place, problem);
        put(record, place);
        return;
    }
    add_name("subject", certificate.subject, {PDN_ORDER_AS_ENCODED, map_, options_.t61.is_latin1()}, record);
    for (const std::string& bad_time : add_validity(certificate.validity, false, record)) {
        fail(place, bad_time);
    }
    put(record, place);
}

void p12_show_t::add_attributes(const part_t& part, const std::string& place, record_t& record) {
    const gost::bag& bag = *part.bag;
    record.add("encrypted", part.encryption().has_value());
    if (part.encryption().has_value()) {
        add_encryption(*part.encryption(), record);
    }
    if (bag.friendly_name.has_value() && !bag.friendly_name->empty()) {
        record.add("friendly_name", shown_text_t::without_escapes(*bag.friendly_name));
    } else if (has_unreadable_name(bag)) {
        fail(place, "friendly name is not UTF-16");
    }
    if (bag.local_key_id.has_value() && !bag.local_key_id->empty()) {
        record.add_bytes("local_key_id", *bag.local_key_id);
    }
}

} // namespace

void add_p12_show(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("show", "Show how a container is protected, or what it holds");
    const auto options = std::make_shared<p12_show_options_t>();
    command.add_argument("FILE", options->files, "Containers, under one password; - is standard input");
    options->password.add_to(command);
    options->reading.add_to(command);
    options->oid_map.add_to(command);
    options->t61.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer(
        "Without a password: the kind of container, the algorithms and their parameters, and why something "
        "cannot be read (not_read). With one: whether the MAC is good, and the keys and certificates.\n"
        "Example:\n"
        "  derkit p12 show --password-ask container.p12");
    command.set_action([options, &console] { p12_show_t(*options, console).run(); });
}
