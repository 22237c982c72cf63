// derkit asn1: an outline of BER and DER.
#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "formats/asn1_outline.h"
#include "formats/named_oid.h"
#include "formats/pem.h"
#include "io/bytes.h"
#include "io/input.h"

namespace {

constexpr std::size_t USUAL_OCTETS = 64;
constexpr std::size_t FLUSH_SIZE = 16384; // of lines that wait

struct asn1_options_t {
    std::vector<std::string> files;
    std::string max_octets;
    oid_map_option_t oid_map;
    bool json = false;

    std::size_t parse_max_octets() const;
};

std::size_t asn1_options_t::parse_max_octets() const {
    if (max_octets.empty()) {
        return USUAL_OCTETS;
    }
    std::size_t count = 0;
    const char* const end = max_octets.data() + max_octets.size();
    const auto [stop, error] = std::from_chars(max_octets.data(), end, count);
    if (error != std::errc() || stop != end || count > ASN1_WINDOW) {
        throw usage_error_t("--max-octets: needs a number from 0 to " + std::to_string(ASN1_WINDOW));
    }
    return count;
}

bool is_printable(std::string_view octets) {
    return !octets.empty() && std::ranges::all_of(octets, [](char c) { return c >= 0x20 && c < 0x7F; });
}

// An element as it is shown, with no more octets of its value than are wanted.
struct shown_element_t {
    const asn1_element_t& element;
    std::optional<named_oid_t> oid;
    std::string_view octets;
    std::optional<std::string_view> text;
    bool is_cut;

    shown_element_t(const asn1_element_t& of, std::size_t max_octets)
        : element(of), octets(std::string_view(of.value.octets).substr(0, max_octets)), is_cut(of.is_cut) {
        is_cut = is_cut || octets.size() != of.value.octets.size();
        if (of.value.text.has_value()) {
            text = start_of_text(*of.value.text, max_octets);
            is_cut = is_cut || text->size() != of.value.text->size();
        }
        if (!of.value.oid.empty()) {
            oid = name_oid(make_blob(of.value.oid));
        }
    }

    // Whole characters of UTF-8.
    static std::string_view start_of_text(std::string_view text, std::size_t max_octets) {
        std::size_t size = std::min(text.size(), max_octets);
        while (size != 0 && size != text.size() && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) {
            --size;
        }
        return text.substr(0, size);
    }

    bool is_element() const { return element.kind != asn1_kind_t::UNREADABLE; }

    std::string type() const { return is_element() ? asn1_type_name(element.tag) : "unreadable"; }

    // Of elements with a tag instead of a type: what the octets are is not known.
    bool may_be_text() const {
        return element.kind == asn1_kind_t::ELEMENT && element.tag.tag_class != asn1_class_t::UNIVERSAL &&
               is_printable(octets);
    }
};

std::string quoted(std::string_view text) {
    return " \"" + shown_text_t::without_escapes(text).str() + "\"";
}

std::string value_line(const shown_element_t& shown) {
    const asn1_value_t& value = shown.element.value;
    std::string line;
    if (value.boolean.has_value()) {
        line += *value.boolean ? " true" : " false";
    }
    if (value.integer.has_value()) {
        line += " " + std::to_string(*value.integer);
    }
    if (shown.oid.has_value()) {
        line += " " + shown_text_t(describe(*shown.oid)).str();
    }
    if (!value.time.empty()) {
        line += " " + value.time;
    } else if (shown.text.has_value()) {
        line += quoted(*shown.text);
    }
    if (!shown.octets.empty()) {
        line += " " + to_hex(shown.octets);
    }
    if (shown.is_cut) {
        line += "...";
    }
    if (value.unused_bits.value_or(0) != 0) {
        line += " (" + std::to_string(*value.unused_bits) + " bits unused)";
    }
    if (shown.may_be_text()) {
        line += quoted(shown.octets);
    }
    return line;
}

std::string column(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

constexpr std::size_t OFFSET_WIDTH = 8;
constexpr std::size_t HEADER_WIDTH = 7;
constexpr std::size_t CONTENT_WIDTH = 9;
constexpr const char* HEADINGS = "  offset header  content\n";

// "       4      4      743    SEQUENCE", and a line for each breach.
std::string lines_of(const shown_element_t& shown) {
    const asn1_element_t& element = shown.element;
    const std::string size = element.content_size.has_value() ? std::to_string(*element.content_size) : "-";
    const std::string header = shown.is_element() ? std::to_string(element.header_size) : "-";
    const std::string indent = "  " + std::string(2 * std::size_t(element.depth), ' ');
    std::string lines = column(std::to_string(element.offset), OFFSET_WIDTH) + column(header, HEADER_WIDTH) +
                        column(size, CONTENT_WIDTH) + indent + shown.type() + value_line(shown);
    lines += element.encapsulates ? ", with DER inside\n" : "\n";
    for (const asn1_breach_t& breach : element.breaches) {
        lines += std::string(OFFSET_WIDTH + HEADER_WIDTH + CONTENT_WIDTH, ' ') + indent + "! " + breach.text + "\n";
    }
    return lines;
}

const char* class_name(asn1_class_t tag_class) {
    static constexpr const char* NAMES[] = {"universal", "application", "context", "private"};
    return NAMES[static_cast<unsigned int>(tag_class)];
}

void add_value(const shown_element_t& shown, record_t& record) {
    const asn1_value_t& value = shown.element.value;
    if (value.boolean.has_value()) {
        record.add("boolean", *value.boolean);
    }
    if (value.integer.has_value()) {
        record.add("integer", *value.integer);
    }
    add_named("oid_name", "oid", shown.oid, record);
    record.add_if("time", value.time);
    if (shown.text.has_value()) {
        record.add("text", shown_text_t::without_escapes(*shown.text));
    }
    if (value.unused_bits.has_value()) {
        record.add("unused_bits", *value.unused_bits);
    }
    if (!shown.octets.empty()) {
        record.add_bytes("octets", shown.octets);
    }
    if (shown.is_cut) {
        record.add("cut", true);
    }
}

void add_element(const shown_element_t& shown, record_t& record) {
    const asn1_element_t& element = shown.element;
    record.add("offset", static_cast<long long>(element.offset));
    record.add("depth", element.depth);
    if (shown.is_element()) {
        record.add("header_size", static_cast<unsigned int>(element.header_size));
    }
    if (element.content_size.has_value()) {
        record.add("content_size", static_cast<long long>(*element.content_size));
    }
    record.add("type", shown.type());
    if (shown.is_element()) {
        record.add("class", class_name(element.tag.tag_class));
        record.add("number", element.tag.number);
        record.add("constructed", element.tag.constructed);
    }
    if (element.encapsulates) {
        record.add("encapsulates", true);
    }
    add_value(shown, record);
    std::vector<shown_text_t> problems;
    for (const asn1_breach_t& breach : element.breaches) {
        problems.emplace_back(breach.text);
    }
    if (!problems.empty()) {
        record.add("problems", problems);
    }
}

// What is said of all breaches of one kind.
class breach_count_t {
  public:
    void add(const asn1_element_t& element, const asn1_breach_t& breach) {
        if (count_++ == 0) {
            first_ = "at offset " + std::to_string(element.offset) + ": " + breach.text;
        }
    }

    bool any() const { return count_ != 0; }

    // "at offset 13: X.690 10.1: ..., and 3 more".
    std::string text() const { return first_ + (count_ > 1 ? ", and " + std::to_string(count_ - 1) + " more" : ""); }

  private:
    unsigned long long count_ = 0;
    std::string first_;
};

class asn1_command_t {
  public:
    asn1_command_t(const asn1_options_t& options, console_t& console)
        : options_(options), console_(console), max_octets_(options.parse_max_octets()) {
        options.oid_map.load();
    }

    void run() {
        for_each_file(options_.files, console_, [this](const std::string& file) { run_file(file); });
        console_.progress().hide();
    }

  private:
    const asn1_options_t& options_;
    console_t& console_;
    const std::size_t max_octets_;
    std::string lines_;
    unsigned int num_elements_ = 0; // of the file

    void run_file(const std::string& file);
    void run_pem(input_stream_t& input, const std::string& name);
    void outline(octet_source_t& source, const place_t& place, const pem_block_t* block, const input_stream_t& input);
    void show(const asn1_element_t& element, const place_t& place, const pem_block_t* block);
    void flush();
};

// PEM if a block begins before anything that is no text.
bool looks_like_pem(input_stream_t& input) {
    constexpr std::string_view BEGIN = "-----BEGIN ";
    std::size_t seen = 0;
    for (std::string_view start = input.look(1); start.size() > seen && seen < ASN1_WINDOW;
         start = input.look(seen + 1)) {
        const auto* const binary = std::ranges::find_if(
            start, [](char c) { return (c >= 0 && c < 0x20 && (c < '\t' || c > '\r')) || c == 0x7F; });
        const std::string_view text = start.substr(0, static_cast<std::size_t>(binary - start.begin()));
        for (std::size_t place = text.find(BEGIN); place != std::string_view::npos;
             place = text.find(BEGIN, place + 1)) {
            if (place == 0 || text[place - 1] == '\n' || text[place - 1] == '\r' ||
                text.substr(0, place) == BYTE_ORDER_MARK) {
                return true;
            }
        }
        if (text.size() != start.size()) {
            return false;
        }
        seen = start.size();
    }
    return false;
}

void asn1_command_t::run_file(const std::string& file) {
    input_stream_t input(file);
    const std::string name = input_name(file);
    num_elements_ = 0;
    if (input.look(1).empty()) {
        throw failure_t(name, "is empty");
    }
    if (looks_like_pem(input)) {
        return run_pem(input, name);
    }
    file_source_t source(input);
    outline(source, {name, 1, name}, nullptr, input);
}

void asn1_command_t::run_pem(input_stream_t& input, const std::string& name) {
    pem_reader_t reader(input);
    const auto any_label = [](std::string_view) { return true; };
    take_pem_blocks(reader, any_label, [&](const pem_block_t& block, unsigned int number) {
        const place_t place = place_in_pem(name, block.label.c_str(), number, block.line);
        if (!block.problem.empty()) {
            console_.fail(place.subject, block.problem);
            return;
        }
        memory_source_t source(block.der);
        outline(source, place, &block, input);
    });
}

void asn1_command_t::outline(octet_source_t& source, const place_t& place, const pem_block_t* block,
                             const input_stream_t& input) {
    if (!options_.json) {
        console_.begin(record_t("asn1_element", place), block == nullptr);
        lines_ = HEADINGS;
    }
    breach_count_t of_ber;
    breach_count_t of_der;
    outline_asn1(source, [&](const asn1_element_t& element) {
        for (const asn1_breach_t& breach : element.breaches) {
            (breach.of == asn1_breach_of_t::BER ? of_ber : of_der).add(element, breach);
        }
        show(element, place, block);
        console_.progress().update([&] { return input.progress_text(num_elements_, "elements"); });
    });
    flush();
    if (of_der.any()) {
        console_.warn(place.subject, "is no DER " + of_der.text());
    }
    if (of_ber.any()) {
        console_.fail(place.subject, "is malformed " + of_ber.text());
    }
}

void asn1_command_t::show(const asn1_element_t& element, const place_t& place, const pem_block_t* block) {
    const shown_element_t shown(element, max_octets_);
    ++num_elements_;
    if (!options_.json) {
        lines_ += lines_of(shown);
    } else {
        record_t record("asn1_element", {place.file, num_elements_, place.subject});
        if (block != nullptr) {
            record.add("block", place.index);
            record.add("label", block->label);
        }
        add_element(shown, record);
        lines_ += record.json();
    }
    if (lines_.size() >= FLUSH_SIZE) {
        flush();
    }
}

void asn1_command_t::flush() {
    console_.put_bytes(lines_);
    lines_.clear();
}

} // namespace

void add_asn1_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("asn1", "Show every element of BER and DER, with what is wrong with it");
    const auto options = std::make_shared<asn1_options_t>();
    command.add_argument("FILE", options->files, "PEM, with any number of blocks, or any BER; - is standard input");
    command.add_option({"--max-octets", "N", "Octets shown of each value at most (64 unless given)"},
                       options->max_octets);
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer("Columns: offset, octets of the header, octets of the content, element. The content of an OCTET "
                       "STRING or BIT STRING is opened if it is one element in DER.\n"
                       "Examples:\n"
                       "  derkit asn1 server.pem\n"
                       "  derkit asn1 --json container.p12 | jq -r .oid_name");
    command.set_action([options, &console] { asn1_command_t(*options, console).run(); });
}
