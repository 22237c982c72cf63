// derkit key: private keys, plain or encrypted.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/gost_facts.h"
#include "commands/gost_options.h"
#include "commands/options.h"
#include "formats/der.h"
#include "formats/pem.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/input.h"
#include "io/secret.h"

namespace {

struct key_options_t {
    std::vector<std::string> files;
    password_option_t password;
    iterations_option_t iterations;
    oid_map_option_t oid_map;
    bool json = false;
    bool reveal = false;
};

// The number, or all of privateKey where none was found in it.
void add_octets(const private_key_t& key, record_t& record) {
    if (key.key.has_value()) {
        record.add_bytes("key", key.key->number());
    } else {
        record.add_bytes("octets", chars(key.content));
    }
}

void add_key(const private_key_t& key, bool reveal, record_t& record) {
    record.add("family", key.family);
    add_oid("algorithm_oid", name_oid(key.algorithm), record);
    add_param_sets(key.param_sets, record);
    if (key.bits() != 0) {
        record.add("bits", key.bits());
    }
    record.add_if("shape", key.shape);
    record.add("size", key.size);
    record.add("attributes", key.has_attributes);
    record.add("public_key", key.has_public_key);
    if (key.is_gost) {
        record.add("readable", key.key.has_value());
    }
    if (reveal) {
        add_octets(key, record);
    }
}

class key_command_t {
  public:
    key_command_t(const key_options_t& options, console_t& console)
        : options_(options), console_(console), cost_(options.iterations.limits()) {}

    void run();

  private:
    const key_options_t& options_;
    console_t& console_;
    gost::limits cost_;                // what is left of the run's
    std::optional<secret_t> password_; // once it was needed

    void run_file(const std::string& file);
    bool run_pem(const std::string& text, const std::string& file);
    void show(std::string_view der, const place_t& place);
    void show_plain(std::string_view der, const place_t& place);
    void show_encrypted(std::string_view der, const place_t& place);
    gost::result<gost::secret> decrypt(std::string_view der, const gost::encryption_scheme& scheme);
    std::string add_decrypted_key(std::string_view der, const gost::encryption_scheme& scheme, record_t& record);
    record_t start_key(const char* form, std::size_t num_trailing, const place_t& place);
    void fail_if(const std::string& problem, const place_t& place);
    const secret_t& password();
};

void key_command_t::run() {
    options_.oid_map.load();
    for_each_file(options_.files, console_, [this](const std::string& file) { run_file(file); });
}

// No DER has a line that begins a PEM block, whereas text may start like DER.
void key_command_t::run_file(const std::string& file) {
    std::string bytes = read_filled_input(file);
    const wipe_at_end_t wiping(bytes);
    const std::string name = input_name(file);
    if (!run_pem(bytes, name)) {
        show(bytes, {name, 1, name});
    }
}

// Returns false if the text has no PEM block at all.
bool key_command_t::run_pem(const std::string& text, const std::string& file) {
    pem_reader_t reader(text);
    const auto take = [&](const pem_block_t& block, unsigned int number) {
        const place_t place = place_in_pem(file, "key", number, block.line);
        if (block.problem.empty()) {
            show(block.der, place);
        }
        fail_if(block.problem, place);
    };
    return take_pem_blocks(reader, is_key_label, take).any(file, "no PRIVATE KEY or ENCRYPTED PRIVATE KEY");
}

void key_command_t::show(std::string_view der, const place_t& place) {
    switch (find_key_form(der)) {
    case key_form_t::PLAIN:
        return show_plain(der, place);
    case key_form_t::ENCRYPTED:
        return show_encrypted(der, place);
    case key_form_t::NEITHER:
        return fail_if("neither a PrivateKeyInfo nor an EncryptedPrivateKeyInfo, as PEM or DER", place);
    }
}

void key_command_t::show_plain(std::string_view der, const place_t& place) {
    private_key_t key;
    std::string problem;
    if (!read_private_key(der, key, problem)) {
        return fail_if(problem, place);
    }
    record_t record = start_key("PrivateKeyInfo", key.trailing.size, place);
    add_key(key, options_.reveal, record);
    warn_of_remarks(record, place.subject, console_);
    fail_if(key.fault, place);
    console_.put(record, options_.json);
}

// The fields outside the ciphertext are shown whether or not the decryption succeeds. Nothing has failed if no password
// was given.
void key_command_t::show_encrypted(std::string_view der, const place_t& place) {
    const std::string_view element = first_element(der);
    const gost::result<gost::key_outline> outline = gost::private_key::inspect(element, cost_);
    if (!outline) {
        return fail_if("not an EncryptedPrivateKeyInfo: " + text_of(outline.error()), place);
    }
    const gost::encryption_scheme& scheme = *outline->encryption;
    record_t record = start_key("EncryptedPrivateKeyInfo", der.size() - element.size(), place);
    add_encryption(scheme, record);
    std::string problem;
    if (scheme.unsupported.has_value()) {
        problem = text_of(*scheme.unsupported);
        record.add("not_read", problem);
    } else if (options_.password.given()) {
        problem = add_decrypted_key(element, scheme, record);
    }
    warn_of_remarks(record, place.subject, console_);
    fail_if(options_.password.given() ? problem : "", place);
    console_.put(record, options_.json);
}

// What one key costs at most is taken from what the others may: PBES2 derives two blocks at most, and the old schemes of
// PKCS#12 three, for a password that is empty also as if there were none.
gost::result<gost::secret> key_command_t::decrypt(std::string_view der, const gost::encryption_scheme& scheme) {
    const std::string_view text = password().text();
    gost::result<gost::secret> plain = gost::private_key::decrypt(der, text, cost_);
    const std::uint64_t num_blocks = !scheme.kdf.oid.empty() ? 2 : text.empty() ? 6 : 3;
    cost_.max_total_iterations -= std::min(cost_.max_total_iterations, num_blocks * scheme.iterations);
    return plain;
}

// Returns what is wrong, or nothing.
std::string key_command_t::add_decrypted_key(std::string_view der, const gost::encryption_scheme& scheme,
                                             record_t& record) {
    const gost::result<gost::secret> plain = decrypt(der, scheme);
    if (!plain) {
        return text_of(plain.error());
    }
    private_key_t key;
    std::string problem;
    if (!read_private_key(*plain, key, problem)) {
        return problem;
    }
    add_key(key, options_.reveal, record);
    return key.fault;
}

record_t key_command_t::start_key(const char* form, std::size_t num_trailing, const place_t& place) {
    warn_of_trailing(place.subject, "key", num_trailing, console_);
    record_t record("key", place);
    record.add("form", form);
    return record;
}

void key_command_t::fail_if(const std::string& problem, const place_t& place) {
    if (!problem.empty()) {
        console_.fail(place.subject, problem);
    }
}

const secret_t& key_command_t::password() {
    if (!password_.has_value()) {
        password_.emplace(options_.password.read(input_name(options_.files.front())));
    }
    return *password_;
}

} // namespace

void add_key_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("key", "Show GOST private keys (PKCS#8), plain or encrypted");
    const auto options = std::make_shared<key_options_t>();
    command.add_argument("FILE", options->files, "PEM, with any number of keys, or DER; - is standard input");
    options->password.add_to(command);
    options->iterations.add_to(command);
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.add_flag("--reveal", options->reveal, "Show the key itself too, in hexadecimal");
    add_key_convert(command, console);
    command.set_footer("Of an encrypted key, all that can be seen without its password is shown, also why it cannot be "
                       "decrypted here (not_read), and with the password the key. readable: whether a GOST key is "
                       "whole. size: of the key in its shape, in bytes. --reveal shows the number, highest byte first, "
                       "from which masks are removed, or else all bytes in place of a key.\n"
                       "Examples:\n"
                       "  derkit key key.pem\n"
                       "  derkit key --password-ask encrypted.pem");
    command.set_action([options, &console] {
        if (options->password.takes_stdin() && std::ranges::find(options->files, "-") != options->files.end()) {
            throw usage_error_t("--password-stdin: the key itself comes from the standard input");
        }
        key_command_t(*options, console).run();
    });
}
