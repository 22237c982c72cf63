// derkit spki: public keys.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "formats/certificate.h"
#include "formats/der.h"
#include "formats/pem.h"
#include "formats/public_key.h"
#include "io/input.h"

namespace {

struct spki_options_t {
    std::vector<std::string> files;
    oid_map_option_t oid_map;
    bool json = false;
};

bool is_wanted(std::string_view label) {
    return label == "PUBLIC KEY" || is_certificate_label(label);
}

class spki_command_t {
  public:
    spki_command_t(const spki_options_t& options, console_t& console) : options_(options), console_(console) {}

    void run();

  private:
    const spki_options_t& options_;
    console_t& console_;
    std::string name_; // of the present file, in messages

    void run_file(const std::string& file);
    bool run_pem(input_stream_t& input);
    void run_pem_block(const pem_block_t& block, const place_t& place);
    void show_of_certificate(std::string_view der, const place_t& place);
    void show_element(std::string_view der, unsigned long long num_more, const place_t& place);
    void show(const blob_t& key_info, const place_t& place);
};

void spki_command_t::run() {
    options_.oid_map.load();
    for_each_file(options_.files, console_, [this](const std::string& file) { run_file(file); });
    console_.progress().hide();
}

// Tries PEM first: no DER contains a line that begins a PEM block, but text may start like DER.
void spki_command_t::run_file(const std::string& file) {
    name_ = input_name(file);
    input_stream_t input(file);
    if (input.look(1).empty()) {
        throw failure_t(name_, "is empty");
    }
    const std::string bytes(look_at_element(input, asn_tag_t::SEQUENCE));
    if (run_pem(input)) {
        return;
    }
    const place_t place{name_, 1, name_};
    certificate_t certificate;
    std::string problem;
    if (read_certificate(bytes, certificate, problem)) {
        show(certificate.public_key, place);
    } else {
        show_element(bytes, input.num_read() - bytes.size(), place);
    }
}

// Returns false if the text has no PEM block at all.
bool spki_command_t::run_pem(input_stream_t& input) {
    pem_reader_t reader(input);
    const auto take = [&](const pem_block_t& block, unsigned int number) {
        run_pem_block(block, place_in_pem(name_, "key", number, block.line));
        console_.progress().update([&] { return input.progress_text(number, "keys"); });
    };
    return take_pem_blocks(reader, is_wanted, take).any(name_, "no PUBLIC KEY and no certificate");
}

void spki_command_t::run_pem_block(const pem_block_t& block, const place_t& place) {
    if (!block.problem.empty()) {
        console_.fail(place.subject, block.problem);
    } else if (is_certificate_label(block.label)) {
        show_of_certificate(block.der, place);
    } else {
        show_element(block.der, 0, place);
    }
}

void spki_command_t::show_of_certificate(std::string_view der, const place_t& place) {
    certificate_t certificate;
    std::string problem;
    if (read_certificate(der, certificate, problem)) {
        show(certificate.public_key, place);
    } else {
        console_.fail(place.subject, problem);
    }
}

// `num_more`: bytes of the file after `der`.
void spki_command_t::show_element(std::string_view der, unsigned long long num_more, const place_t& place) {
    asn_cursor_t in = cursor_over(der);
    blob_t key_info;
    in.read_element(asn_tag_t::SEQUENCE, key_info);
    if (!in.ok()) {
        console_.fail(place.subject, "neither a SubjectPublicKeyInfo nor a certificate, as PEM or DER");
        return;
    }
    warn_of_trailing(place.subject, "key", in.size + num_more, console_);
    show(key_info, place);
}

void spki_command_t::show(const blob_t& key_info, const place_t& place) {
    public_key_t key;
    std::string problem;
    if (!read_public_key(key_info, key, problem)) {
        console_.fail(place.subject, problem);
        return;
    }
    record_t record("public_key", place);
    add_public_key(key, record);
    add_public_key_details(key, record);
    warn_of_remarks(record, place.subject, console_);
    console_.put(record, options_.json);
}

} // namespace

void add_spki_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("spki", "Show public keys, including those in certificates");
    const auto options = std::make_shared<spki_options_t>();
    command.add_argument("FILE", options->files,
                         "PUBLIC KEY or CERTIFICATE as PEM, any number of them, or DER; - is standard input");
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer("Examples:\n"
                       "  derkit spki public.pem\n"
                       "  openssl pkey -in key.pem -pubout | derkit spki -");
    command.set_action([options, &console] { spki_command_t(*options, console).run(); });
}
