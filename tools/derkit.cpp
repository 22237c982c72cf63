// derkit: the library from the command line.
//
// Exit status: 0 when all went well, 1 when an input could not be used or the output not be written, 2 for a command
// line that makes no sense.
#include <cerrno>
#include <csignal>
#include <new>
#include <sstream>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "commands/commands.h"
#include "commands/help.h"
#include "io/console.h"

namespace {

constexpr int EXIT_OK = 0;
constexpr int EXIT_FAILED = 1;
constexpr int EXIT_USAGE = 2;

// --help and --version end the parsing like errors do, with a code of their own.
int end_of_parsing(const CLI::App& app, const CLI::ParseError& end, console_t& console) {
    if (end.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
        console.fail("usage", end.what() + std::string(" (see --help)"));
        return EXIT_USAGE;
    }
    std::ostringstream text;
    app.exit(end, text);
    console.put_bytes(text.str());
    return EXIT_OK;
}

int run(int argc, char** argv, console_t& console) {
    CLI::App app("Shows certificates, names, keys and PKCS#12 containers, and makes containers", "derkit");
    set_help_layout(app);
    app.set_version_flag("--version", "derkit " DERKIT_VERSION, "Show the version");
    app.footer("derkit SUBCOMMAND --help tells more of one of them, man derkit of all.\n"
               "Examples:\n"
               "  derkit cert /etc/ssl/certs/ca-certificates.crt\n"
               "  derkit dn --hex 'CN=user1,O=Example,C=RU'");
    app.require_subcommand(0, 1); // none is told apart from an unknown one below
    add_cert_command(app, console);
    add_spki_command(app, console);
    add_dn_command(app, console);
    add_oid_command(app, console);
    add_alg_command(app, console);
    add_time_command(app, console);
#ifdef DERKIT_WITH_GCRYPT
    add_key_command(app, console);
    add_p12_command(app, console);
#endif
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        return end_of_parsing(app, end, console);
    }
    if (app.get_subcommands().empty()) {
        console.fail("usage", "a subcommand is required (see --help)");
        return EXIT_USAGE;
    }
    return console.failed() ? EXIT_FAILED : EXIT_OK;
}

} // namespace

int main(int argc, char** argv) {
    // A closed pipe is to be an error of writing like any other.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    console_t console;
    try {
        return run(argc, argv, console);
    } catch (const failure_t& failure) {
        console.fail(failure);
    } catch (const output_error_t& error) {
        // Whoever closed the pipe wants no more, which is nothing to complain about.
        if (error.code().value() != EPIPE) {
            console.fail("standard output", error.code().message());
        }
    } catch (const std::bad_alloc&) {
        console.fail("memory", "not enough of it");
    } catch (const std::runtime_error& error) {
        console.fail("system", error.what());
    }
    return EXIT_FAILED;
}
