// Names to print and to encode.
#ifndef DERKIT_BENCH_NAMES_H
#define DERKIT_BENCH_NAMES_H

#include <string>
#include <vector>

#include "name_listing.h"

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

// A name whose encoding has `size` bytes or a little more, of many attributes.
name_t long_name(std::size_t size);

#endif
