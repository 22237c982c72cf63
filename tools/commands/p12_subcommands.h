// The subcommands of `derkit p12`.
#ifndef DERKIT_TOOLS_COMMANDS_P12_SUBCOMMANDS_H
#define DERKIT_TOOLS_COMMANDS_P12_SUBCOMMANDS_H

namespace CLI {
class App;
}
class console_t;

void add_p12_show(CLI::App& p12, console_t& console);
void add_p12_extract(CLI::App& p12, console_t& console);
void add_p12_make(CLI::App& p12, console_t& console);

#endif
