// derkit p12 convert and derkit p12 password: a new container of the bags of another one.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/commands.h"
#include "commands/gost_options.h"
#include "commands/options.h"
#include "commands/write_options.h"
#include "formats/container.h"
#include "formats/written_container.h"
#include "formats/written_key.h"
#include "io/failure.h"
#include "io/input.h"

namespace {

struct p12_convert_options_t {
    std::string file;
    container_password_option_t password;
    container_options_t opening;
    password_option_t new_password{password_option_t::kind_t::NEW};
    bool needs_new_password = false;
    format_option_t format;
    key_shape_option_t key_shape;
    output_option_t output;
};

bool uses_magma(const gost::container& container) {
    constexpr std::string_view MAGMA = "1.2.643.7.1.1.5.1.";
    const std::vector<part_t> parts = parts_of(container);
    return std::ranges::any_of(parts, [MAGMA](const part_t& part) {
        return part.encryption().has_value() && part.encryption()->cipher.oid.starts_with(MAGMA);
    });
}

// The format nearest to that of a container; nothing if it might be any. Containers with a MAC key by RFC 7292
// appendix B have the algorithms of those with one by PBKDF2.
std::optional<gost::write_options> options_like(const gost::container& container) {
    gost::write_options options;
    options.cipher = uses_magma(container) ? gost::block_cipher::magma : gost::block_cipher::kuznyechik;
    switch (container.kind()) {
    case gost::container_kind::gost94:
    case gost::container_kind::gost94_pkcs12_kdf:
        options.to = container.form() == gost::container_form::native ? gost::format::native : gost::format::gost94;
        return options;
    case gost::container_kind::tc26:
    case gost::container_kind::tc26_pkcs12_kdf:
        options.to = gost::format::tc26;
        return options;
    case gost::container_kind::ctr_acpkm:
        options.to = gost::format::rfc9548;
        return options;
    case gost::container_kind::ctr_acpkm_sha2: // gost-engine's, which has these sections only
        options.to = gost::format::rfc9548;
        options.sections = gost::section::tls;
        return options;
    case gost::container_kind::ctr_acpkm_omac:
        options.to = gost::format::rfc9548_omac;
        return options;
    case gost::container_kind::general:
        options.to = gost::format::aes;
        return options;
    default:
        return std::nullopt;
    }
}

bool may_be_opened(const gost::failure& refusal) {
    return refusal.why == gost::cause::password_needed || refusal.why == gost::cause::unverified;
}

bool was_opened(const gost::failure&) {
    return false;
}

class p12_convert_t {
  public:
    p12_convert_t(const p12_convert_options_t& options, console_t& console)
        : options_(options), console_(console), name_(input_name(options.file)) {}

    void run();

  private:
    const p12_convert_options_t& options_;
    console_t& console_;
    std::string name_; // of the file, in messages

    gost::write_options choose_format(const gost::container& source) const;
    void require_all(const gost::container& source, bool (*is_fit)(const gost::failure& refusal)) const;
    secret_t choose_password(const std::optional<secret_t>& old) const;
    gost::container reshaped(const gost::container& source, gost::key_shape shape) const;
    void reshape(gost::bag& bag, gost::key_shape shape) const;
};

// All that can be found wrong without a password is, before one is asked for.
void p12_convert_t::run() {
    options_.password.require_free_stdin(options_.file);
    options_.new_password.require_free_stdin(options_.file);
    options_.new_password.require_source();
    options_.output.require_room();
    const std::string bytes = read_filled_input(options_.file);
    const gost::open_options opening = options_.opening.get();
    const gost::container listed = list_openable_container(name_, bytes, opening);
    require_all(listed, &may_be_opened);
    choose_format(listed);

    const std::optional<secret_t> old = options_.password.read(options_.file);
    gost::container source = open_container(name_, bytes, old, opening);
    require_all(source, &was_opened);
    if (source.mac().verdict != gost::mac_verdict::good) {
        console_.warn(name_, "no good MAC vouches for it; the new container will have one");
    }
    if (const std::optional<gost::key_shape> shape = options_.key_shape.read()) {
        source = reshaped(source, *shape);
    }
    const gost::write_options format = choose_format(source);
    const secret_t password = choose_password(old);
    options_.output.write(write_container(source, password, format, opening.cost, options_.output.name()), console_);
}

// Without --to, that of the source.
gost::write_options p12_convert_t::choose_format(const gost::container& source) const {
    if (!options_.format.to().empty()) {
        return options_.format.read({});
    }
    const std::optional<gost::write_options> like = options_like(source);
    if (!like.has_value()) {
        throw failure_t(name_, std::string("containers of its kind (") + gost::name_of(source.kind()) +
                                   ") are not made; --to chooses another");
    }
    return options_.format.read(*like);
}

// A part that is left out would be lost.
void p12_convert_t::require_all(const gost::container& source, bool (*is_fit)(const gost::failure& refusal)) const {
    for (const part_t& part : parts_of(source)) {
        const std::optional<gost::failure>& refusal = part.bag != nullptr ? part.bag->refusal : part.entry->refusal;
        if (refusal.has_value() && !is_fit(*refusal)) {
            throw failure_t(name_ + ": " + part.typed_place(), text_of(*refusal));
        }
    }
}

secret_t p12_convert_t::choose_password(const std::optional<secret_t>& old) const {
    if (!options_.needs_new_password && !options_.new_password.given() && old.has_value()) {
        return secret_t(old->text());
    }
    return options_.new_password.read_for_new("the new " + options_.output.name());
}

gost::container p12_convert_t::reshaped(const gost::container& source, gost::key_shape shape) const {
    gost::container made;
    for (const gost::entry& entry : source.entries()) {
        for (gost::bag bag : entry.bags) {
            reshape(bag, shape);
            made.add(std::move(bag));
        }
    }
    return made;
}

void p12_convert_t::reshape(gost::bag& bag, gost::key_shape shape) const {
    for (gost::bag& nested : bag.nested) {
        reshape(nested, shape);
    }
    if (bag.type == gost::bag_type::private_key) {
        gost::secret made = reshape_key(bag.value, shape, name_);
        warn_of_losses(bag.value, name_, console_);
        bag.value = std::move(made);
    }
}

void add_options(command_t& command, const std::shared_ptr<p12_convert_options_t>& options, const char* to) {
    command.add_argument("FILE", options->file, "A container; - is standard input");
    options->format.add_to(command, {"gost94", "tc26", "rfc9548", "rfc9548-omac", "aes", "native"}, to);
    options->key_shape.add_to(command);
    options->output.add_to(command, "The new container, readable only by its owner; - is standard output");
    options->password.add_to(command);
    options->new_password.add_to(command);
    options->opening.add_to(command);
}

} // namespace

void add_p12_convert(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("convert", "Make a container of another format from the bags of one");
    const auto options = std::make_shared<p12_convert_options_t>();
    add_options(command, options,
                "gost94, tc26, rfc9548, rfc9548-omac, aes or native: how the new container is protected");
    command.require({"--to"});
    command.set_footer("Keys, certificates, names and all other bags go into the new container, or nothing does. It "
                       "has the password of the old one unless a new one is given; from the standard input the old "
                       "password is read first.\n"
                       "Example:\n"
                       "  derkit p12 convert --to tc26 --out new.p12 old.p12");
    command.set_action([options, &console] { p12_convert_t(*options, console).run(); });
}

void add_p12_password(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("password", "Make a container with another password from one");
    const auto options = std::make_shared<p12_convert_options_t>();
    options->needs_new_password = true;
    add_options(command, options, "As for convert; the format of the old container unless given");
    command.set_footer("The bags are the same. Both passwords are asked for unless options name them; from the "
                       "standard input the old one is read first. With --force the file may replace itself.\n"
                       "Example:\n"
                       "  derkit p12 password --force --out a.p12 a.p12");
    command.set_action([options, &console] { p12_convert_t(*options, console).run(); });
}
