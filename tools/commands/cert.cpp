// derkit cert: what certificates say.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "derkit/asn_printable.h"
#include "formats/certificate.h"
#include "formats/der.h"
#include "formats/name.h"
#include "formats/pem.h"
#include "io/bytes.h"
#include "io/input.h"

namespace {

struct cert_options_t {
    std::vector<std::string> files;
    order_option_t order;
    oid_map_option_t oid_map;
    t61_option_t t61;
    bool json = false;
    bool local = false;
    bool round_trip = false;
};

// Tells whether the name, in this order, goes from its shown text back to DER and from there to the same text and the
// same types. Types are compared as OIDs too: a map can give two of them one short name.
bool comes_back_from_text(const blob_t& name, const name_style_t& style) {
    const shown_text_t text = show_name(name, style).text;
    std::string der;
    if (!printable_to_asn_dn(text.str().c_str(), der, style.map)) {
        return false;
    }
    // The text was encoded in the order shown, so the way back keeps it.
    name_style_t way_back = style;
    way_back.order = PDN_ORDER_AS_ENCODED;
    const blob_t encoded = make_blob(der);
    if (show_name(encoded, way_back).text != text) {
        return false;
    }
    name_style_t without_map = style;
    without_map.map = way_back.map = oid_map_handle_t();
    return show_name(encoded, way_back).text == show_name(name, without_map).text;
}

bool comes_back_in_both_orders(const blob_t& name, name_style_t style) {
    style.order = PDN_ORDER_AS_ENCODED;
    const bool as_encoded = comes_back_from_text(name, style);
    style.order = PDN_ORDER_REVERSED;
    return as_encoded && comes_back_from_text(name, style);
}

class cert_command_t {
  public:
    cert_command_t(const cert_options_t& options, console_t& console)
        : options_(options),
          console_(console), style_{options.order.get(), options.oid_map.load(), options.t61.is_latin1()} {}

    void run();

  private:
    const cert_options_t& options_;
    console_t& console_;
    name_style_t style_;
    unsigned int num_names_ = 0;
    unsigned int num_failures_ = 0;

    void run_file(const std::string& file);
    bool run_der(input_stream_t& input, const std::string& file, std::string& problem);
    bool run_pem(input_stream_t& input, const std::string& file);
    void run_pem_block(const pem_block_t& block, const place_t& place);
    void show(const certificate_t& certificate, const place_t& place);
    void show_field(const char* field, const blob_t& name, const place_t& place, record_t& record);
    void show_counts();
};

void cert_command_t::run() {
    for_each_file(options_.files, console_, [this](const std::string& file) { run_file(file); });
    if (options_.round_trip) {
        show_counts();
    }
    console_.progress().hide();
}

// A file is DER if a certificate can be read from it. Anything else is searched for PEM, even if it starts like DER:
// the text around PEM blocks may start with any character.
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

// Returns false if there is no certificate, and says why.
bool cert_command_t::run_der(input_stream_t& input, const std::string& file, std::string& problem) {
    const std::string bytes(look_at_element(input, asn_tag_t::SEQUENCE));
    certificate_t certificate;
    if (!read_certificate(bytes, certificate, problem)) {
        return false;
    }
    const place_t place{file, 1, file};
    input.pass(bytes.size());
    warn_of_trailing(file, "certificate", certificate.trailing.size + input.pass_rest(), console_);
    show(certificate, place);
    return true;
}

// Returns false if the text has no PEM block at all.
bool cert_command_t::run_pem(input_stream_t& input, const std::string& file) {
    pem_reader_t reader(input);
    const auto take = [&](const pem_block_t& block, unsigned int number) {
        run_pem_block(block, place_in_pem(file, "certificate", number, block.line));
        console_.progress().update([&] { return input.progress_text(number, "certificates"); });
    };
    return take_pem_blocks(reader, is_certificate_label, take).any(file, "no certificate");
}

void cert_command_t::run_pem_block(const pem_block_t& block, const place_t& place) {
    certificate_t certificate;
    std::string problem = block.problem;
    if (!problem.empty() || !read_certificate(block.der, certificate, problem)) {
        console_.fail(place.subject, problem);
        return;
    }
    if (block.label != TRUSTED_LABEL) {
        warn_of_trailing(place.subject, "certificate", certificate.trailing.size, console_);
    }
    show(certificate, place);
}

void cert_command_t::show(const certificate_t& certificate, const place_t& place) {
    record_t record("certificate", place);
    show_field("subject", certificate.subject, place, record);
    show_field("issuer", certificate.issuer, place, record);
    for (const std::string& problem : add_certificate_facts(certificate, style_, options_.local, record)) {
        console_.fail(place.subject, problem);
    }
    warn_of_remarks(record, place.subject, console_);
    console_.put(record, options_.json);
}

void cert_command_t::show_field(const char* field, const blob_t& name, const place_t& place, record_t& record) {
    ++num_names_;
    add_name(field, name, style_, record);
    if (options_.round_trip && !comes_back_in_both_orders(name, style_)) {
        ++num_failures_;
        console_.fail(place.subject, std::string(field) + " does not come back from its text");
    }
}

void cert_command_t::show_counts() {
    record_t record("round_trips", {COMMAND_LINE, 1, "all names"});
    record.add("names", num_names_);
    record.add("round_trips", num_names_ - num_failures_);
    record.add("failures", num_failures_);
    console_.put(record, options_.json);
}

} // namespace

void add_cert_command(command_t& parent, console_t& console) {
    command_t command =
        parent.add_subcommand("cert", "Show certificates: names, validity, algorithms, keys, extensions");
    const auto options = std::make_shared<cert_options_t>();
    command.add_argument("FILE", options->files, "PEM, with any number of certificates, or DER; - is standard input");
    options->order.add_to(command);
    options->oid_map.add_to(command);
    options->t61.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.add_flag("--local", options->local, "Show the validity in local time too");
    command.add_flag(
        "--round-trip", options->round_trip,
        "Convert every name, in both orders, back to DER and print it again; count those whose text stays the same");
    command.set_footer("Problems are reported on standard error; everything else is still shown.\n"
                       "Examples:\n"
                       "  derkit cert server.pem\n"
                       "  derkit cert --json --order reversed bundle.pem | jq .subject");
    command.set_action([options, &console] { cert_command_t(*options, console).run(); });
}
