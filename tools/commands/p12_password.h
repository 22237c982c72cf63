// The password of a container.
#ifndef DERKIT_TOOLS_COMMANDS_P12_PASSWORD_H
#define DERKIT_TOOLS_COMMANDS_P12_PASSWORD_H

#include <optional>
#include <string>

#include "commands/password_option.h"
#include "io/secret.h"

// A usage error when both the password and the file are to come from the standard input.
void require_free_stdin(const password_option_t& password, const std::string& file);

// The options of every password, and --no-password: some programs write containers without any, which is not the same
// as with an empty one.
class p12_password_t {
  public:
    void add_to(CLI::App& command);

    // Whether one of the options was given.
    bool given() const { return none_ || option_.given(); }

    // To be called before the file is read.
    void check(const std::string& file) const { require_free_stdin(option_, file); }

    // Nothing under --no-password. Asks at the terminal when no option was given. Throws failure_t.
    std::optional<secret_t> read(const std::string& file) const;

  private:
    password_option_t option_;
    bool none_ = false;
};

#endif
