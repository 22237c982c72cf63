// derkit: the library from the command line.
//
// Exit status: 0 if everything was shown or written, 1 if something could not be read or the output not be written, 2
// for an invalid command line.
#include <cerrno>
#include <new>
#include <stdexcept>

#include "commands/command_line.h"
#include "commands/commands.h"
#include "io/console.h"
#include "io/held_signals.h"
#include "io/process.h"

namespace {

constexpr int EXIT_OK = 0;
constexpr int EXIT_FAILED = 1;
constexpr int EXIT_USAGE = 2;

#ifdef DERKIT_WITH_GOST
void add_p12_command(command_t& derkit, console_t& console) {
    command_t p12 = derkit.add_subcommand("p12", "Show, extract, make and convert PKCS#12 containers");
    add_p12_show(p12, console);
    add_p12_extract(p12, console);
    add_p12_make(p12, console);
    add_p12_convert(p12, console);
    add_p12_password(p12, console);
    p12.set_footer("derkit p12 SUBCOMMAND --help describes one of them.");
    p12.require_subcommand("a subcommand of p12 is required");
}
#endif

void add_commands(command_t& derkit, console_t& console) {
    derkit.set_footer("derkit SUBCOMMAND --help describes one of them, man derkit-SUBCOMMAND fully.\n"
                      "Examples:\n"
                      "  derkit cert /etc/ssl/certs/ca-certificates.crt\n"
                      "  derkit dn --hex 'CN=user1,O=Example,C=RU'");
    derkit.require_subcommand("a subcommand is required");
    add_cert_command(derkit, console);
    add_spki_command(derkit, console);
    add_names_command(derkit, console);
    add_dn_command(derkit, console);
    add_oid_command(derkit, console);
    add_alg_command(derkit, console);
    add_asn1_command(derkit, console);
    add_time_command(derkit, console);
#ifdef DERKIT_WITH_GOST
    add_key_command(derkit, console);
    add_p12_command(derkit, console);
#else
    derkit.add_missing_subcommand("key", "Private keys: not in this build, which is without the GOST library");
    derkit.add_missing_subcommand("p12", "PKCS#12 containers: not in this build, which is without the GOST library");
#endif
}

void add_color_option(command_t& derkit, console_t& console) {
    const auto set = [&console](const std::string& when) {
        console.set_colors(when == "always"  ? colors_t::ALWAYS
                           : when == "never" ? colors_t::NEVER
                                             : colors_t::AUTOMATIC);
    };
    derkit.add_choice_everywhere(
        {"--color", "WHEN",
         "Colour headings and warnings: auto (the default; on a terminal, unless NO_COLOR is set), always or never"},
        set, {"auto", "always", "never"});
}

int run(int argc, char** argv, console_t& console) {
    command_line_t command_line("derkit", "derkit " DERKIT_VERSION,
                                "Shows certificates, names, keys and PKCS#12 containers, and makes containers");
    command_t derkit = command_line.root();
    add_commands(derkit, console);
    add_color_option(derkit, console);
    try {
        if (const std::optional<std::string> text = command_line.run(argc, argv)) {
            console.put_bytes(*text);
        }
        console.finish();
    } catch (const usage_error_t& error) {
        console.fail("usage", error.what() + std::string(" (see --help)"));
        return EXIT_USAGE;
    }
    return console.failed() ? EXIT_FAILED : EXIT_OK;
}

} // namespace

int main(int argc, char** argv) {
    console_t console;
    try {
        prepare_process();
        return run(argc, argv, console);
    } catch (const failure_t& failure) {
        console.fail(failure);
    } catch (const interrupted_t&) {
        // Whoever sent the signal knows.
    } catch (const output_error_t& error) {
        // The reader of the pipe wants no more: no reason to complain.
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
