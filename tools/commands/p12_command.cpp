// derkit p12: PKCS#12 containers of GOST keys and certificates.
#include <CLI/CLI.hpp>

#include "commands/commands.h"
#include "commands/p12_subcommands.h"

void add_p12_command(CLI::App& app, console_t& console) {
    CLI::App& command = *app.add_subcommand("p12", "Show, extract and make PKCS#12 containers of GOST keys");
    command.require_subcommand(0, 1); // none is told apart from an unknown one below
    add_p12_show(command, console);
    add_p12_extract(command, console);
    add_p12_make(command, console);
    command.footer("derkit p12 SUBCOMMAND --help tells of one of them.");
    command.callback([&command] {
        if (command.get_subcommands().empty()) {
            throw CLI::RequiredError("a subcommand of p12");
        }
    });
}
