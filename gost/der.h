// Writes DER whose lengths are exact at every size, in ordinary memory or in secrets, and tells whether DER is whole.
#ifndef DERKIT_GOST_DER_H
#define DERKIT_GOST_DER_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_types.h"
#include "derkit/gost/result.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

inline std::string_view text_of(const blob_t& octets) {
    return {reinterpret_cast<const char*>(octets.data), octets.size};
}

// Octets of more than 32 bits are cut off; inputs are limited before.
inline blob_t blob_of(std::string_view octets) {
    blob_t blob;
    blob.data = reinterpret_cast<const unsigned char*>(octets.data());
    blob.size = static_cast<unsigned int>(octets.size() < 0xFFFFFFFF ? octets.size() : 0xFFFFFFFF);
    return blob;
}

constexpr unsigned char CONSTRUCTED = 0x20; // in an identifier octet (X.690 8.1.2.5)

// Identifier and length octets of an element (X.690 8.1.2, 8.1.3, 10.1).
std::string der_header(asn_tag_t::Type tag, std::size_t content_size);

// An element whose content is all of `parts`.
std::string der(asn_tag_t::Type tag, std::initializer_list<std::string_view> parts);
// The same in wiped memory.
secret secret_der(asn_tag_t::Type tag, std::initializer_list<std::string_view> parts);

// An INTEGER (X.690 8.3).
std::string der_integer(std::uint64_t value);

// An OBJECT IDENTIFIER; `dotted` is a valid one, or what dotted_of() made.
std::string der_oid(std::string_view dotted);

// The dotted text of an OBJECT IDENTIFIER's content, or "#" and its octets in hexadecimal when no text leads back to
// them: arcs above 32 bits, padded arcs. Empty when it is not one.
std::string dotted_of(const blob_t& oid);

// Tells whether der_oid() writes this text so that dotted_of() reads it again.
bool is_oid_text(std::string_view text);

// Reads an INTEGER from 0 to 2^32 - 1. Larger ones are cause::too_many_iterations, as all that are read are iteration
// counts; negative and empty ones are cause::malformed_parameters.
result<std::uint32_t> read_iterations(asn_cursor_t& in);

// Whether DER is looked for in OCTET STRINGs and BIT STRINGs too: in those that hold one SEQUENCE. A key or a signature
// may look like that by chance.
enum class strings { OPAQUE, OPENED };

// Tells whether all of `octets` is one element with this identifier, and every element inside is whole too, as deep as
// elements go.
bool is_whole_der(std::string_view octets, asn_tag_t::Type tag, strings are = strings::OPENED);

} // namespace derkit::gost

#endif
