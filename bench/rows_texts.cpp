// Texts: T.61 to UTF-8, hexadecimal digits, certificate times.
#include "der.h"
#include "derkit/int2str.h"
#include "derkit/t61.h"
#include "row.h"
#include "texts.h"

namespace {

struct t61_work_t {
    std::string utf8;
    void operator()(const t61_text_t& text) {
        utf8.clear();
        ldap_t61s_to_utf8s(text.t61.data(), size32(text.t61), utf8);
    }
    std::string shown(const t61_text_t&) const { return utf8; }
};

struct hex_work_t {
    std::string hex;
    void operator()(const std::string& bytes) {
        hex.clear();
        TO_HEX_STD_STRING(octets(bytes), size32(bytes), hex, '\0');
    }
    std::string shown(const std::string&) const { return hex; }
};

struct print_time_t {
    std::string text;
    void operator()(const cert_time_t& time) {
        text.clear();
        CertTimeToStringGMT(time.packed, text);
    }
    std::string shown(const cert_time_t&) const { return text; }
};

struct parse_time_t {
    cert_time64_t time = 0;
    void operator()(const cert_time_t& input) { time = CertTimeFromLogStringGMT(input.log_text); }
    std::string shown(const cert_time_t&) const { return std::to_string(time); }
};

std::vector<t61_text_t> make_t61_texts() {
    return {{"K\xC8oln am Rhein", "Köln am Rhein"},
            {"Soci\xC2"
             "et\xC2"
             "e G\xC2"
             "en\xC2"
             "erale",
             "Société Générale"},
            {"Espa\xC4na y Portugal", "España y Portugal"},
            {"\xE9stre M\xCF"
             "esto",
             "Østre Město"},
            {"Certification Authority", "Certification Authority"},
            {"\xA7 7 \xAB"
             "B\xC8uro\xBB",
             "§ 7 «Büro»"}};
}

std::vector<std::string> make_bytes(std::size_t size) {
    std::vector<std::string> list;
    for (unsigned int i = 0; i < 8; ++i) {
        list.push_back(noise(size, i));
    }
    return list;
}

std::string two_digits(unsigned int value) {
    return (value < 10 ? "0" : "") + std::to_string(value);
}

std::vector<cert_time_t> make_times() {
    std::vector<cert_time_t> times;
    for (unsigned int i = 0; i < 16; ++i) {
        cert_time_t time;
        time.year = 1999 + 3 * i;
        time.month = 1 + i % 12;
        time.day = 1 + 5 * i % 28;
        time.hour = 7 * i % 24;
        time.minute = 11 * i % 60;
        time.second = 13 * i % 60;
        time.packed = static_cast<cert_time64_t>(time.year) << 40 | static_cast<cert_time64_t>(time.month - 1) << 32 |
                      static_cast<cert_time64_t>(time.day) << 24 | time.hour << 16 | time.minute << 8 | time.second;
        const std::string clock =
            two_digits(time.hour) + ":" + two_digits(time.minute) + ":" + two_digits(time.second) + " GMT";
        const std::string year = std::to_string(time.year);
        time.display_text = two_digits(time.day) + "." + two_digits(time.month) + "." + year + " " + clock;
        time.log_text = year + "." + two_digits(time.month) + "." + two_digits(time.day) + " " + clock;
        times.push_back(time);
    }
    return times;
}

void add_hex_row(registry_t& registry, const std::vector<std::string>& inputs, double at_most) {
    row_t& row = registry.add("hex of " + std::to_string(inputs[0].size()) + " bytes", {at_most, "GnuTLS"});
    for (const std::string& bytes : inputs) {
        row.expected.push_back(upper_hex(bytes));
    }
    row.add<hex_work_t>("derkit", inputs);
    row.add_limits(inputs, row.expected, der_side_t::NONE);
}

} // namespace

const std::vector<t61_text_t>& t61_texts() {
    static const std::vector<t61_text_t> texts = make_t61_texts();
    return texts;
}

const std::vector<std::string>& bytes_for_hex(std::size_t size) {
    static const std::vector<std::string> of_20 = make_bytes(20);
    static const std::vector<std::string> of_256 = make_bytes(256);
    static const std::vector<std::string> of_4096 = make_bytes(4096);
    return size == 20 ? of_20 : size == 256 ? of_256 : of_4096;
}

const std::vector<cert_time_t>& cert_times() {
    static const std::vector<cert_time_t> times = make_times();
    return times;
}

void add_text_rows(registry_t& registry) {
    row_t& t61 = registry.add("T.61 to UTF-8", {0.50, "glibc"});
    std::vector<std::string> t61_bytes;
    for (const t61_text_t& text : t61_texts()) {
        t61.expected.push_back(text.utf8);
        t61_bytes.push_back(text.t61);
    }
    t61.add<t61_work_t>("derkit", t61_texts());
    t61.add_limits(t61_bytes, t61.expected, der_side_t::NONE);

    add_hex_row(registry, bytes_for_hex(20), 0.50);
    add_hex_row(registry, bytes_for_hex(256), 0.20);
    add_hex_row(registry, bytes_for_hex(4096), 0.12);

    row_t& print = registry.add("time to text");
    row_t& parse = registry.add("text to time");
    std::vector<std::string> packed;
    std::vector<std::string> log_texts;
    for (const cert_time_t& time : cert_times()) {
        print.expected.push_back(time.display_text);
        parse.expected.push_back(std::to_string(time.packed));
        packed.emplace_back(sizeof time.packed, '\0');
        log_texts.push_back(time.log_text);
    }
    print.add<print_time_t>("derkit", cert_times());
    print.add_limits(packed, print.expected, der_side_t::NONE);
    parse.add<parse_time_t>("derkit", cert_times());
    parse.add_limits(log_texts, packed, der_side_t::NONE);
}

void add_text_sizes(registry_t& registry) {
    static std::deque<std::vector<t61_text_t>> inputs;
    for (const std::size_t size : SIZES) {
        t61_text_t text;
        for (std::size_t i = 0; text.t61.size() < size; ++i) {
            const t61_text_t& part = t61_texts()[i % t61_texts().size()];
            text.t61 += part.t61;
            text.utf8 += part.utf8;
        }
        inputs.push_back({text});
        row_t& row = registry.add_size("T.61 to UTF-8", size);
        row.expected.push_back(text.utf8);
        row.add<t61_work_t>("derkit", inputs.back());
    }
}
