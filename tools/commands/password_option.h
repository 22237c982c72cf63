// Where a password comes from. Never from an argument: the list of processes shows those.
#ifndef DERKIT_TOOLS_COMMANDS_PASSWORD_OPTION_H
#define DERKIT_TOOLS_COMMANDS_PASSWORD_OPTION_H

#include <optional>
#include <string>

#include "io/secret.h"

namespace CLI { // NOLINT(readability-identifier-naming): that library's name
class App;
}

// --password-file F (its first line), --password-env VAR, --password-stdin (its first line), --password-ask (at the
// terminal, without echo); at most one of them. An empty password and no password are two things: an empty line is the
// empty password, and a file without even that has none.
class password_option_t {
  public:
    void add_to(CLI::App& command);

    // Whether one of the options was given.
    bool given() const { return source_ != source_t::NONE; }

    // Whether the password takes the standard input, which can be read only once.
    bool takes_stdin() const { return source_ == source_t::ON_STDIN; }

    // The password of the option that was given; nothing when none was. Throws failure_t when it cannot be had.
    std::optional<secret_t> read(const std::string& what_for) const;

    // As above, and asks at the terminal when no option was given; failure_t when there is no terminal.
    secret_t read_or_ask(const std::string& what_for) const;

  private:
    enum class source_t { NONE, IN_FILE, IN_VARIABLE, ON_STDIN, AT_TERMINAL };

    source_t source_ = source_t::NONE;
    std::string name_; // of the file or the variable
};

#endif
