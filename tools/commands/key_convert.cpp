// derkit key convert: a private key in another form.
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "commands/commands.h"
#include "commands/gost_options.h"
#include "commands/options.h"
#include "commands/write_options.h"
#include "derkit/gost/pem.h"
#include "formats/private_key.h"
#include "formats/written_key.h"
#include "io/bytes.h"
#include "io/failure.h"
#include "io/input.h"

namespace {

struct key_convert_options_t {
    std::string file;
    password_option_t password;
    password_option_t new_password{password_option_t::kind_t::NEW};
    iterations_option_t iterations;
    format_option_t format;
    bool der = false;
    key_shape_option_t key_shape;
    output_option_t output;
};

class key_convert_t {
  public:
    key_convert_t(const key_convert_options_t& options, console_t& console) : options_(options), console_(console) {}

    void run();

  private:
    const key_convert_options_t& options_;
    console_t& console_;

    bool makes_plain_key() const { return options_.format.to() == "pem" || options_.format.to() == "der"; }
    bool makes_der() const { return options_.der || options_.format.to() == "der"; }
    void require_sense() const;
    gost::key_shape shape() const { return options_.key_shape.read().value_or(gost::key_shape::octets); }
    std::string encrypt(const gost::private_key& key, const gost::write_options& format, const secret_t& password,
                        const gost::limits& cost) const;
    secret_t choose_password(const std::optional<secret_t>& old) const;
    void write(std::string_view label, std::string_view der) const;
};

// All that can be found wrong without a password is, before one is asked for.
void key_convert_t::run() {
    require_sense();
    const gost::write_options format = options_.format.read({});
    const gost::limits cost = options_.iterations.limits();
    options_.output.require_room(makes_der() ? output_option_t::content_t::BINARY : output_option_t::content_t::TEXT);
    options_.new_password.require_source();
    const key_file_t file(options_.file, cost);
    std::optional<secret_t> old;
    if (file.is_encrypted()) {
        old.emplace(options_.password.read(input_name(options_.file)));
    }
    const gost::secret info = file.open(old);
    const gost::private_key key = read_gost_key(info, file.place());
    warn_of_losses(info, file.place(), console_);
    if (makes_plain_key()) {
        write("PRIVATE KEY", reshape_key(info, shape(), file.place()));
    } else {
        write("ENCRYPTED PRIVATE KEY", encrypt(key, format, choose_password(old), cost));
    }
}

void key_convert_t::require_sense() const {
    options_.password.require_free_stdin(options_.file);
    options_.new_password.require_free_stdin(options_.file);
    if (!makes_plain_key()) {
        return;
    }
    if (options_.der && options_.format.to() == "pem") {
        throw usage_error_t("--to pem: --der contradicts it");
    }
    if (options_.new_password.given()) {
        throw usage_error_t("--to " + options_.format.to() + ": makes a plain key, which has no password");
    }
    if (options_.format.shapes_encryption()) {
        throw usage_error_t("--to " + options_.format.to() + ": makes a plain key, which is not encrypted");
    }
}

// Reads what it wrote, which may soon be the only file with the key.
std::string key_convert_t::encrypt(const gost::private_key& key, const gost::write_options& format,
                                   const secret_t& password, const gost::limits& cost) const {
    gost::result<std::string> made = key.write_encrypted(password.text(), format, shape());
    if (!made) {
        throw failure_t(options_.output.name(), text_of(made.error()));
    }
    const gost::result<gost::private_key> read =
        gost::private_key::read(*made, password.text(), at_least_default(cost));
    if (!read || !gost::equal_in_constant_time(read->number(), key.number())) {
        throw failure_t(options_.output.name(), "would not hold the same key again");
    }
    return *std::move(made);
}

secret_t key_convert_t::choose_password(const std::optional<secret_t>& old) const {
    if (old.has_value() && !options_.new_password.given()) {
        return secret_t(old->text());
    }
    return options_.new_password.read_for_new("the new " + options_.output.name());
}

void key_convert_t::write(std::string_view label, std::string_view der) const {
    if (makes_der()) {
        options_.output.write(der, console_);
    } else {
        options_.output.write(gost::to_pem(label, der), console_);
    }
}

} // namespace

void add_key_convert(command_t& key, console_t& console) {
    command_t command = key.add_subcommand_beside_arguments("convert", "Write a key in another form or encryption");
    const auto options = std::make_shared<key_convert_options_t>();
    command.add_argument("FILE", options->file, "One key, PEM or DER; - is standard input");
    options->format.add_to(command, {"pem", "der", "gost94", "tc26", "rfc9548", "rfc9548-omac", "aes"},
                           "pem or der: a plain key; gost94, tc26, rfc9548, rfc9548-omac or aes: an encrypted one");
    command.add_flag("--der", options->der, "DER, where PEM is the default");
    options->key_shape.add_to(command);
    options->output.add_to(command, "The key, readable only by its owner; - is standard output");
    options->password.add_to(command);
    options->new_password.add_to(command);
    options->iterations.add_to(command);
    command.require({"--to"});
    command.set_footer("An encrypted key keeps its password unless a new one is given; a plain one gets the new one, "
                       "which is asked for without an option. From the standard input the old password is read first. "
                       "Attributes and a public key beside the key are left out.\n"
                       "Example:\n"
                       "  derkit key convert --to tc26 --out encrypted.pem key.pem");
    command.set_action([options, &console] { key_convert_t(*options, console).run(); });
}
