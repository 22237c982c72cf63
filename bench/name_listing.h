// The plain reading of names by which results are judged.
#ifndef DERKIT_BENCH_NAME_LISTING_H
#define DERKIT_BENCH_NAME_LISTING_H

#include <string>
#include <string_view>
#include <vector>

struct attribute_t {
    std::string oid;   // content octets
    std::string value; // UTF-8
};

using rdn_t = std::vector<attribute_t>;

// False when a string's characters take more than a few lines to read: T.61 with other characters than those of ASCII.
bool decode_name(std::string_view der, std::vector<rdn_t>& rdns);

enum class order_t { AS_ENCODED, REVERSED };

// The values, a line each, of names as they are, and of text in any of the usual spellings. Of text that does not fall
// into attributes a description that equals no values.
std::string listed_values(const std::vector<rdn_t>& rdns);
std::string listed_values(std::string_view text, order_t order);

// Types and values, a line each, of names as they are, and of DER.
std::string listed_attributes(const std::vector<rdn_t>& rdns);
std::string listed_attributes(std::string_view der, order_t order);

#endif
