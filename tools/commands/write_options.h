// Options of commands that make a container or an encrypted key: the format, and where it goes.
#ifndef DERKIT_TOOLS_COMMANDS_WRITE_OPTIONS_H
#define DERKIT_TOOLS_COMMANDS_WRITE_OPTIONS_H

#include <optional>
#include <string>
#include <string_view>

#include "commands/command_line.h"
#include "derkit/gost/limits.h"
#include "derkit/gost/private_key.h"
#include "formats/refusal.h"
#include "io/console.h"
#include "io/output.h"

// --to FORMAT, --cipher, --sections and --iterations.
class format_option_t {
  public:
    // `choices` are those of --to; `description` lists them.
    void add_to(command_t& command, names_t choices, const char* description);

    // The value of --to; empty without it.
    const std::string& to() const { return to_; }

    // Whether any option but --to was given.
    bool shapes_encryption() const { return !cipher_.empty() || !sections_.empty() || iterations_.has_value(); }

    // What the options choose; `unless_chosen` holds without them. Throws usage_error_t if they contradict each other.
    gost::write_options read(const gost::write_options& unless_chosen) const;

  private:
    std::string to_;
    std::string cipher_;
    std::string sections_;
    std::optional<std::string> iterations_;
};

// --pkcs8-form FORM.
class key_shape_option_t {
  public:
    void add_to(command_t& command);

    // Nothing without the option.
    std::optional<gost::key_shape> read() const;

  private:
    std::string form_;
};

// --out FILE and --force.
class output_option_t {
  public:
    enum class content_t { BINARY, TEXT };

    void add_to(command_t& command, const char* description);

    bool is_forced() const { return force_; }
    std::string name() const; // for messages

    // Checks that the output can be written, as far as this can be told before. Only text goes to a terminal. Throws
    // failure_t, and usage_error_t for an empty name.
    void require_room(content_t content = content_t::BINARY) const;

    // Readable only by its owner, and complete or not there. Throws failure_t.
    void write(std::string_view bytes, console_t& console) const;

  private:
    std::string file_;
    bool force_ = false;

    bool is_stdout() const { return file_ == "-"; }
    destination_t destination() const;
};

#endif
