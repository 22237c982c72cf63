#include "commands/help.h"

#include <memory>
#include <sstream>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

namespace {

constexpr std::size_t WIDTH = 80;
constexpr std::size_t OPTION_WIDTH = 26;

// The text in lines of at most WIDTH columns, all but the first behind `indent` blanks. The first line has that much
// in front of it already.
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

class help_formatter_t final : public CLI::Formatter {
  public:
    help_formatter_t() { label("Positionals", "Arguments"); }

    // No two blank lines, and none at the end.
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
        const bool must_be_said = option->get_required() && !is_positional;
        return make_row(name + make_option_opts(option),
                        option->get_description() + (must_be_said ? " (required)" : ""));
    }

    // What an option takes, without what it has been checked for: that is said in its description.
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

} // namespace

void set_help_layout(CLI::App& app) {
    app.formatter(std::make_shared<help_formatter_t>());
    app.set_help_flag("-h,--help", "Show this help");
}
