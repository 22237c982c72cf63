// A second conversion of OIDs, slow and obvious: the text is split at dots, the octets after each
// final one.
#ifndef DERKIT_FUZZ_REFERENCE_OID_TEXT_H
#define DERKIT_FUZZ_REFERENCE_OID_TEXT_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

inline std::vector<std::string> split_at_dots(std::string_view text) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == '.') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

inline std::optional<unsigned int> reference_arc(std::string digits) {
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits.size() > std::string_view("4294967295").size() || std::stoull(digits) > 4294967295ULL) {
        return std::nullopt;
    }
    return static_cast<unsigned int>(std::stoull(digits));
}

inline std::string reference_subidentifier(unsigned int value) {
    std::string octets(1, static_cast<char>(value % 128));
    for (value /= 128; value != 0; value /= 128) {
        octets.insert(octets.begin(), static_cast<char>(128 + value % 128));
    }
    return octets;
}

// Content octets; empty for a text that is refused.
inline std::string reference_oid_to_der(std::string_view text) {
    std::vector<unsigned int> arcs;
    for (const std::string& part : split_at_dots(text)) {
        const std::optional<unsigned int> arc = reference_arc(part);
        if (!arc) {
            return std::string();
        }
        arcs.push_back(*arc);
    }
    if (arcs.size() < 2 || arcs[0] > 2) {
        return std::string();
    }
    std::string der = reference_subidentifier(40 * arcs[0] + arcs[1]);
    for (std::size_t i = 2; i < arcs.size(); ++i) {
        der += reference_subidentifier(arcs[i]);
    }
    constexpr std::size_t MAX_SIZE = 506;
    return der.size() > MAX_SIZE ? std::string() : der;
}

struct reference_oid_text_t {
    bool done = false;
    std::string text; // on failure the arcs that are complete, each with a dot
};

inline reference_oid_text_t reference_oid_to_text(std::string_view der) {
    std::vector<unsigned int> subidentifiers(1, 0);
    bool complete = !der.empty();
    for (std::size_t i = 0; i < der.size(); ++i) {
        const unsigned int octet = static_cast<unsigned char>(der[i]);
        subidentifiers.back() = subidentifiers.back() * 128 + octet % 128;
        complete = octet < 128;
        if (complete && i + 1 < der.size()) {
            subidentifiers.push_back(0);
        }
    }
    if (!complete) {
        subidentifiers.pop_back();
    }
    reference_oid_text_t result;
    result.done = complete;
    for (std::size_t i = 0; i < subidentifiers.size(); ++i) {
        if (i == 0) {
            result.text += std::to_string(subidentifiers[0] / 40) + "." + std::to_string(subidentifiers[0] % 40) + ".";
        } else {
            result.text += std::to_string(subidentifiers[i]) + ".";
        }
    }
    if (complete) {
        result.text.pop_back();
    }
    return result;
}

#endif
