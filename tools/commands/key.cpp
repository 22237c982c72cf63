// derkit key: private keys, plain or encrypted.
#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands/commands.h"
#include "commands/password_option.h"
#include "formats/encrypted_key.h"
#include "formats/gost_param_sets.h"
#include "formats/named_oid.h"
#include "formats/pem.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/console.h"
#include "io/hex.h"
#include "io/input_file.h"
#include "io/secret.h"

namespace {

struct key_options_t {
    std::string file;
    password_option_t password;
    bool json = false;
    bool reveal = false;
};

void add_named(const char* name_key, const char* oid_key, const std::optional<named_oid_t>& named, record_t& record) {
    if (!named.has_value()) {
        return;
    }
    if (!named->name.empty()) {
        record.add(name_key, shown_text_t(named->name));
    }
    record.add(oid_key, shown_text_t(named->oid));
}

void add_number(const char* key, const std::optional<unsigned int>& number, record_t& record) {
    if (number.has_value()) {
        record.add(key, *number);
    }
}

void add_encryption(const pbe_outline_t& encryption, record_t& record) {
    add_named("scheme", "scheme_oid", encryption.scheme, record);
    add_named("kdf", "kdf_oid", encryption.kdf, record);
    add_named("prf", "prf_oid", encryption.prf, record);
    add_number("salt_size", encryption.salt_size, record);
    add_number("iterations", encryption.iterations, record);
    add_named("cipher", "cipher_oid", encryption.cipher, record);
    add_named("cipher_param_set", "cipher_param_set_oid", encryption.param_set, record);
    add_number("iv_size", encryption.iv_size, record);
}

// By their places in the parameters of a GOST key (RFC 4491 2.3.2). Other algorithms have one at most.
void add_param_sets(const std::vector<blob_t>& param_sets, record_t& record) {
    static constexpr const char* KEYS[][2] = {
        {"param_set", "param_set_oid"},
        {"digest_param_set", "digest_param_set_oid"},
        {"encryption_param_set", "encryption_param_set_oid"},
    };
    for (std::size_t i = 0; i < std::min(param_sets.size(), std::size(KEYS)); ++i) {
        const named_oid_t named = {name_oid(param_sets[i]).oid, std::string(gost_param_set_name(param_sets[i]))};
        add_named(KEYS[i][0], KEYS[i][1], named, record);
    }
}

// The octets as they stand: the masks too, and all of privateKey when its shape is not known.
blob_t key_octets(const private_key_t& key) {
    return key.secret.data != nullptr ? key.secret : key.content;
}

void add_key(const private_key_t& key, bool reveal, record_t& record) {
    record.add("family", shown_text_t(key.family));
    record.add("algorithm_oid", shown_text_t(name_oid(key.algorithm).oid));
    add_param_sets(key.param_sets, record);
    if (key.bits != 0) {
        record.add("bits", key.bits);
    }
    if (key.is_gost) {
        record.add("shape", shown_text_t(key.shape));
    }
    record.add("size", key_octets(key).size);
    record.add("attributes", yes_or_no(key.has_attributes));
    record.add("public_key", yes_or_no(key.has_public_key));
    record.add("readable", yes_or_no(key.readable));
    if (reveal) {
        record.add("key", shown_text_t(to_hex(chars(key_octets(key)))));
    }
}

// A GOST key whose octets are none, or nothing.
std::string find_fault(const private_key_t& key) {
    if (!key.is_gost || key.bits != 0) {
        return "";
    }
    return "the " + std::to_string(key_octets(key).size) + " bytes of the key, shape " + key.shape +
           ", are no key of " + key.family;
}

class key_command_t {
  public:
    key_command_t(const key_options_t& options, console_t& console) : options_(options), console_(console) {}

    void run();

  private:
    // Where a key stands: a file and, when it has several, which one.
    struct place_t {
        unsigned int index = 1;
        std::string subject; // of messages
    };

    const key_options_t& options_;
    console_t& console_;
    std::optional<secret_t> password_; // once it was needed

    bool run_pem(const std::string& text, const std::string& file);
    void show(std::string_view der, const place_t& place);
    void show_plain(std::string_view der, const place_t& place);
    void show_encrypted(std::string_view der, const place_t& place);
    std::string add_decrypted_key(const encrypted_key_t& encrypted, record_t& record);
    record_t start_record(const char* form, const place_t& place) const;
    void warn_of_trailing(const blob_t& trailing, const place_t& place);
    void fail_if(const std::string& problem, const place_t& place);
    const std::optional<secret_t>& password();
};

// No DER has a line that begins a PEM block, whereas text may start like DER.
void key_command_t::run() {
    std::string bytes = read_input(options_.file);
    const wipe_at_end_t wiping(bytes);
    const std::string name = input_name(options_.file);
    if (bytes.empty()) {
        throw failure_t(name, "is empty");
    }
    if (!run_pem(bytes, name)) {
        show(bytes, {1, name});
    }
}

// Gives false when the text has no PEM block at all.
bool key_command_t::run_pem(const std::string& text, const std::string& file) {
    pem_reader_t reader(text);
    unsigned int num_keys = 0;
    std::optional<std::string> other_label;
    while (std::optional<pem_block_t> block = reader.next()) {
        const wipe_at_end_t wiping(block->der);
        if (!is_key_label(block->label)) {
            other_label = block->label;
            continue;
        }
        ++num_keys;
        const std::string where = "key " + std::to_string(num_keys) + " (line " + std::to_string(block->line) + ")";
        const place_t place{num_keys, file + ": " + where};
        if (block->problem.empty()) {
            show(block->der, place);
        }
        fail_if(block->problem, place);
    }
    if (num_keys == 0 && other_label.has_value()) {
        throw failure_t(file, "holds no PRIVATE KEY or ENCRYPTED PRIVATE KEY, but " + *other_label);
    }
    return num_keys != 0;
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
    warn_of_trailing(key.trailing, place);
    record_t record = start_record("PrivateKeyInfo", place);
    add_key(key, options_.reveal, record);
    console_.put(record, options_.json);
    fail_if(find_fault(key), place);
}

// What the outside tells is true whatever comes of the decryption, so it is shown in any case.
void key_command_t::show_encrypted(std::string_view der, const place_t& place) {
    encrypted_key_t encrypted;
    if (!read_encrypted_key(der, encrypted)) {
        return fail_if("not an EncryptedPrivateKeyInfo: a field is missing or malformed", place);
    }
    warn_of_trailing(encrypted.trailing, place);
    record_t record = start_record("EncryptedPrivateKeyInfo", place);
    add_encryption(encrypted.encryption, record);
    record.add("ciphertext_size", encrypted.ciphertext_size);
    std::string problem = encrypted.encryption.declined;
    if (problem.empty() && options_.password.given()) {
        problem = add_decrypted_key(encrypted, record);
    }
    console_.put(record, options_.json);
    fail_if(problem, place);
}

// Gives what is wrong, or nothing.
std::string key_command_t::add_decrypted_key(const encrypted_key_t& encrypted, record_t& record) {
    std::string der = decrypt_key(encrypted, password()).value_or("");
    const wipe_at_end_t wiping(der);
    private_key_t key;
    std::string problem;
    if (der.empty() || !read_private_key(der, key, problem)) {
        return "wrong password, or damaged: what it decrypts to is no PrivateKeyInfo";
    }
    add_key(key, options_.reveal, record);
    return find_fault(key);
}

record_t key_command_t::start_record(const char* form, const place_t& place) const {
    record_t record;
    if (options_.json) {
        record.add("file", shown_text_t(input_name(options_.file)));
        record.add("index", place.index);
    }
    record.add("form", shown_text_t(form));
    return record;
}

void key_command_t::warn_of_trailing(const blob_t& trailing, const place_t& place) {
    if (trailing.size != 0) {
        console_.warn(place.subject, std::to_string(trailing.size) + " bytes behind the key are not looked at");
    }
}

void key_command_t::fail_if(const std::string& problem, const place_t& place) {
    if (!problem.empty()) {
        console_.fail(place.subject, problem);
    }
}

const std::optional<secret_t>& key_command_t::password() {
    if (!password_.has_value()) {
        std::optional<secret_t> read = options_.password.read(input_name(options_.file));
        password_.emplace(std::move(*read));
    }
    return password_;
}

} // namespace

void add_key_command(CLI::App& app, console_t& console) {
    CLI::App& command = *app.add_subcommand("key", "Show GOST private keys (PKCS#8), plain or encrypted");
    const auto options = std::make_shared<key_options_t>();
    command.add_option("FILE", options->file, "PEM, with any number of keys, or DER; - is standard input")
        ->type_name("")
        ->required();
    options->password.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.add_flag("--reveal", options->reveal, "Show the key itself too, in hexadecimal");
    command.footer("Of an encrypted key, all that can be seen without its password is shown, and with it the key. "
                   "readable: whether the library takes the shape in which the key is kept. size: of the key in that "
                   "shape, in bytes; --reveal shows those bytes as they stand, masks included.\n"
                   "Examples:\n"
                   "  derkit key key.pem\n"
                   "  derkit key --password-ask encrypted.pem");
    command.callback([options, &console] {
        if (options->file == "-" && options->password.takes_stdin()) {
            throw CLI::ValidationError("--password-stdin", "the key itself comes from the standard input");
        }
        key_command_t(*options, console).run();
    });
}
