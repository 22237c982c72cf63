// Texts: T.61 to UTF-8, hexadecimal digits, certificate times.
#include <cstdio>

#include "derkit/int2str.h"
#include "derkit/t61.h"
#include "row.h"
#include "tasks.h"
#include "testing/vectors.h"

namespace {

struct t61_work_t : output_t {
    void operator()(const t61_text_t& text) {
        out.clear();
        ldap_t61s_to_utf8s(text.t61.data(), size32(text.t61), out);
    }
};

struct hex_work_t : output_t {
    void operator()(const std::string& bytes) {
        out.clear();
        TO_HEX_STD_STRING(octets(bytes), size32(bytes), out, '\0');
    }
};

struct print_time_t : output_t {
    void operator()(const cert_time_t& time) {
        out.clear();
        CertTimeToStringGMT(time.packed, out);
    }
};

struct parse_time_t {
    cert_time64_t time = 0;
    void operator()(const cert_time_t& input) { time = CertTimeFromLogStringGMT(input.log_text); }
    std::string shown() const { return std::to_string(time); }
};

// Short texts, most of them with accents.
std::vector<t61_text_t> t61_texts() {
    std::vector<t61_text_t> texts;
    for (const vector_t& vector : read_vectors("t61.txt")) {
        if (vector.field("case").starts_with("measured")) {
            texts.push_back({vector.bytes("T.61"), vector.text("text")});
        }
    }
    return texts;
}

t61_text_t long_t61_text(std::size_t size) {
    const std::vector<t61_text_t> parts = t61_texts();
    t61_text_t text;
    for (std::size_t i = 0; text.t61.size() < size; ++i) {
        text.t61 += parts[i % parts.size()].t61;
        text.utf8 += parts[i % parts.size()].utf8;
    }
    return text;
}

std::vector<std::string> bytes_for_hex(std::size_t size) {
    return make_inputs(8, [size](unsigned int i) { return noise(size, i); });
}

cert_time_t make_time(unsigned int i) {
    const unsigned int date[] = {1999 + 3 * i, 1 + i % 12, 1 + 5 * i % 28};
    const unsigned int clock[] = {7 * i % 24, 11 * i % 60, 13 * i % 60};
    cert_time_t time;
    time.packed = static_cast<cert_time64_t>(date[0]) << 40 | static_cast<cert_time64_t>(date[1] - 1) << 32 |
                  date[2] << 24 | clock[0] << 16 | clock[1] << 8 | clock[2];
    time.packed_text = std::to_string(time.packed);
    char text[80];
    std::snprintf(text, sizeof text, "%02u.%02u.%u %02u:%02u:%02u GMT", date[2], date[1], date[0], clock[0], clock[1],
                  clock[2]);
    time.display_text = text;
    std::snprintf(text, sizeof text, "%u.%02u.%02u %02u:%02u:%02u GMT", date[0], date[1], date[2], clock[0], clock[1],
                  clock[2]);
    time.log_text = text;
    return time;
}

std::string same(const std::string& bytes) {
    return bytes;
}

} // namespace

void add_text_rows(registry_t& registry) {
    registry.add<t61_work_t>({"T.61 to UTF-8", {0.50, "glibc"}, t61_texts(), &t61_text_t::utf8, &t61_text_t::t61});
    registry.add<hex_work_t>({"hex of 20 bytes", {0.50, "GnuTLS"}, bytes_for_hex(20), upper_hex, same});
    registry.add<hex_work_t>({"hex of 256 bytes", {0.25, "GnuTLS"}, bytes_for_hex(256), upper_hex, same});
    registry.add<hex_work_t>({"hex of 4096 bytes", {0.30, "GnuTLS"}, bytes_for_hex(4096), upper_hex, same});
    const target_t none;
    const bytes_of_t<cert_time_t> packed = RECORD<cert_time64_t>;
    registry.add<print_time_t>({"time to text", none, make_inputs(16, make_time), &cert_time_t::display_text, packed});
    registry.add<parse_time_t>(
        {"text to time", none, make_inputs(16, make_time), &cert_time_t::packed_text, &cert_time_t::log_text, packed});
}

void add_text_sizes(registry_t& registry) {
    registry.add_series<t61_work_t>({"T.61 to UTF-8", {}, for_each_size(long_t61_text), &t61_text_t::utf8}, SIZES);
}
