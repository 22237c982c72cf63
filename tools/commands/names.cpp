// derkit names: every distinguished name in certificates, requests, CRLs and PKCS#7 or CMS files.
#include <memory>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "formats/der.h"
#include "formats/held_names.h"
#include "formats/name.h"
#include "formats/pem.h"
#include "io/input.h"

namespace {

struct names_options_t {
    std::vector<std::string> files;
    order_option_t order;
    oid_map_option_t oid_map;
    t61_option_t t61;
    bool json = false;
};

class names_command_t {
  public:
    names_command_t(const names_options_t& options, console_t& console)
        : options_(options),
          console_(console), style_{options.order.get(), options.oid_map.load(), options.t61.is_latin1()} {}

    void run();

  private:
    const names_options_t& options_;
    console_t& console_;
    name_style_t style_;
    std::string file_;           // as messages name it
    unsigned int num_names_ = 0; // in the present file

    void run_file(const std::string& file);
    bool run_pem(input_stream_t& input);
    std::string find(std::string_view der, const char* holder, const std::string& subject);
    void show(const char* holder, const std::string& where, const blob_t& name, const std::string& subject);
};

void names_command_t::run() {
    for_each_file(options_.files, console_, [this](const std::string& file) { run_file(file); });
    console_.progress().hide();
}

// Tries PEM first: no DER contains a line that begins a PEM block, but text may start like DER.
void names_command_t::run_file(const std::string& file) {
    file_ = input_name(file);
    num_names_ = 0;
    input_stream_t input(file);
    if (input.look(1).empty()) {
        throw failure_t(file_, "is empty");
    }
    const std::string bytes(look_at_element(input, asn_tag_t::SEQUENCE));
    if (run_pem(input)) {
        return;
    }
    const std::string_view element = first_element(bytes);
    const std::string problem = find(element, kind_of_holder(element), file_);
    if (!problem.empty()) {
        throw failure_t(file_, problem);
    }
    warn_of_trailing(file_, "object", input.num_read() - element.size(), console_);
}

// Returns false if the text has no PEM block at all.
bool names_command_t::run_pem(input_stream_t& input) {
    pem_reader_t reader(input);
    const auto take = [&](const pem_block_t& block, unsigned int number) {
        const char* const holder = kind_of_holder(block.der);
        const place_t place = place_in_pem(file_, *holder == '\0' ? "object" : holder, number, block.line);
        const std::string problem = block.problem.empty() ? find(block.der, holder, place.subject) : block.problem;
        if (!problem.empty()) {
            console_.fail(place.subject, problem);
        }
        console_.progress().update([&] { return input.progress_text(number, "objects"); });
    };
    return take_pem_blocks(reader, is_label_with_names, take).any(file_, "no certificate, request, CRL or PKCS#7 file");
}

// Returns what is wrong, or nothing.
std::string names_command_t::find(std::string_view der, const char* holder, const std::string& subject) {
    std::string problem;
    const auto take = [&](const std::string& where, const blob_t& name) { show(holder, where, name, subject); };
    find_names(der, take, problem);
    return problem;
}

void names_command_t::show(const char* holder, const std::string& where, const blob_t& name,
                           const std::string& subject) {
    const place_t place = {file_, ++num_names_, subject + ": " + where};
    record_t record("name", place);
    record.add("holder", holder);
    record.add("where", where);
    add_name("dn", name, style_, record);
    warn_of_remarks(record, place.subject, console_);
    console_.put(record, options_.json);
}

} // namespace

void add_names_command(command_t& parent, console_t& console) {
    command_t command =
        parent.add_subcommand("names", "Show every distinguished name in certificates, requests, CRLs and PKCS#7");
    const auto options = std::make_shared<names_options_t>();
    command.add_argument("FILE", options->files,
                         "Certificates, requests, CRLs, PKCS#7 or CMS files as PEM, any number of them, or DER; - is "
                         "standard input");
    options->order.add_to(command);
    options->oid_map.add_to(command);
    options->t61.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer(
        "where says where a name stands: subject, issuer, an extension, a signer or recipient. Nothing is "
        "validated.\n"
        "Examples:\n"
        "  derkit names chain.p7b\n"
        "  derkit names --json bundle.pem | jq -r .dn | sort -u");
    command.set_action([options, &console] { names_command_t(*options, console).run(); });
}
