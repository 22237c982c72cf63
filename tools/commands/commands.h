// The subcommands. Each adds itself with its options to the application and does its work when the command line has
// been parsed.
#ifndef DERKIT_TOOLS_COMMANDS_COMMANDS_H
#define DERKIT_TOOLS_COMMANDS_COMMANDS_H

namespace CLI {
class App;
}
class console_t;

void add_alg_command(CLI::App& app, console_t& console);
void add_cert_command(CLI::App& app, console_t& console);
void add_dn_command(CLI::App& app, console_t& console);
void add_key_command(CLI::App& app, console_t& console); // with libgcrypt only
void add_oid_command(CLI::App& app, console_t& console);
void add_p12_command(CLI::App& app, console_t& console); // with libgcrypt only
void add_spki_command(CLI::App& app, console_t& console);
void add_time_command(CLI::App& app, console_t& console);

#endif
