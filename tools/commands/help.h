// The text of --help.
#ifndef DERKIT_TOOLS_COMMANDS_HELP_H
#define DERKIT_TOOLS_COMMANDS_HELP_H

namespace CLI { // NOLINT(readability-identifier-naming): that library's name
class App;
}

// Lays out the help of the application and of the subcommands that are added to it afterwards: options in one column,
// what they do in another, no line longer than a terminal is wide. Lines of a footer that begin with a blank are
// examples and stay as they are.
void set_help_layout(CLI::App& app);

#endif
