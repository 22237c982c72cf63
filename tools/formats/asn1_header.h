// Identifier and length octets of BER and DER (X.690 8.1), with what is wrong with them.
#ifndef DERKIT_TOOLS_FORMATS_ASN1_HEADER_H
#define DERKIT_TOOLS_FORMATS_ASN1_HEADER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "formats/asn1_rules.h"

enum class asn1_class_t : unsigned int { UNIVERSAL, APPLICATION, CONTEXT, PRIVATE };

// Numbers of universal tags (X.680 8.4).
namespace asn1_number {
constexpr unsigned int END_OF_CONTENTS = 0;
constexpr unsigned int BOOLEAN = 1;
constexpr unsigned int INTEGER = 2;
constexpr unsigned int BIT_STRING = 3;
constexpr unsigned int OCTET_STRING = 4;
constexpr unsigned int NULL_VALUE = 5;
constexpr unsigned int OBJECT_IDENTIFIER = 6;
constexpr unsigned int ENUMERATED = 10;
constexpr unsigned int UTF8_STRING = 12;
constexpr unsigned int RELATIVE_OID = 13;
constexpr unsigned int SEQUENCE = 16;
constexpr unsigned int SET = 17;
constexpr unsigned int NUMERIC_STRING = 18;
constexpr unsigned int PRINTABLE_STRING = 19;
constexpr unsigned int T61_STRING = 20;
constexpr unsigned int IA5_STRING = 22;
constexpr unsigned int UTC_TIME = 23;
constexpr unsigned int GENERALIZED_TIME = 24;
constexpr unsigned int VISIBLE_STRING = 26;
constexpr unsigned int UNIVERSAL_STRING = 28;
constexpr unsigned int BMP_STRING = 30;
} // namespace asn1_number

struct asn1_tag_t {
    asn1_class_t tag_class = asn1_class_t::UNIVERSAL;
    unsigned int number = 0;
    bool constructed = false;

    bool is_universal(unsigned int wanted) const { return tag_class == asn1_class_t::UNIVERSAL && number == wanted; }
    bool operator==(const asn1_tag_t&) const = default;
};

struct asn1_header_t {
    asn1_tag_t tag;
    std::size_t size = 0;                           // of the header
    std::optional<unsigned long long> content_size; // none: indefinite; at most 2^63 - 1, which stands for more too
    asn1_breaches_t breaches;                       // rules broken by a header that can be read all the same
};

// No header is larger: an identifier of a number below 2^32, and the most octets that a length can have.
constexpr std::size_t MAX_ASN1_HEADER_SIZE = 6 + 127;

// Reads the header that `bytes` begin with. On failure `problem` is the rule that is broken.
bool read_asn1_header(std::string_view bytes, asn1_header_t& out, std::string& problem);

// "SEQUENCE", "[0]", "[APPLICATION 3]", "[UNIVERSAL 15]".
std::string asn1_type_name(const asn1_tag_t& tag);

// Whether the type must be constructed, or primitive; neither for strings and for tags that are not universal.
enum class asn1_form_t { PRIMITIVE, CONSTRUCTED, STRING, ANY };
asn1_form_t asn1_form(const asn1_tag_t& tag);

#endif
