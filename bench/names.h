// Names to print and to encode, and the plain reading of names by which results are judged.
#ifndef DERKIT_BENCH_NAMES_H
#define DERKIT_BENCH_NAMES_H

#include <string>
#include <string_view>
#include <vector>

struct attribute_t {
    std::string oid;   // content octets
    std::string value; // UTF-8
};

using rdn_t = std::vector<attribute_t>;

struct name_t {
    std::vector<rdn_t> rdns;
    std::string der;
    std::string text; // RFC 4514, but in the order of the DER; empty when an attribute has no short name
};

// Subjects of the certificates in Debian's bundle of roots, in the bundle's order.
const std::vector<name_t>& root_names();
// Cyrillic and typographic text in UTF8String, BMPString and T61String; of T.61 only characters that ISO 8859-1 has in
// the same place, which is how most libraries read it.
const std::vector<name_t>& international_names();
// As above, but with accented letters in T61String.
const std::vector<name_t>& accented_names();
// Those names of the roots that have a text.
const std::vector<name_t>& texts_of_roots();

enum class order_t { AS_ENCODED, REVERSED };

// The values, a line each, of names as they are, as text in any of the usual spellings, and of DER. Of text that does
// not fall into attributes a description that equals no values.
std::string listed_values(const name_t& name);
std::string listed_values(std::string_view text, order_t order);
// Types and values, a line each.
std::string listed_attributes(const name_t& name);
std::string listed_attributes(std::string_view der, order_t order);

// A name whose encoding has `size` bytes or a little more, of many attributes.
name_t long_name(std::size_t size);

#endif
