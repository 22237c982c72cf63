// derkit p12 make: a container of a key and its certificates.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gcrypt.h>
#include <unistd.h>

#include "commands/commands.h"
#include "commands/options.h"
#include "derkit/gost/container.h"
#include "formats/certificate.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/cryptography.h"
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

gost::bag make_bag(gost::bag_type type, std::string_view value) {
    gost::bag bag;
    bag.type = type;
    bag.value = gost::secret(value);
    return bag;
}

// The key and the first certificate, which belongs to it, share a name and a number.
gost::container make_container(const std::string& name, gost::secret key,
                               const std::vector<std::string>& certificates) {
    std::string local_key_id(SHA1_SIZE, '\0');
    gcry_md_hash_buffer(GCRY_MD_SHA1, local_key_id.data(), certificates.front().data(), certificates.front().size());
    const auto mark_as_pair = [&](gost::bag& bag) {
        if (!name.empty()) {
            bag.friendly_name = name;
        }
        bag.local_key_id = local_key_id;
    };
    gost::container made;
    gost::bag key_bag = make_bag(gost::bag_type::private_key, key);
    mark_as_pair(key_bag);
    made.add(std::move(key_bag));
    for (const std::string& certificate : certificates) {
        gost::bag bag = make_bag(gost::bag_type::certificate, certificate);
        if (&certificate == &certificates.front()) {
            mark_as_pair(bag);
        }
        made.add(std::move(bag));
    }
    return made;
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
    if (!utf16_from_utf8(options.name).has_value()) {
        throw failure_t("--name", "is not UTF-8");
    }
    start_libgcrypt();
    const std::vector<std::string> certificates = read_certificates(options.certificates);
    const key_file_t key(options.key);
    const secret_t password = read_password(options);
    gost::write_options writing;
    writing.to = options.profile == "native" ? gost::format::native : gost::format::gost94;
    const gost::container made = make_container(options.name, key.open(secret_t(password.text())), certificates);
    const gost::result<std::string> bytes = made.write(password.text(), writing);
    if (!bytes) {
        throw failure_t(output_name(options), text_of(bytes.error()));
    }
    write(options, *bytes, console);
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
