// Compares distinguished names: by their octets, by RFC 5280 7.1, and attribute by attribute.
#ifndef DERKIT_TOOLS_FORMATS_NAME_COMPARISON_H
#define DERKIT_TOOLS_FORMATS_NAME_COMPARISON_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/name_parts.h"

enum class name_match_t {
    SAME_OCTETS,
    MATCH, // by RFC 5280 7.1
    DIFFERENT
};

// The RDNs that match, in one name and the other.
enum class rdn_order_t { SAME, REVERSED, OTHER };

// An attribute that is not the same in both names, or is in one of them only.
struct name_difference_t {
    std::optional<std::size_t> rdn_a; // counted from 0
    std::optional<std::size_t> rdn_b;
    const name_attribute_t* a = nullptr;
    const name_attribute_t* b = nullptr;
    std::vector<std::string>
        kinds; // "missing", "type", "string_type", "case", "blanks", "form", "look_alike", "value",
               // "encoding", "member_order"
    std::vector<std::string> look_alikes; // "character 3: U+0430 and U+0061"
};

struct name_comparison_t {
    name_match_t match = name_match_t::DIFFERENT;
    rdn_order_t order = rdn_order_t::SAME;
    std::vector<name_difference_t> differences; // point into the names
};

// The names are those of `parts_a` and `parts_b`, which must outlive the result.
name_comparison_t compare_names(std::string_view der_a, const std::vector<rdn_t>& parts_a, std::string_view der_b,
                                const std::vector<rdn_t>& parts_b);

#endif
