// Places that a password comes from. Never an argument: the list of processes shows those.
//
// An empty line is the empty password; a file without even that has none. All throw failure_t.
#ifndef DERKIT_TOOLS_IO_PASSWORD_H
#define DERKIT_TOOLS_IO_PASSWORD_H

#include <string>

#include "io/secret.h"

// The first line of a file.
secret_t read_password_from_file(const std::string& file);

// Throws failure_t if the file cannot be read.
void require_readable(const std::string& file);

// Throws failure_t if the environment has no such variable.
void require_variable(const std::string& name);

// The value of a variable of the environment.
secret_t read_password_from_variable(const std::string& name);

// The first line of the standard input.
secret_t read_password_from_stdin();

// Asks at the terminal, without echo.
secret_t ask_for_password(const std::string& what_for);

#endif
