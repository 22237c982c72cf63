// derkit p12 make: a container of keys and their certificates.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gcrypt.h>

#include "commands/commands.h"
#include "commands/gost_options.h"
#include "commands/options.h"
#include "commands/write_options.h"
#include "formats/certificate.h"
#include "formats/private_key.h"
#include "formats/written_container.h"
#include "formats/written_key.h"
#include "io/bytes.h"
#include "io/failure.h"

namespace {

struct p12_make_options_t {
    std::vector<std::string> keys;
    std::vector<std::string> certificates;
    std::vector<std::string> names;
    format_option_t format;
    key_shape_option_t key_shape;
    output_option_t output;
    password_option_t password;
    iterations_option_t iterations;
};

constexpr std::size_t SHA1_SIZE = 20;

// A key, and the place of its certificate among all.
struct key_to_store_t {
    gost::secret info;
    std::optional<std::size_t> certificate;
};

void require_free_inputs(const p12_make_options_t& options) {
    std::vector<std::string> files = options.keys;
    files.insert(files.end(), options.certificates.begin(), options.certificates.end());
    for (const std::string& file : files) {
        options.password.require_free_stdin(file);
    }
    if (std::ranges::count(files, "-") > 1) {
        throw usage_error_t("the standard input can be read only once");
    }
}

void require_good_names(const p12_make_options_t& options) {
    if (options.names.size() > options.keys.size()) {
        throw usage_error_t("--name: there are more names than keys");
    }
    for (const std::string& name : options.names) {
        if (!is_utf8(name)) {
            throw failure_t("--name", "is not UTF-8");
        }
    }
}

std::vector<std::string> read_certificates(const std::vector<std::string>& files) {
    std::vector<std::string> all;
    for (const std::string& file : files) {
        const std::vector<std::string> certificates = read_certificate_file(file);
        all.insert(all.end(), certificates.begin(), certificates.end());
    }
    return all;
}

std::string sha1_of(std::string_view bytes) {
    std::string digest(SHA1_SIZE, '\0');
    gcry_md_hash_buffer(GCRY_MD_SHA1, digest.data(), bytes.data(), bytes.size());
    return digest;
}

class p12_make_t {
  public:
    p12_make_t(const p12_make_options_t& options, console_t& console) : options_(options), console_(console) {}

    void run();

  private:
    const p12_make_options_t& options_;
    console_t& console_;
    std::vector<std::unique_ptr<key_file_t>> files_;
    std::vector<std::string> certificates_;

    void open_keys(bool encrypted, const std::optional<secret_t>& password, std::vector<key_to_store_t>& keys) const;
    key_to_store_t prepare(gost::secret info, const key_file_t& file) const;
    std::optional<std::size_t> find_certificate(const gost::secret& info, const std::string& place) const;
    void refuse_key(const std::string& place, const std::string& why) const;
    void claim_rest(std::vector<key_to_store_t>& keys) const;
    gost::container assemble(std::vector<key_to_store_t> keys) const;
    std::optional<std::string> name_of_key(std::size_t index) const;
};

// All that can be found wrong without a password is, before one is asked for.
void p12_make_t::run() {
    require_free_inputs(options_);
    const gost::write_options format = options_.format.read({gost::format::tc26});
    const gost::limits cost = options_.iterations.limits();
    options_.output.require_room();
    require_good_names(options_);
    certificates_ = read_certificates(options_.certificates);
    for (const std::string& file : options_.keys) {
        files_.push_back(std::make_unique<key_file_t>(file, cost));
    }
    std::vector<key_to_store_t> keys(files_.size());
    open_keys(false, std::nullopt, keys);
    const std::optional<secret_t> password = options_.password.read_for_new(options_.output.name());
    open_keys(true, password, keys);
    claim_rest(keys);
    const gost::container made = assemble(std::move(keys));
    options_.output.write(write_container(made, *password, format, cost, options_.output.name()), console_);
}

// Either the encrypted ones or the others.
void p12_make_t::open_keys(bool encrypted, const std::optional<secret_t>& password,
                           std::vector<key_to_store_t>& keys) const {
    for (std::size_t i = 0; i < files_.size(); ++i) {
        if (files_[i]->is_encrypted() == encrypted) {
            keys[i] = prepare(files_[i]->open(password), *files_[i]);
        }
    }
}

key_to_store_t p12_make_t::prepare(gost::secret info, const key_file_t& file) const {
    const std::optional<std::size_t> certificate = find_certificate(info, file.place());
    if (const std::optional<gost::key_shape> shape = options_.key_shape.read()) {
        gost::secret made = reshape_key(info, *shape, file.place());
        warn_of_losses(info, file.place(), console_);
        info = std::move(made);
    }
    return {std::move(info), certificate};
}

// Nothing under --force if none belongs to the key, or if that cannot be told.
std::optional<std::size_t> p12_make_t::find_certificate(const gost::secret& info, const std::string& place) const {
    const gost::result<gost::private_key> key = gost::private_key::read(info);
    if (!key) {
        if (key.why() != gost::cause::unsupported_key) {
            throw failure_t(place, text_of(key.error()));
        }
        refuse_key(place, "cannot be compared with the certificates: " + text_of(key.error()));
        return std::nullopt;
    }
    std::string why = "none of the certificates is for this key";
    for (std::size_t i = 0; i < certificates_.size(); ++i) {
        const gost::result<bool> belongs = key->belongs_to(certificates_[i]);
        if (belongs && *belongs) {
            return i;
        }
        if (!belongs) {
            why = "cannot be compared with the certificates: " + text_of(belongs.error());
        }
    }
    refuse_key(place, why);
    return std::nullopt;
}

void p12_make_t::refuse_key(const std::string& place, const std::string& why) const {
    if (!options_.output.is_forced()) {
        throw failure_t(place, why + " (--force makes the container all the same)");
    }
    console_.warn(place, why);
}

// A key that was forced in has the certificate that is in its place, if that is no other key's.
void p12_make_t::claim_rest(std::vector<key_to_store_t>& keys) const {
    for (std::size_t i = 0; i < std::min(keys.size(), certificates_.size()); ++i) {
        const bool is_claimed = std::ranges::count(keys, std::optional(i), &key_to_store_t::certificate) != 0;
        if (!keys[i].certificate.has_value() && !is_claimed) {
            keys[i].certificate = i;
        }
    }
}

std::optional<std::string> p12_make_t::name_of_key(std::size_t index) const {
    const bool has_name = index < options_.names.size() && !options_.names[index].empty();
    return has_name ? std::optional(options_.names[index]) : std::nullopt;
}

// A key and its certificate share a name and a number.
gost::container p12_make_t::assemble(std::vector<key_to_store_t> keys) const {
    std::vector<gost::bag> certificates(certificates_.size());
    for (std::size_t i = 0; i < certificates.size(); ++i) {
        certificates[i].type = gost::bag_type::certificate;
        certificates[i].value = gost::secret(certificates_[i]);
    }
    gost::container made;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        gost::bag key;
        key.type = gost::bag_type::private_key;
        key.value = std::move(keys[i].info);
        key.friendly_name = name_of_key(i);
        if (keys[i].certificate.has_value()) {
            gost::bag& certificate = certificates[*keys[i].certificate];
            key.local_key_id = sha1_of(certificate.value);
            certificate.local_key_id = key.local_key_id;
            certificate.friendly_name = key.friendly_name;
        }
        made.add(std::move(key));
    }
    for (gost::bag& certificate : certificates) {
        made.add(std::move(certificate));
    }
    return made;
}

} // namespace

void add_p12_make(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("make", "Make a container of private keys and their certificates");
    const auto options = std::make_shared<p12_make_options_t>();
    command.add_option({"--key", "FILE",
                        "A PKCS#8 key, PEM or DER, plain or encrypted under the same password; "
                        "repeatable"},
                       options->keys);
    command.add_option({"--cert", "FILE", "Certificates, all in a PEM file or one in DER; repeatable"},
                       options->certificates);
    command.add_option({"--name", "TEXT",
                        "Friendly name of a key and its certificate; repeatable, the first for the "
                        "first key"},
                       options->names);
    options->format.add_to(command, {"gost94", "tc26", "rfc9548", "rfc9548-omac", "aes", "native"},
                           "How the container is protected: gost94, tc26 (the default), rfc9548, rfc9548-omac, aes or "
                           "native, the library's own layout");
    options->key_shape.add_to(command);
    options->output.add_to(command, "The container, readable only by its owner; - is standard output");
    options->password.add_to(command);
    options->iterations.add_to(command);
    command.require({"--key", "--cert"});
    command.set_footer("Keys and certificates are encrypted. A certificate must be there for each key "
                       "unless --force is given, which also overwrites the file. An encrypted key must have the "
                       "password of the container. Without a password option it is asked for, twice.\n"
                       "Example:\n"
                       "  derkit p12 make --key key.pem --cert certificate.pem --out container.p12");
    command.set_action([options, &console] { p12_make_t(*options, console).run(); });
}
