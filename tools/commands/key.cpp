// derkit key: private keys, plain or encrypted.
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "formats/pem.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/input.h"
#include "io/secret.h"

namespace {

struct key_options_t {
    std::string file;
    password_option_t password;
    bool json = false;
    bool reveal = false;
};

// The octets as encoded: with the masks, and all of privateKey if its shape is unknown.
blob_t key_octets(const private_key_t& key) {
    return key.secret.data != nullptr ? key.secret : key.content;
}

void add_key(const private_key_t& key, bool reveal, record_t& record) {
    record.add("family", key.family);
    add_oid("algorithm_oid", name_oid(key.algorithm), record);
    add_param_sets(key.param_sets, record);
    if (key.bits != 0) {
        record.add("bits", key.bits);
    }
    if (key.is_gost) {
        record.add("shape", key.shape);
    }
    record.add("size", key_octets(key).size);
    record.add_yes_or_no("attributes", key.has_attributes);
    record.add_yes_or_no("public_key", key.has_public_key);
    record.add_yes_or_no("readable", key.readable);
    if (reveal) {
        record.add("key", to_hex(chars(key_octets(key))));
    }
}

class key_command_t {
  public:
    key_command_t(const key_options_t& options, console_t& console) : options_(options), console_(console) {}

    void run();

  private:
    const key_options_t& options_;
    console_t& console_;
    std::optional<secret_t> password_; // once it was needed

    bool run_pem(const std::string& text, const std::string& file);
    void show(std::string_view der, const place_t& place);
    void show_plain(std::string_view der, const place_t& place);
    void show_encrypted(std::string_view der, const place_t& place);
    std::string add_decrypted_key(const encrypted_key_t& encrypted, record_t& record);
    record_t start_key(const char* form, const blob_t& trailing, const place_t& place);
    void fail_if(const std::string& problem, const place_t& place);
    const std::optional<secret_t>& password();
};

// No DER has a line that begins a PEM block, whereas text may start like DER.
void key_command_t::run() {
    std::string bytes = read_filled_input(options_.file);
    const wipe_at_end_t wiping(bytes);
    const std::string name = input_name(options_.file);
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
    record_t record = start_key("PrivateKeyInfo", key.trailing, place);
    add_key(key, options_.reveal, record);
    warn_of_remarks(record, place.subject, console_);
    console_.put(record, options_.json);
    fail_if(find_fault(key), place);
}

// The fields outside the ciphertext are shown whether or not the decryption succeeds. Nothing has failed if no password
// was given.
void key_command_t::show_encrypted(std::string_view der, const place_t& place) {
    encrypted_key_t encrypted;
    if (!read_encrypted_key(der, encrypted)) {
        return fail_if("not an EncryptedPrivateKeyInfo: a field is missing or malformed", place);
    }
    record_t record = start_key("EncryptedPrivateKeyInfo", encrypted.trailing, place);
    add_encryption(encrypted.encryption, record);
    record.add("ciphertext_size", encrypted.ciphertext.size);
    record.add_if("not_read", encrypted.encryption.declined);
    std::string problem;
    if (options_.password.given()) {
        problem = encrypted.encryption.declined;
        if (problem.empty()) {
            problem = add_decrypted_key(encrypted, record);
        }
    }
    warn_of_remarks(record, place.subject, console_);
    console_.put(record, options_.json);
    fail_if(problem, place);
}

// Returns what is wrong, or nothing.
std::string key_command_t::add_decrypted_key(const encrypted_key_t& encrypted, record_t& record) {
    std::string der = decrypt_key(encrypted, password()).value_or("");
    const wipe_at_end_t wiping(der);
    private_key_t key;
    std::string problem;
    if (der.empty() || !read_private_key(der, key, problem)) {
        return "wrong password, or damaged: it does not decrypt to a PrivateKeyInfo";
    }
    add_key(key, options_.reveal, record);
    return find_fault(key);
}

record_t key_command_t::start_key(const char* form, const blob_t& trailing, const place_t& place) {
    warn_of_trailing(place.subject, "key", trailing.size, console_);
    record_t record = start_record(place, options_.json);
    record.add("form", form);
    return record;
}

void key_command_t::fail_if(const std::string& problem, const place_t& place) {
    if (!problem.empty()) {
        console_.fail(place.subject, problem);
    }
}

const std::optional<secret_t>& key_command_t::password() {
    if (!password_.has_value()) {
        password_.emplace(options_.password.read(input_name(options_.file)));
    }
    return password_;
}

} // namespace

void add_key_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("key", "Show GOST private keys (PKCS#8), plain or encrypted");
    const auto options = std::make_shared<key_options_t>();
    command.add_argument("FILE", options->file, "PEM, with any number of keys, or DER; - is standard input");
    options->password.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.add_flag("--reveal", options->reveal, "Show the key itself too, in hexadecimal");
    command.set_footer("Of an encrypted key, all that can be seen without its password is shown, also why it cannot be "
                       "decrypted here (not_read), and with the password the key. readable: whether the key was found "
                       "in its shape. size: of the key in that shape, in bytes; --reveal shows those bytes as they "
                       "stand, masks included.\n"
                       "Examples:\n"
                       "  derkit key key.pem\n"
                       "  derkit key --password-ask encrypted.pem");
    command.set_action([options, &console] {
        if (options->file == "-" && options->password.takes_stdin()) {
            throw usage_error_t("--password-stdin: the key itself comes from the standard input");
        }
        key_command_t(*options, console).run();
    });
}
