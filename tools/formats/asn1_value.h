// Contents of primitive elements, as values and text, with what is wrong with them.
#ifndef DERKIT_TOOLS_FORMATS_ASN1_VALUE_H
#define DERKIT_TOOLS_FORMATS_ASN1_VALUE_H

#include <optional>
#include <string>
#include <string_view>

#include "formats/asn1_header.h"
#include "formats/asn1_rules.h"

// What of it there is depends on the type.
struct asn1_value_t {
    std::optional<bool> boolean;
    std::optional<long long> integer; // INTEGER and ENUMERATED that have at most 64 bits
    std::optional<unsigned int> unused_bits;
    std::string oid;                 // content octets of an OBJECT IDENTIFIER
    std::string time;                // ISO 8601, of UTCTime and GeneralizedTime in DER's forms
    std::optional<std::string> text; // UTF-8 as far as the string is what its type says
    std::string octets;              // of everything else, those of a BIT STRING without the first one
};

// Reads the whole content of a primitive element.
asn1_value_t read_asn1_value(const asn1_tag_t& tag, std::string_view content, asn1_breaches_t& breaches);

// The first octets of a content that is not read as a whole.
asn1_value_t read_start_of_asn1_value(const asn1_tag_t& tag, std::string_view start);

// Tells whether the octets are one element in DER, with all that is inside it, of a universal type.
bool is_der_element(std::string_view octets);

#endif
