#include "commands/write_options.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>

#include <unistd.h>

namespace {

struct format_name_t {
    std::string_view name;
    gost::format format;
};

constexpr format_name_t FORMATS[] = {
    {"gost94", gost::format::gost94},
    {"native", gost::format::native},
    {"tc26", gost::format::tc26},
    {"rfc9548", gost::format::rfc9548},
    {"rfc9548-omac", gost::format::rfc9548_omac},
    {"aes", gost::format::aes},
};

// Nothing for names of another kind, as `derkit key convert` has them.
std::optional<gost::format> find_format(std::string_view name) {
    const auto* const found = std::find_if(std::begin(FORMATS), std::end(FORMATS),
                                           [name](const format_name_t& row) { return row.name == name; });
    return found != std::end(FORMATS) ? std::optional(found->format) : std::nullopt;
}

// Every reader of what is made has to afford them.
constexpr std::uint32_t MAX_ITERATIONS_TO_WRITE = 1'000'000;

std::uint32_t parse_iterations(const std::string& text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || number == 0 || number > MAX_ITERATIONS_TO_WRITE) {
        throw usage_error_t("--iterations: needs a number from 1 to " + std::to_string(MAX_ITERATIONS_TO_WRITE));
    }
    return number;
}

bool has_block_cipher(gost::format format) {
    return format == gost::format::rfc9548 || format == gost::format::rfc9548_omac;
}

} // namespace

void format_option_t::add_to(command_t& command, names_t choices, const char* description) {
    command.add_choice({"--to", "FORMAT", description}, to_, choices);
    command.add_choice({"--cipher", "CIPHER", "Of rfc9548 and rfc9548-omac: kuznyechik (the default) or magma"},
                       cipher_, {"kuznyechik", "magma"});
    command.add_choice({"--sections", "SECTIONS",
                        "Of the same formats, how often the key changes: standard (the default), or tls, as OpenSSL "
                        "reads it"},
                       sections_, {"standard", "tls"});
    command.add_option({"--iterations", "NUMBER", "Of the key derivation; 100001, or 2000 for gost94 and native"},
                       iterations_);
}

gost::write_options format_option_t::read(const gost::write_options& unless_chosen) const {
    gost::write_options options = unless_chosen;
    options.to = find_format(to_).value_or(options.to);
    if (!has_block_cipher(options.to) && !(cipher_.empty() && sections_.empty())) {
        throw usage_error_t(std::string(cipher_.empty() ? "--sections" : "--cipher") +
                            ": only for rfc9548 and rfc9548-omac");
    }
    if (!cipher_.empty()) {
        options.cipher = cipher_ == "magma" ? gost::block_cipher::magma : gost::block_cipher::kuznyechik;
    }
    if (!sections_.empty()) {
        options.sections = sections_ == "tls" ? gost::section::tls : gost::section::standard;
    }
    if (iterations_.has_value()) {
        options.iterations = parse_iterations(*iterations_);
    }
    if (options.to == gost::format::native && !gost::is_native_count(options.iterations)) {
        throw usage_error_t("--iterations: native has no numbers with a zero octet");
    }
    return options;
}

void key_shape_option_t::add_to(command_t& command) {
    command.add_choice(
        {"--pkcs8-form", "FORM", "How PKCS#8 holds a key: octets, string (in an OCTET STRING) or integer"}, form_,
        {"octets", "string", "integer"});
}

std::optional<gost::key_shape> key_shape_option_t::read() const {
    if (form_.empty()) {
        return std::nullopt;
    }
    if (form_ == "octets") {
        return gost::key_shape::octets;
    }
    return form_ == "string" ? gost::key_shape::octet_string : gost::key_shape::integer;
}

void output_option_t::add_to(command_t& command, const char* description) {
    command.add_option({"--out", "FILE", description}, file_);
    command.add_flag("--force", force_, "Overwrite a file that is there");
    command.require({"--out"});
}

std::string output_option_t::name() const {
    return is_stdout() ? "(standard output)" : file_;
}

destination_t output_option_t::destination() const {
    return {file_path_t(file_).directory, missing_directory_t::REFUSED,
            force_ ? overwriting_t::ALLOWED : overwriting_t::REFUSED};
}

void output_option_t::require_room(content_t content) const {
    if (file_.empty()) {
        throw usage_error_t("--out: names no file");
    }
    if (!is_stdout()) {
        require_room_for(destination(), {file_path_t(file_).name});
    } else if (content == content_t::BINARY && isatty(STDOUT_FILENO) != 0) {
        throw failure_t("--out", "the standard output is a terminal");
    }
}

void output_option_t::write(std::string_view bytes, console_t& console) const {
    if (is_stdout()) {
        return console.put_bytes(bytes);
    }
    file_set_t files(destination());
    files.add(file_path_t(file_).name, secrecy_t::SECRET, bytes);
    files.place(console);
    files.keep();
}
