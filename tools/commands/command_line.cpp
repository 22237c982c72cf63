#include "commands/command_line.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

#include "commands/hint.h"

namespace {

constexpr std::size_t WIDTH = 80;
constexpr std::size_t OPTION_WIDTH = 26;

// Breaks the text into lines of at most WIDTH columns. All but the first are indented: other text of that width
// precedes the first.
std::string wrap(const std::string& text, std::size_t indent) {
    std::istringstream words(text);
    std::string wrapped;
    std::size_t column = indent;
    for (std::string word; words >> word;) {
        if (column != indent && column + 1 + word.size() > WIDTH) {
            wrapped += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column != indent) {
            wrapped += ' ';
            ++column;
        }
        wrapped += word;
        column += word.size();
    }
    return wrapped + "\n";
}

// "  OPTION                  what it does".
std::string make_row(const std::string& left, const std::string& right) {
    std::string row = "  " + left;
    if (row.size() + 2 > OPTION_WIDTH) {
        row += "\n";
        row.append(OPTION_WIDTH, ' ');
    } else {
        row.resize(OPTION_WIDTH, ' ');
    }
    return row + wrap(right, OPTION_WIDTH);
}

// Lays the help out in two columns, options and what they do, no wider than a terminal.
class help_formatter_t final : public CLI::Formatter {
  public:
    help_formatter_t() { label("Positionals", "Arguments"); }

    // Without blank lines in a row or at the end.
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        std::string help = CLI::Formatter::make_help(app, name, mode);
        for (std::size_t place; (place = help.find("\n\n\n")) != std::string::npos;) {
            help.erase(place, 1);
        }
        help.resize(help.find_last_not_of('\n') + 1);
        return help + "\n";
    }

    std::string make_option(const CLI::Option* option, bool is_positional) const override {
        std::string name = make_option_name(option, is_positional);
        if (const std::size_t comma = name.find(','); comma != std::string::npos) {
            name.insert(comma + 1, " ");
        }
        const bool say_required = option->get_required() && !is_positional;
        return make_row(name + make_option_opts(option),
                        option->get_description() + (say_required ? " (required)" : ""));
    }

    // The type of the value without the values allowed, which the description names.
    std::string make_option_opts(const CLI::Option* option) const override {
        const std::string type = option->get_type_name();
        const bool takes_value = option->get_type_size() != 0 && !type.empty();
        return takes_value ? " " + type.substr(0, type.find(':')) : "";
    }

    std::string make_subcommand(const CLI::App* command) const override {
        return make_row(command->get_name(), command->get_description());
    }

    std::string make_footer(const CLI::App* app) const override {
        std::istringstream lines(app->get_footer());
        std::string footer;
        for (std::string line; std::getline(lines, line);) {
            footer += line.starts_with(' ') ? line + "\n" : wrap(line, 0);
        }
        return footer;
    }
};

// "--json", for an option of the command.
std::vector<std::string> option_names(CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::vector<std::string> subcommand_names(CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

bool has_option(CLI::App& app, const std::string& name) {
    return app.get_option_no_throw(name) != nullptr;
}

// Why an argument that the command does not have is none, or what it was meant to be; "" if nobody knows.
std::string explain(CLI::App& app, const std::string& argument) {
    if (!argument.starts_with('-')) {
        return did_you_mean(near_names(argument, subcommand_names(app)));
    }
    const std::string name = argument.substr(0, argument.find('='));
    if ((name == "--password" || name == "--new-password") && has_option(app, name + "-file")) {
        return "; a password is never an argument, which other users can see in the list of processes: use " + name +
               "-file, " + name + "-env, " + name + "-stdin or " + name + "-ask";
    }
    const std::vector<CLI::App*> commands = app.get_subcommands([](const CLI::App*) { return true; });
    if (std::ranges::any_of(commands, [&name](CLI::App* command) { return has_option(*command, name); })) {
        return "; options of a subcommand come after its name";
    }
    return did_you_mean(near_names(name, option_names(app)));
}

// An argument that no command takes, and what explain() says of it.
struct surplus_t {
    std::string argument;
    std::string explanation;
};

// The first one with an explanation, since values of an unknown option are arguments too.
std::optional<surplus_t> explained_surplus(CLI::App& app) {
    for (const std::string& argument : app.remaining()) {
        if (std::string text = explain(app, argument); !text.empty()) {
            return surplus_t{argument.substr(0, argument.find('=')), text};
        }
    }
    const std::vector<CLI::App*> parsed = app.get_subcommands();
    return parsed.empty() ? std::nullopt : explained_surplus(*parsed.back());
}

} // namespace

command_t command_t::add_subcommand(const char* name, const char* description) {
    return command_t(*app_.add_subcommand(name, description));
}

// CLI11 would take the name of the subcommand for an argument that is required, so the command checks that itself.
command_t command_t::add_subcommand_beside_arguments(const char* name, const char* description) {
    std::vector<CLI::Option*> required = app_.get_options([](CLI::Option* option) { return option->get_required(); });
    for (CLI::Option* const option : required) {
        option->required(false);
    }
    app_.parse_complete_callback([&app = app_, required] {
        for (const CLI::Option* const option : required) {
            if (app.get_subcommands().empty() && option->count() == 0) {
                throw CLI::RequiredError(option->get_name());
            }
        }
    });
    CLI::App& added = *app_.add_subcommand(name, description);
    added.preparse_callback([&app = app_, problem = std::string(name) + ": must come first"](std::size_t) {
        if (std::ranges::any_of(app.get_options(), [](const CLI::Option* option) { return option->count() != 0; })) {
            throw usage_error_t(problem);
        }
    });
    return command_t(added);
}

void command_t::add_missing_subcommand(const char* name, const char* description) {
    CLI::App& missing = *app_.add_subcommand(name, description);
    missing.set_help_flag(); // is an argument like any other
    missing.allow_extras();
    missing.callback([problem = std::string(name) + ": " + description] { throw usage_error_t(problem); });
}

void command_t::add_argument(const char* name, std::string& value, const char* description) {
    app_.add_option(name, value, description)->type_name("")->required();
}

void command_t::add_argument(const char* name, std::vector<std::string>& values, const char* description) {
    app_.add_option(name, values, description)->type_name("")->required();
}

void command_t::add_flag(const char* name, bool& value, const char* description) {
    app_.add_flag(name, value, description);
}

void command_t::add_option(const option_text_t& text, std::string& value) {
    app_.add_option(text.name, value, text.description)->type_name(text.type);
}

void command_t::add_option(const option_text_t& text, std::optional<std::string>& value) {
    const auto set = [&value](const std::string& given) { value = given; };
    app_.add_option_function<std::string>(text.name, set, text.description)->type_name(text.type);
}

// One value for each --name: what follows it is an argument.
void command_t::add_option(const option_text_t& text, std::vector<std::string>& values) {
    app_.add_option(text.name, values, text.description)->type_name(text.type)->allow_extra_args(false);
}

void command_t::add_choice(const option_text_t& text, std::string& value, names_t choices) {
    app_.add_option(text.name, value, text.description)
        ->check(CLI::IsMember(std::vector<std::string>(choices.begin(), choices.end())))
        ->type_name(text.type);
}

// A subcommand that is missing takes any argument, and has no help.
void command_t::add_choice_everywhere(const option_text_t& text, const std::function<void(const std::string&)>& set,
                                      names_t choices) {
    for (CLI::App* const command :
         app_.get_subcommands([](const CLI::App* each) { return each->get_help_ptr() != nullptr; })) {
        command_t(*command).add_choice_everywhere(text, set, choices);
    }
    app_.add_option_function<std::string>(text.name, set, text.description)
        ->check(CLI::IsMember(std::vector<std::string>(choices.begin(), choices.end())))
        ->type_name(text.type);
}

void command_t::require(names_t names) {
    for (const char* const name : names) {
        app_.get_option(name)->required();
    }
}

void command_t::exclude(const char* name, names_t others) {
    for (const char* const other : others) {
        app_.get_option(name)->excludes(app_.get_option(other));
    }
}

void command_t::group(const char* heading, names_t names) {
    for (const char* const name : names) {
        app_.get_option(name)->group(heading);
    }
}

void command_t::set_footer(const char* text) {
    app_.footer(text);
}

// CLI11 would not tell a missing subcommand from an unknown one if it required one itself.
void command_t::require_subcommand(const char* problem) {
    app_.require_subcommand(0, 1);
    app_.callback([this_app = &app_, problem] {
        if (this_app->get_subcommands().empty()) {
            throw usage_error_t(problem);
        }
    });
}

void command_t::set_action(std::function<void()> action) {
    app_.callback([&app = app_, act = std::move(action)] {
        if (app.get_subcommands().empty()) {
            act();
        }
    });
}

command_line_t::command_line_t(const char* name, const char* version, const char* description)
    : app_(std::make_unique<CLI::App>(description, name)) {
    app_->formatter(std::make_shared<help_formatter_t>());
    app_->set_help_flag("-h,--help", "Show this help");
    app_->set_version_flag("--version", version, "Show the version");
}

command_line_t::~command_line_t() = default;

command_t command_line_t::root() {
    return command_t(*app_);
}

std::optional<std::string> command_line_t::run(int argc, char** argv) {
    try {
        app_->parse(argc, argv);
    } catch (const CLI::Success& end) { // --help and --version
        std::ostringstream text;
        app_->exit(end, text);
        return text.str();
    } catch (const CLI::ParseError& error) {
        // Also where something is missing: it may be what was mistyped.
        if (const std::optional<surplus_t> surplus = explained_surplus(*app_)) {
            throw usage_error_t("The following argument was not expected: " + surplus->argument + surplus->explanation);
        }
        throw usage_error_t(error.what());
    }
    return std::nullopt;
}
