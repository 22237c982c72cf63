/// @file
/// How a part of a file is protected: algorithms by name and object identifier.
#ifndef DERKIT_GOST_SCHEME_H
#define DERKIT_GOST_SCHEME_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "derkit/gost/result.h"

namespace derkit::gost {

/// @defgroup gost_schemes Schemes
/// @{

/// An algorithm, a parameter set or a content type.
struct named_oid {
    std::string oid;  ///< dotted, or "#" and its octets in hexadecimal where the text would be that of another one;
                      ///< empty where the file has none
    std::string name; ///< for people; empty where the library knows none
};

/// How something is encrypted. What a scheme has no use for stays empty.
struct encryption_scheme {
    named_oid algorithm;          ///< the AlgorithmIdentifier's own: PBES2, or one of the old ones of PKCS#12
    named_oid kdf;                ///< key derivation of PBES2
    named_oid prf;                ///< pseudo-random function of PBKDF2, or the digest of the old ones
    named_oid cipher;             ///< cipher of PBES2
    named_oid param_set;          ///< S-box of GOST 28147-89
    std::uint32_t iterations = 0; ///< iteration count
    std::size_t salt_size = 0;    ///< octets of salt
    /// Why nothing under this scheme can be opened here, whatever the password; none where it can.
    std::optional<failure> unsupported;
};

/// How the MAC of a container is made.
struct mac_scheme {
    named_oid digest;             ///< digest of the HMAC
    std::uint32_t iterations = 0; ///< iteration count
    std::size_t salt_size = 0;    ///< octets of salt
    /// Why the MAC cannot be verified here, whatever the password; none where it can.
    std::optional<failure> unsupported;
};

/// Where the key of a MAC came from. Nothing in a file says it.
enum class mac_key {
    unknown,   ///< not found out
    pbkdf2,    ///< the last 32 of 96 octets of PBKDF2 (R 50.1.112-2016, RFC 9548)
    pkcs12_kdf ///< RFC 7292 appendix B
};

/// The two layouts of a container.
enum class container_form {
    standard, ///< that of RFC 7292
    native    ///< that of asn_write_pkcs12_easy(): the MAC covers the OCTET STRING element, and an OCTET STRING is
              ///< around each encrypted SafeContents
};

/// @}

} // namespace derkit::gost

#endif
