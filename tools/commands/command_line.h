// The command line: subcommands, their options and their help.
//
// Commands need not include the library that parses, which is slow to compile.
#ifndef DERKIT_TOOLS_COMMANDS_COMMAND_LINE_H
#define DERKIT_TOOLS_COMMANDS_COMMAND_LINE_H

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI { // NOLINT(readability-identifier-naming): that library's name
class App;
}

// An invalid command line. Actions may throw it too.
struct usage_error_t : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "--order ORDER" and what the help says of it.
struct option_text_t {
    const char* name;
    const char* type;
    const char* description;
};

using names_t = std::initializer_list<const char*>;

// A subcommand that is being declared. The help lists options in the order in which they are added. Values are set when
// the command line has been parsed, just before the action runs; they must live until then.
class command_t {
  public:
    explicit command_t(CLI::App& app) : app_(app) {}

    command_t add_subcommand(const char* name, const char* description);

    // For a command with arguments and an action of its own, which are for command lines without this subcommand. Its
    // name must come first.
    command_t add_subcommand_beside_arguments(const char* name, const char* description);

    // A subcommand that other builds have: with whatever arguments, it fails with its name and the description.
    void add_missing_subcommand(const char* name, const char* description);

    // Required; one or, in a list, at least one.
    void add_argument(const char* name, std::string& value, const char* description);
    void add_argument(const char* name, std::vector<std::string>& values, const char* description);

    void add_flag(const char* name, bool& value, const char* description);
    void add_option(const option_text_t& text, std::string& value);
    void add_option(const option_text_t& text, std::optional<std::string>& value);
    void add_option(const option_text_t& text, std::vector<std::string>& values); // repeatable
    void add_choice(const option_text_t& text, std::string& value, names_t choices);

    // This command and all that were added below it have the option. `set` is called before any action.
    void add_choice_everywhere(const option_text_t& text, const std::function<void(const std::string&)>& set,
                               names_t choices);

    // Options that were added before.
    void require(names_t names);
    void exclude(const char* name, names_t others); // none of the others beside it
    void group(const char* heading, names_t names); // in the help

    // Lines that begin with a blank are examples and are not wrapped.
    void set_footer(const char* text);

    // Instead of an action: a subcommand must follow. `problem` says so.
    void require_subcommand(const char* problem);

    void set_action(std::function<void()> action);

  private:
    CLI::App& app_;
};

class command_line_t {
  public:
    command_line_t(const char* name, const char* version, const char* description);
    ~command_line_t();
    command_line_t(const command_line_t&) = delete;
    command_line_t& operator=(const command_line_t&) = delete;

    command_t root();

    // Parses the arguments and runs the action of the subcommand; for --help and --version returns their text instead.
    // Throws usage_error_t and what the action throws.
    std::optional<std::string> run(int argc, char** argv);

  private:
    std::unique_ptr<CLI::App> app_;
};

#endif
