// Reads the layers of a PFX (RFC 7292) and of the CMS contents in it (RFC 5652). Input has definite lengths. The records
// view it.
#ifndef DERKIT_GOST_PFX_H
#define DERKIT_GOST_PFX_H

#include <optional>
#include <string>
#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_types.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

inline constexpr std::string_view OID_DATA = "1.2.840.113549.1.7.1";
inline constexpr std::string_view OID_SIGNED_DATA = "1.2.840.113549.1.7.2";
inline constexpr std::string_view OID_ENVELOPED_DATA = "1.2.840.113549.1.7.3";
inline constexpr std::string_view OID_ENCRYPTED_DATA = "1.2.840.113549.1.7.6";

inline constexpr std::string_view OID_KEY_BAG = "1.2.840.113549.1.12.10.1.1";
inline constexpr std::string_view OID_SHROUDED_KEY_BAG = "1.2.840.113549.1.12.10.1.2";
inline constexpr std::string_view OID_CERT_BAG = "1.2.840.113549.1.12.10.1.3";
inline constexpr std::string_view OID_CRL_BAG = "1.2.840.113549.1.12.10.1.4";
inline constexpr std::string_view OID_SECRET_BAG = "1.2.840.113549.1.12.10.1.5";
inline constexpr std::string_view OID_SAFE_CONTENTS_BAG = "1.2.840.113549.1.12.10.1.6";

inline constexpr std::string_view OID_X509_CERTIFICATE = "1.2.840.113549.1.9.22.1";
inline constexpr std::string_view OID_FRIENDLY_NAME = "1.2.840.113549.1.9.20";
inline constexpr std::string_view OID_LOCAL_KEY_ID = "1.2.840.113549.1.9.21";

// The name of a content type, a bag or a type of what is in a bag; empty for others.
named_oid name_container_oid(const blob_t& oid);

struct content_info {
    named_oid type;
    std::string_view content; // of [0]: a complete element; empty without
};

// Reads the content of a ContentInfo SEQUENCE.
result<content_info> read_content_info(asn_cursor_t in);

struct pfx {
    content_info auth_safe;
    std::optional<blob_t> mac_data; // content octets
};

// Reads a PFX of any version.
result<pfx> read_pfx(std::string_view der);

// What signed data carries: the octets of its eContent, which for a container are an AuthenticatedSafe.
result<std::string_view> read_signed_octets(std::string_view signed_data);

struct encrypted_data {
    named_oid content_type;
    blob_t algorithm; // content octets of the AlgorithmIdentifier
    std::string_view ciphertext;
    secret joined; // where the ciphertext was in pieces
};

result<encrypted_data> read_encrypted_data(std::string_view element);

// Reads the content of an OCTET STRING that is all of `element`.
result<std::string_view> read_octet_string(std::string_view element);

} // namespace derkit::gost

#endif
