// derkit p12 make: a container of a key and its certificates.
#include <algorithm>
#include <array>
#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gcrypt.h>
#include <unistd.h>

#include "commands/commands.h"
#include "commands/options.h"
#include "derkit/pkcs12_helper.h"
#include "formats/certificate.h"
#include "formats/gost_pbe_crypto.h"
#include "formats/p12_container.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/output.h"
#include "io/secret.h"

namespace {

struct p12_make_options_t {
    std::string key;
    std::vector<std::string> certificates;
    std::string name;
    std::string profile = "standard";
    std::string out;
    password_option_t password;
    bool force = false;
};

constexpr unsigned int SHA1_SIZE = 20;

// What goes into a container, all of it encrypted: the key first.
struct p12_parts_t {
    std::string key;
    std::vector<std::string> certificates;
    std::string friendly_name; // UTF-16
    std::array<unsigned char, SHA1_SIZE> local_key_id = {};
};

pkcs12_bag_t make_bag(unsigned int type, std::string_view value) {
    pkcs12_bag_t bag;
    bag.type = type;
    bag.value = make_blob(value);
    return bag;
}

// The key and the first certificate, which belongs to it, share a name and a number.
void mark_as_pair(const p12_parts_t& parts, pkcs12_bag_t& bag) {
    bag.friendly_name.size = size_of(parts.friendly_name);
    bag.friendly_name.data = octets(parts.friendly_name);
    bag.local_key_id.size = SHA1_SIZE;
    bag.local_key_id.data = parts.local_key_id.data();
}

std::list<pkcs12_bag_t> make_bags(const p12_parts_t& parts) {
    std::list<pkcs12_bag_t> bags;
    bags.push_back(make_bag(KEY_BAG, parts.key));
    mark_as_pair(parts, bags.back());
    for (const std::string& certificate : parts.certificates) {
        bags.push_back(make_bag(CERTIFICATE_BAG, certificate));
        if (&certificate == &parts.certificates.front()) {
            mark_as_pair(parts, bags.back());
        }
    }
    return bags;
}

bool is_same(const opened_bag_t& opened, std::string_view value) {
    return chars(opened.bag->value) == value;
}

// The library can write a length of 65,536 or more too short.
bool comes_back(const p12_parts_t& parts, const std::string& bytes, const std::optional<secret_t>& password) {
    try {
        const p12_container_t container("", bytes, password);
        return container.skipped().empty() && container.keys().size() == 1 &&
               is_same(container.keys().front(), parts.key) &&
               std::equal(container.certificates().begin(), container.certificates().end(), parts.certificates.begin(),
                          parts.certificates.end(), is_same);
    } catch (const failure_t&) {
        return false;
    }
}

void require_free_inputs(const p12_make_options_t& options) {
    unsigned int num_from_stdin = options.key == "-" ? 1 : 0;
    options.password.require_free_stdin(options.key);
    for (const std::string& file : options.certificates) {
        options.password.require_free_stdin(file);
        num_from_stdin += file == "-" ? 1 : 0;
    }
    if (num_from_stdin > 1) {
        throw usage_error_t("the standard input can be read only once");
    }
}

bool goes_to_stdout(const p12_make_options_t& options) {
    return options.out == "-";
}

// For messages.
std::string output_name(const p12_make_options_t& options) {
    return goes_to_stdout(options) ? "(standard output)" : options.out;
}

// A typing error that nobody sees would lock the key away, so the password is asked for twice.
secret_t read_password(const p12_make_options_t& options) {
    const std::string name = output_name(options);
    secret_t password = options.password.read(name);
    if (options.password.asks() && options.password.read(name + " again").text() != password.text()) {
        throw failure_t(name, "the two passwords differ");
    }
    return password;
}

std::string encode_name(const std::string& text) {
    std::optional<std::string> name = utf16_from_utf8(text);
    if (!name.has_value()) {
        throw failure_t("--name", "is not UTF-8");
    }
    return std::move(*name);
}

std::string encode(const p12_parts_t& parts, gost_pbe_crypto_t& crypto, const std::string& file) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = make_bags(parts);
    std::string bytes;
    try {
        asn_write_pkcs12_easy(easy, &crypto, bytes);
    } catch (const std::runtime_error& error) {
        throw failure_t(file, error.what());
    }
    return bytes;
}

destination_t destination_of(const p12_make_options_t& options) {
    return {file_path_t(options.out).directory, missing_directory_t::REFUSED,
            options.force ? overwriting_t::ALLOWED : overwriting_t::REFUSED};
}

void require_room_for_output(const p12_make_options_t& options) {
    if (options.out.empty()) {
        throw usage_error_t("--out: names no file");
    }
    if (!goes_to_stdout(options)) {
        require_room_for(destination_of(options), {file_path_t(options.out).name});
    } else if (isatty(STDOUT_FILENO) != 0) {
        throw failure_t("--out", "the standard output is a terminal");
    }
}

void write(const p12_make_options_t& options, const std::string& bytes, console_t& console) {
    if (goes_to_stdout(options)) {
        return console.put_bytes(bytes);
    }
    file_set_t files(destination_of(options));
    files.add(file_path_t(options.out).name, secrecy_t::SECRET, bytes);
    files.place();
    files.keep();
}

std::vector<std::string> read_certificates(const std::vector<std::string>& files) {
    std::vector<std::string> all;
    for (const std::string& file : files) {
        const std::vector<std::string> certificates = read_certificate_file(file);
        all.insert(all.end(), certificates.begin(), certificates.end());
    }
    return all;
}

// All that can be found wrong without a password is, before one is asked for.
void run(const p12_make_options_t& options, console_t& console) {
    require_free_inputs(options);
    require_room_for_output(options);
    p12_parts_t parts;
    const wipe_at_end_t wiped(parts.key);
    parts.friendly_name = encode_name(options.name);
    parts.certificates = read_certificates(options.certificates);
    const key_file_t key(options.key);
    const std::optional<secret_t> password = read_password(options);
    const container_profile_t profile =
        options.profile == "native" ? container_profile_t::NATIVE : container_profile_t::STANDARD;
    gost_pbe_crypto_t crypto(password, profile); // starts libgcrypt, also for the digest below
    parts.key = key.open(password);
    const std::string& first = parts.certificates.front();
    gcry_md_hash_buffer(GCRY_MD_SHA1, parts.local_key_id.data(), first.data(), first.size());

    const std::string bytes = encode(parts, crypto, output_name(options));
    if (!comes_back(parts, bytes, password)) {
        throw failure_t(output_name(options), "the size of the container does not fit into its header");
    }
    write(options, bytes, console);
}

} // namespace

void add_p12_make(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("make", "Make a container of a private key and its certificates");
    const auto options = std::make_shared<p12_make_options_t>();
    command.add_option({"--key", "FILE", "A PKCS#8 key, PEM or DER, plain or encrypted under the same password"},
                       options->key);
    command.add_option({"--cert", "FILE", "Certificates, all in a PEM file or one in DER; repeatable"},
                       options->certificates);
    command.add_option({"--name", "TEXT", "Friendly name of the key and its certificate"}, options->name);
    command.add_choice(
        {"--profile", "PROFILE", "Layout: standard (the default), as RFC 7292 has it, or native, the library's own"},
        options->profile, {"standard", "native"});
    command.add_option({"--out", "FILE", "The container, readable only by its owner; - is standard output"},
                       options->out);
    options->password.add_to(command);
    command.add_flag("--force", options->force, "Overwrite a file that is there");
    command.require({"--key", "--cert", "--out"});
    command.set_footer("Key, certificates and names are all encrypted (GOST 28147-89). The first certificate is "
                       "assumed to belong to the key; this is not checked. An encrypted key must have the password of "
                       "the container. Without a password option it is asked for, "
                       "twice.\n"
                       "Example:\n"
                       "  derkit p12 make --key key.pem --cert certificate.pem --out container.p12");
    command.set_action([options, &console] { run(*options, console); });
}
