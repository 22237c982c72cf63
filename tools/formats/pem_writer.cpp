#include "formats/pem_writer.h"

namespace {

constexpr std::size_t OCTETS_A_LINE = 48; // 64 characters
constexpr std::size_t OCTETS_A_GROUP = 3; // 4 characters
constexpr std::string_view BASE64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view BEGIN = "-----BEGIN ";
constexpr std::string_view END = "-----END ";
constexpr std::string_view DASHES = "-----\n";

std::size_t divide_up(std::size_t dividend, std::size_t divisor) {
    return (dividend + divisor - 1) / divisor;
}

std::size_t pem_size(std::string_view label, std::string_view der) {
    return BEGIN.size() + END.size() + 2 * (label.size() + DASHES.size()) + 4 * divide_up(der.size(), OCTETS_A_GROUP) +
           divide_up(der.size(), OCTETS_A_LINE);
}

// Up to three octets (RFC 4648 4).
void append_group(std::string_view octets, std::string& out) {
    unsigned int bits = 0;
    for (std::size_t i = 0; i < OCTETS_A_GROUP; ++i) {
        bits = bits << 8 | (i < octets.size() ? static_cast<unsigned char>(octets[i]) : 0u);
    }
    for (std::size_t i = 0; i <= OCTETS_A_GROUP; ++i) {
        out += i <= octets.size() ? BASE64[bits >> (18 - 6 * i) & 0x3F] : '=';
    }
}

void append_boundary(std::string_view opening, std::string_view label, std::string& out) {
    out += opening;
    out += label;
    out += DASHES;
}

} // namespace

std::string write_pem(std::string_view label, std::string_view der) {
    std::string out;
    out.reserve(pem_size(label, der));
    append_boundary(BEGIN, label, out);
    for (std::size_t line = 0; line < der.size(); line += OCTETS_A_LINE) {
        const std::string_view octets = der.substr(line, OCTETS_A_LINE);
        for (std::size_t group = 0; group < octets.size(); group += OCTETS_A_GROUP) {
            append_group(octets.substr(group, OCTETS_A_GROUP), out);
        }
        out += '\n';
    }
    append_boundary(END, label, out);
    return out;
}
