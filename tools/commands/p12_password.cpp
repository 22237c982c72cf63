#include "commands/p12_password.h"

#include <CLI/CLI.hpp>

#include "io/input_file.h"

void p12_password_t::add_to(CLI::App& command) {
    option_.add_to(command);
    CLI::Option* const none = command.add_flag(
        "--no-password", none_, "The container was made without any password, which is not the same as an empty one");
    none->group(command.get_option("--password-ask")->get_group());
    for (const char* const other : {"--password-file", "--password-env", "--password-stdin", "--password-ask"}) {
        none->excludes(command.get_option(other));
    }
}

std::optional<secret_t> p12_password_t::read(const std::string& file) const {
    if (none_) {
        return std::nullopt;
    }
    return option_.read_or_ask(input_name(file));
}

void require_free_stdin(const password_option_t& password, const std::string& file) {
    if (password.takes_stdin() && file == "-") {
        throw CLI::ValidationError("--password-stdin", "the standard input holds the file already");
    }
}
