#include "commands/options.h"

#include "formats/named_oid.h"
#include "io/bytes.h"
#include "io/failure.h"
#include "io/input.h"
#include "io/password.h"

namespace {

constexpr const char* PASSWORD_GROUP = "Password, one of these";
constexpr const char* NEW_PASSWORD_GROUP = "New password, one of these";

// As for the library, a file that cannot be read adds nothing.
std::string text_of_system_map() {
    try {
        return read_input(DERKIT_SYSTEM_ETC_DIR "qaroids.cfg");
    } catch (const failure_t&) {
        return "";
    }
}

} // namespace

void oid_map_option_t::add_to(command_t& command) {
    command.add_option({"--oid-map", "FILE",
                        "Names of OIDs, a line \"OID = SHORT, long name\" each, in place of the system's qaroids.cfg; "
                        "repeatable"},
                       files_);
}

oid_map_handle_t oid_map_option_t::load() const {
    if (files_.empty()) {
        use_oid_map(OID_MAP_HANDLE_DEFAULT_FILE);
        note_oids_of_map(text_of_system_map());
        return OID_MAP_HANDLE_DEFAULT_FILE;
    }
    // A map cannot be copied, so the files are added to the existing one of the built-in names, and what that map held
    // before wins. It serves the whole process, which is this one command.
    for (const std::string& file : files_) {
        const std::string bytes = read_input(file);
        const std::string_view text = without_byte_order_mark(bytes);
        oid_map_parse_(*OID_MAP_HANDLE_DEFAULT.map, text.data(), size_of(text));
        note_oids_of_map(text);
    }
    use_oid_map(OID_MAP_HANDLE_DEFAULT);
    return OID_MAP_HANDLE_DEFAULT;
}

void order_option_t::add_to(command_t& command) {
    command.add_choice(
        {"--order", "ORDER", "Order of the RDNs: as-encoded (the default) or reversed, as RFC 4514 has it"}, order_,
        {"as-encoded", "reversed"});
}

void t61_option_t::add_to(command_t& command) {
    command.add_choice({"--t61", "CHARACTERS",
                        "What a T61String of a name holds: t61 (the default), or latin1, as some issuers have it"},
                       characters_, {"t61", "latin1"});
}

// "--password-file", or "--new-password-file".
std::string password_option_t::name(const char* source) const {
    return (kind_ == kind_t::NEW ? "--new-password-" : "--password-") + std::string(source);
}

void password_option_t::add_to(command_t& command) {
    const std::string file = name("file");
    const std::string env = name("env");
    const std::string standard_input = name("stdin");
    const std::string ask = name("ask");
    const bool is_new = kind_ == kind_t::NEW;
    const std::string the_password = is_new ? "The new password" : "The password";
    command.add_option({file.c_str(), "FILE", (the_password + " is the first line of FILE").c_str()}, file_);
    command.add_option(
        {env.c_str(), "VARIABLE", (the_password + " is the value of VARIABLE in the environment").c_str()}, variable_);
    command.add_flag(standard_input.c_str(), on_stdin_,
                     is_new ? "The new password is the first line of the standard input, or the second one after the "
                              "other password"
                            : "The password is the first line of the standard input");
    command.add_flag(ask.c_str(), ask_,
                     is_new ? "Ask for the new password at the terminal, without echo"
                            : "Ask for the password at the terminal, without echo");
    command.exclude(file.c_str(), {env.c_str(), standard_input.c_str(), ask.c_str()});
    command.exclude(env.c_str(), {standard_input.c_str(), ask.c_str()});
    command.exclude(standard_input.c_str(), {ask.c_str()});
    command.group(is_new ? NEW_PASSWORD_GROUP : PASSWORD_GROUP,
                  {file.c_str(), env.c_str(), standard_input.c_str(), ask.c_str()});
}

void password_option_t::require_free_stdin(const std::string& file) const {
    if (on_stdin_ && file == "-") {
        throw usage_error_t(name("stdin") + ": the standard input holds the file already");
    }
}

void password_option_t::require_file_name() const {
    if (file_ == "-") {
        throw usage_error_t(name("file") + ": - is no file (see " + name("stdin") + ")");
    }
}

void password_option_t::require_source() const {
    require_file_name();
    if (file_.has_value()) {
        require_readable(*file_);
    }
    if (variable_.has_value()) {
        require_variable(*variable_);
    }
}

secret_t password_option_t::read(const std::string& what_for) const {
    require_file_name();
    if (file_.has_value()) {
        return read_password_from_file(*file_);
    }
    if (variable_.has_value()) {
        return read_password_from_variable(*variable_);
    }
    return on_stdin_ ? read_password_from_stdin() : ask_for_password(what_for);
}

secret_t password_option_t::read_for_new(const std::string& what_for) const {
    secret_t password = read(what_for);
    if (!is_utf8(password.text())) {
        throw failure_t(what_for, "the password is not UTF-8");
    }
    if (asks() && read(what_for + " again").text() != password.text()) {
        throw failure_t(what_for, "the two passwords differ");
    }
    return password;
}

void container_password_option_t::add_to(command_t& command) {
    option_.add_to(command);
    command.add_flag("--no-password", none_,
                     "The container was made without any password, which is not the same as an empty one");
    command.exclude("--no-password", {"--password-file", "--password-env", "--password-stdin", "--password-ask"});
    command.group(PASSWORD_GROUP, {"--no-password"});
}

std::optional<secret_t> container_password_option_t::read(const std::string& file) const {
    return none_ ? std::nullopt : std::optional(option_.read(input_name(file)));
}
