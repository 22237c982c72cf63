#include "derkit/gost/pem.h"

#include <array>
#include <optional>
#include <string>

namespace derkit::gost {

namespace {

constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::size_t OCTETS_OF_LINE = 48; // 64 characters

// Encodes one to three octets as four characters.
std::array<char, 4> encode_group(std::string_view octets) {
    unsigned int bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        bits = bits << 8 | (i < octets.size() ? static_cast<unsigned char>(octets[i]) : 0U);
    }
    return {ALPHABET[bits >> 18], ALPHABET[bits >> 12 & 0x3F], octets.size() > 1 ? ALPHABET[bits >> 6 & 0x3F] : '=',
            octets.size() > 2 ? ALPHABET[bits & 0x3F] : '='};
}

std::string boundary(std::string_view kind, std::string_view label) {
    return std::string("-----").append(kind).append(" ").append(label).append("-----");
}

// Decodes four characters and appends the octets; false when they are not base64. Only the last group may have padding.
bool append_group(secret& out, std::string_view characters, bool last) {
    const std::size_t padding = characters[3] != '=' ? 0 : characters[2] != '=' ? 1 : 2;
    unsigned int bits = 0;
    for (std::size_t i = 0; i < 4 - padding; ++i) {
        const std::size_t value = ALPHABET.find(characters[i]);
        if (value == std::string_view::npos) {
            return false;
        }
        bits |= static_cast<unsigned int>(value) << (18 - 6 * i);
    }
    const char octets[] = {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8 & 0xFF),
                           static_cast<char>(bits & 0xFF)};
    const bool no_spare_bits = (bits & (0xFFFFFFU >> (8 * (3 - padding)))) == 0;
    out.append({octets, 3 - padding});
    return padding == 0 || (last && no_spare_bits);
}

std::optional<secret> decode(std::string_view base64) {
    secret characters;
    characters.reserve(base64.size());
    for (std::size_t begin = 0; begin < base64.size();) {
        begin = std::min(base64.find_first_not_of(BLANKS, begin), base64.size());
        const std::size_t end = std::min(base64.find_first_of(BLANKS, begin), base64.size());
        characters.append(base64.substr(begin, end - begin));
        begin = end;
    }
    if (characters.size() % 4 != 0) {
        return std::nullopt;
    }
    secret out;
    out.reserve(characters.size() / 4 * 3);
    for (std::size_t i = 0; i < characters.size(); i += 4) {
        if (!append_group(out, characters.view().substr(i, 4), i + 4 == characters.size())) {
            return std::nullopt;
        }
    }
    return out;
}

} // namespace

secret to_pem(std::string_view label, std::string_view der) {
    const std::string begin = boundary("BEGIN", label);
    const std::string end = boundary("END", label);
    const std::size_t num_groups = (der.size() + 2) / 3;
    secret text;
    text.reserve(begin.size() + end.size() + 4 * num_groups + der.size() / OCTETS_OF_LINE + 3);
    text.append(begin);
    for (std::size_t i = 0; i < der.size(); i += 3) {
        if (i % OCTETS_OF_LINE == 0) {
            text.append("\n");
        }
        std::array<char, 4> group = encode_group(der.substr(i, 3));
        text.append({group.data(), group.size()});
        wipe(group.data(), group.size());
    }
    text.append("\n");
    text.append(end);
    text.append("\n");
    return text;
}

// RFC 7468 3, with lines of any length. A block with headers (RFC 1421) is refused, because they are not base64.
result<secret> from_pem(std::string_view text, std::string_view label) {
    const std::string begin = boundary("BEGIN", label);
    const std::size_t found = text.find(begin);
    if (found == std::string_view::npos) {
        return cause::malformed;
    }
    text.remove_prefix(found + begin.size());
    const std::size_t end = text.find(boundary("END", label));
    if (end == std::string_view::npos) {
        return cause::malformed;
    }
    std::optional<secret> decoded = decode(text.substr(0, end));
    if (!decoded.has_value() || decoded->empty()) {
        return cause::malformed;
    }
    return std::move(*decoded);
}

} // namespace derkit::gost
