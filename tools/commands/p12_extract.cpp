// derkit p12 extract: keys and certificates of a container as PEM files.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "commands/commands.h"
#include "commands/gost_options.h"
#include "commands/options.h"
#include "derkit/gost/pem.h"
#include "formats/certificate.h"
#include "formats/container.h"
#include "formats/der.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/input.h"
#include "io/output.h"

namespace {

struct p12_extract_options_t {
    std::string file;
    std::string directory;
    container_password_option_t password;
    container_options_t reading;
    bool force = false;
    bool partial = false;
};

std::string key_name(const std::string& which) {
    return "key-" + which + ".pem";
}

std::string certificate_name(const std::string& which) {
    return "certificate-" + which + ".pem";
}

// Those of the files that can be told without the password.
std::vector<std::string> names_seen_in(const gost::container& listed) {
    std::vector<std::string> names;
    unsigned int num_keys = 0;
    unsigned int num_certificates = 0;
    for (const gost::bag* const bag : listed.bags()) {
        if (bag->type == gost::bag_type::private_key) {
            names.push_back(key_name(std::to_string(++num_keys)));
        } else if (bag->type == gost::bag_type::certificate) {
            names.push_back(certificate_name(std::to_string(++num_certificates)));
        }
    }
    return names;
}

// What is read of a container, in file order.
struct contents_t {
    std::vector<const gost::bag*> keys;
    std::vector<const gost::bag*> certificates;
    std::vector<part_t> refused;
};

contents_t contents_of(const gost::container& opened) {
    contents_t contents;
    for (const part_t& part : parts_of(opened)) {
        if (!find_refusal(part).empty()) {
            contents.refused.push_back(part);
        } else if (part.is(gost::bag_type::private_key)) {
            contents.keys.push_back(part.bag);
        } else if (part.is(gost::bag_type::certificate)) {
            contents.certificates.push_back(part.bag);
        }
    }
    return contents;
}

// Whether a password may reveal a key or a certificate of a container that was listed, or needs not to.
bool may_hold_anything(const gost::container& listed) {
    return std::ranges::any_of(parts_of(listed), [](const part_t& part) {
        const bool is_wanted = part.bag == nullptr
                                   ? part.entry->encryption.has_value()
                                   : part.is(gost::bag_type::private_key) || part.is(gost::bag_type::certificate);
        return is_wanted && find_refusal(part).empty();
    });
}

class p12_extract_t {
  public:
    p12_extract_t(const p12_extract_options_t& options, console_t& console)
        : options_(options), console_(console), name_(input_name(options.file)) {}

    void run();

  private:
    const p12_extract_options_t& options_;
    console_t& console_;
    std::string name_; // of the file, in messages

    destination_t destination() const;
    void tell_refusals(const contents_t& contents);
    [[noreturn]] void refuse_empty(const contents_t& contents);
    void extract(const contents_t& contents);
    void add_key(std::string_view value, const std::string& which, file_set_t& files);
    void add_certificate(std::string_view value, const std::string& which, file_set_t& files);
    std::string_view without_trailing(std::string_view value, const std::string& which);
};

void p12_extract_t::run() {
    options_.password.require_free_stdin(options_.file);
    const gost::open_options reading = options_.reading.get();
    const std::string bytes = read_filled_input(options_.file);
    const gost::container listed = list_openable_container(name_, bytes, reading);
    require_room_for(destination(), names_seen_in(listed));
    if (!may_hold_anything(listed)) {
        refuse_empty(contents_of(listed));
    }
    const std::optional<secret_t> password = options_.password.read(options_.file);
    const gost::container opened = open_container(name_, bytes, password, reading);
    const contents_t contents = contents_of(opened);
    if (contents.keys.empty() && contents.certificates.empty()) {
        refuse_empty(contents);
    }
    tell_refusals(contents);
    if (!contents.refused.empty() && !options_.partial) {
        throw failure_t(name_,
                        "nothing is extracted, because not everything can be read (--partial extracts the rest)");
    }
    extract(contents);
}

void p12_extract_t::tell_refusals(const contents_t& contents) {
    for (const part_t& part : contents.refused) {
        console_.fail(name_ + ": " + part.typed_place(), find_refusal(part));
    }
}

void p12_extract_t::refuse_empty(const contents_t& contents) {
    tell_refusals(contents);
    throw failure_t(name_, "holds neither a key nor a certificate that can be read");
}

destination_t p12_extract_t::destination() const {
    return {options_.directory, missing_directory_t::CREATED,
            options_.force ? overwriting_t::ALLOWED : overwriting_t::REFUSED};
}

void p12_extract_t::extract(const contents_t& contents) {
    file_set_t files(destination());
    unsigned int index = 0;
    for (const gost::bag* const key : contents.keys) {
        add_key(key->value, std::to_string(++index), files);
    }
    index = 0;
    for (const gost::bag* const certificate : contents.certificates) {
        add_certificate(certificate->value, std::to_string(++index), files);
    }
    files.place(console_);
    for (const std::string& path : files.paths()) {
        files.signals().wait_for_room(STDOUT_FILENO);
        console_.put(shown_text_t(path));
    }
    files.keep();
}

void p12_extract_t::add_key(std::string_view value, const std::string& which, file_set_t& files) {
    private_key_t key;
    std::string problem;
    if (!read_private_key(value, key, problem)) {
        throw failure_t(name_ + ": key " + which, problem);
    }
    files.add(key_name(which), secrecy_t::SECRET, gost::to_pem("PRIVATE KEY", without_trailing(value, "key " + which)));
}

void p12_extract_t::add_certificate(std::string_view value, const std::string& which, file_set_t& files) {
    certificate_t certificate;
    std::string problem;
    if (!read_certificate(value, certificate, problem)) {
        throw failure_t(name_ + ": certificate " + which, problem);
    }
    const std::string_view der = without_trailing(value, "certificate " + which);
    files.add(certificate_name(which), secrecy_t::PUBLIC, gost::to_pem("CERTIFICATE", der));
}

std::string_view p12_extract_t::without_trailing(std::string_view value, const std::string& which) {
    const std::string_view element = first_element(value);
    if (element.size() != value.size()) {
        console_.warn(name_ + ": " + which,
                      std::to_string(value.size() - element.size()) + " bytes after it are left out");
    }
    return element;
}

} // namespace

void add_p12_extract(command_t& p12, console_t& console) {
    command_t command = p12.add_subcommand("extract", "Write the keys and certificates of a container as PEM files");
    const auto options = std::make_shared<p12_extract_options_t>();
    command.add_argument("FILE", options->file, "A container; - is standard input");
    command.add_option({"--out", "DIR", "Where key-1.pem, certificate-1.pem and so on go; made if missing"},
                       options->directory);
    options->password.add_to(command);
    options->reading.add_to(command);
    command.add_flag("--force", options->force, "Overwrite files that are there");
    command.add_flag("--partial", options->partial, "Extract what can be read although something cannot");
    command.require({"--out"});
    command.set_footer(
        "Keys are written unencrypted, readable only by their owner (mode 0600). After a failure the directory is as "
        "before. Without a password option the password is asked for at the terminal.\n"
        "Example:\n"
        "  derkit p12 extract --out folder container.p12");
    command.set_action([options, &console] {
        if (options->directory.empty() || options->directory == "-") {
            throw usage_error_t("--out: needs a directory (./- for one of that name)");
        }
        p12_extract_t(*options, console).run();
    });
}
