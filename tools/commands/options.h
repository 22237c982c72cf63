// Options that several commands have.
#ifndef DERKIT_TOOLS_COMMANDS_OPTIONS_H
#define DERKIT_TOOLS_COMMANDS_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "derkit/asn_oidmap.h"
#include "derkit/asn_printable.h"
#include "io/secret.h"

// --oid-map FILE, the same for every command that names OIDs.
class oid_map_option_t {
  public:
    void add_to(command_t& command);

    // Without the option: the built-in names and those of the system's qaroids.cfg. With it: the built-in names and
    // those of the files instead, the earlier file first; on a clash the earlier name wins, as it does with
    // qaroids.cfg. Call it once. Throws failure_t.
    oid_map_handle_t load() const;

  private:
    std::vector<std::string> files_;
};

// --order ORDER, for commands that show names.
class order_option_t {
  public:
    void add_to(command_t& command);
    PrintableDnOrder get() const { return order_ == "reversed" ? PDN_ORDER_REVERSED : PDN_ORDER_AS_ENCODED; }

  private:
    std::string order_ = "as-encoded";
};

// --t61 CHARACTERS, for commands that show names.
class t61_option_t {
  public:
    void add_to(command_t& command);
    bool is_latin1() const { return characters_ == "latin1"; }

  private:
    std::string characters_ = "t61";
};

// --password-file FILE, --password-env VARIABLE, --password-stdin and --password-ask; at most one of them. For a new
// password: --new-password-file and so on.
class password_option_t {
  public:
    enum class kind_t { EXISTING, NEW };

    explicit password_option_t(kind_t kind = kind_t::EXISTING) : kind_(kind) {}

    void add_to(command_t& command);

    // Whether one of the options was given.
    bool given() const { return file_.has_value() || variable_.has_value() || on_stdin_ || ask_; }

    // Whether to prompt for the password at the terminal.
    bool asks() const { return ask_ || !given(); }

    // Whether the password is read from the standard input, which can be read only once.
    bool takes_stdin() const { return on_stdin_; }

    // Throws usage_error_t if both the password and the file would be read from the standard input.
    void require_free_stdin(const std::string& file) const;

    // Checks that the file or the variable is there, before anything is asked for. Throws failure_t.
    void require_source() const;

    // Prompts at the terminal if no option was given. Throws failure_t if there is no password.
    secret_t read(const std::string& what_for) const;

    // The same for a password to encrypt with: prompts twice, since a typing error would lock the data away.
    secret_t read_for_new(const std::string& what_for) const;

  private:
    kind_t kind_;
    std::optional<std::string> file_;
    std::optional<std::string> variable_;
    bool on_stdin_ = false;
    bool ask_ = false;

    std::string name(const char* source) const;
    void require_file_name() const;
};

// As above, and --no-password: some programs write containers without any password, which is not the same as with an
// empty one.
class container_password_option_t {
  public:
    void add_to(command_t& command);
    bool given() const { return none_ || option_.given(); }
    void require_free_stdin(const std::string& file) const { option_.require_free_stdin(file); }

    // Nothing under --no-password.
    std::optional<secret_t> read(const std::string& file) const;

  private:
    password_option_t option_;
    bool none_ = false;
};

#endif
