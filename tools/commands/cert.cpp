// derkit cert: certificates at a glance.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands/certificate_facts.h"
#include "commands/commands.h"
#include "commands/oid_map_option.h"
#include "commands/printable_name.h"
#include "formats/certificate.h"
#include "formats/pem.h"
#include "io/bytes.h"
#include "io/console.h"
#include "io/input_file.h"
#include "io/input_stream.h"

namespace {

struct cert_options_t {
    std::vector<std::string> files;
    std::string order = "as-encoded";
    oid_map_option_t oid_map;
    bool json = false;
    bool local = false;
    bool round_trip = false;
};

class cert_command_t {
  public:
    cert_command_t(const cert_options_t& options, console_t& console)
        : options_(options), console_(console), map_(options.oid_map.load()),
          order_(options.order == "reversed" ? PDN_ORDER_REVERSED : PDN_ORDER_AS_ENCODED) {}

    void run();

  private:
    // Where a certificate stands: a file and, when it has several, which one.
    struct place_t {
        std::string file;
        unsigned int index = 1;
        std::string subject; // of messages
    };

    const cert_options_t& options_;
    console_t& console_;
    oid_map_handle_t map_;
    PrintableDnOrder order_;
    unsigned int num_names_ = 0;
    unsigned int num_failures_ = 0;

    void run_file(const std::string& file);
    bool run_der(input_stream_t& input, const std::string& file, std::string& problem);
    bool run_pem(input_stream_t& input, const std::string& file);
    void run_pem_block(const pem_block_t& block, const place_t& place);
    void warn_of_trailing(unsigned long long size, const place_t& place);
    void show(const certificate_t& certificate, const place_t& place);
    void show_field(const char* field, const blob_t& name, const place_t& place, record_t& record);
    void show_counts();
};

void cert_command_t::run() {
    for (const std::string& file : options_.files) {
        try {
            run_file(file);
        } catch (const failure_t& failure) {
            console_.fail(failure);
        }
    }
    if (options_.round_trip) {
        show_counts();
    }
    console_.progress().hide();
}

// A file is DER when a certificate can be read from it. Anything else is searched for PEM: text around it may start
// with any character, with the one that has the code of a SEQUENCE too.
void cert_command_t::run_file(const std::string& file) {
    input_stream_t input(file);
    const std::string name = input_name(file);
    const std::string_view start = input.look(1);
    if (start.empty()) {
        throw failure_t(name, "is empty");
    }
    const bool starts_like_der = start[0] == static_cast<char>(asn_tag_t::SEQUENCE);
    std::string problem = "neither PEM nor DER";
    const bool done = (starts_like_der && run_der(input, name, problem)) || run_pem(input, name);
    if (!done) {
        throw failure_t(name, problem);
    }
}

// Gives false when there is no certificate, and says why.
bool cert_command_t::run_der(input_stream_t& input, const std::string& file, std::string& problem) {
    const std::string bytes(look_at_element(input, asn_tag_t::SEQUENCE));
    certificate_t certificate;
    if (!read_certificate(bytes, certificate, problem)) {
        return false;
    }
    const place_t place{file, 1, file};
    input.pass(bytes.size());
    warn_of_trailing(certificate.trailing.size + pass_rest(input), place);
    show(certificate, place);
    return true;
}

// Gives false when the text has no PEM block at all.
bool cert_command_t::run_pem(input_stream_t& input, const std::string& file) {
    pem_reader_t reader(input);
    unsigned int num_certificates = 0;
    std::optional<std::string> other_label;
    while (const std::optional<pem_block_t> block = reader.next()) {
        if (!is_certificate_label(block->label)) {
            other_label = block->label;
            continue;
        }
        ++num_certificates;
        const std::string which = "certificate " + std::to_string(num_certificates);
        const std::string where = "line " + std::to_string(block->line);
        run_pem_block(*block, {file, num_certificates, file + ": " + which + " (" + where + ")"});
        console_.progress().update([&] { return progress_text(num_certificates, "certificates", input); });
    }
    if (num_certificates == 0 && other_label.has_value()) {
        throw failure_t(file, "holds no certificate, but " + *other_label);
    }
    return num_certificates != 0;
}

void cert_command_t::run_pem_block(const pem_block_t& block, const place_t& place) {
    certificate_t certificate;
    std::string problem = block.problem;
    if (!problem.empty() || !read_certificate(block.der, certificate, problem)) {
        console_.fail(place.subject, problem);
        return;
    }
    if (block.label != TRUSTED_LABEL) {
        warn_of_trailing(certificate.trailing.size, place);
    }
    show(certificate, place);
}

void cert_command_t::warn_of_trailing(unsigned long long size, const place_t& place) {
    if (size != 0) {
        console_.warn(place.subject, std::to_string(size) + " bytes behind the certificate are not looked at");
    }
}

void cert_command_t::show(const certificate_t& certificate, const place_t& place) {
    record_t record;
    if (options_.json) {
        record.add("file", shown_text_t(place.file));
        record.add("index", place.index);
    }
    show_field("subject", certificate.subject, place, record);
    show_field("issuer", certificate.issuer, place, record);
    for (const std::string& problem : add_certificate_facts(certificate, map_, options_.local, record)) {
        console_.fail(place.subject, problem);
    }
    const bool several_files = options_.files.size() > 1;
    console_.put(record, options_.json, several_files ? shown_text_t(place.file + ": ") : shown_text_t());
}

void cert_command_t::show_field(const char* field, const blob_t& name, const place_t& place, record_t& record) {
    ++num_names_;
    const std::optional<shown_text_t> text = show_name(name, order_, map_);
    const char* problem = nullptr;
    if (!text.has_value()) {
        problem = " is malformed or has text that its string type does not allow";
    } else {
        record.add(field, *text);
        if (options_.round_trip && !comes_back_from_text(name, map_)) {
            problem = " does not come back from its text";
        }
    }
    if (problem != nullptr) {
        ++num_failures_;
        console_.fail(place.subject, std::string(field) + problem);
    }
}

void cert_command_t::show_counts() {
    const unsigned int num_held = num_names_ - num_failures_;
    if (options_.json) {
        record_t record;
        record.add("names", num_names_);
        record.add("round_trips", num_held);
        record.add("failures", num_failures_);
        console_.put(record, true);
        return;
    }
    console_.put(shown_text_t(std::to_string(num_names_) + " names, " + std::to_string(num_held) +
                              " round trips hold, " + std::to_string(num_failures_) + " failures"));
}

} // namespace

void add_cert_command(CLI::App& app, console_t& console) {
    CLI::App& command = *app.add_subcommand("cert", "Show certificates: names, validity, algorithms, keys");
    const auto options = std::make_shared<cert_options_t>();
    command.add_option("FILE", options->files, "PEM, with any number of certificates, or DER; - is standard input")
        ->type_name("")
        ->required();
    command
        .add_option("--order", options->order,
                    "Order of the RDNs: as-encoded (the default) or reversed, as RFC 4514 has it")
        ->check(CLI::IsMember({"as-encoded", "reversed"}))
        ->type_name("ORDER");
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.add_flag("--local", options->local, "Show the validity in local time too");
    command.add_flag(
        "--round-trip", options->round_trip,
        "Take every name, in both orders, back to DER and print it again; count how often the text stays the same");
    command.footer("What cannot be used is reported on standard error; the rest is shown all the same.\n"
                   "Examples:\n"
                   "  derkit cert server.pem\n"
                   "  derkit cert --json --order reversed bundle.pem | jq .subject");
    command.callback([options, &console] { cert_command_t(*options, console).run(); });
}
