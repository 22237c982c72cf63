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
    std::string oid;  ///< dotted, or "#" and its octets in hexadecimal where dotted text would stand for another OID;
                      ///< empty where the file has none
    std::string name; ///< for people; empty where the library knows none
};

/// How something is encrypted. Fields that a scheme does not have stay empty.
struct encryption_scheme {
    named_oid algorithm;          ///< of the AlgorithmIdentifier: PBES2, or one of the old schemes of PKCS#12
    named_oid kdf;                ///< key derivation of PBES2
    named_oid prf;                ///< pseudo-random function of PBKDF2, or the digest of an old scheme
    named_oid cipher;             ///< cipher of PBES2
    named_oid param_set;          ///< S-box of GOST 28147-89
    std::uint32_t iterations = 0; ///< iteration count
    std::size_t salt_size = 0;    ///< octets of salt
    /// Why the library cannot decrypt it, whatever the password; none where it can.
    std::optional<failure> unsupported;
};

/// How the MAC of a container is made.
struct mac_scheme {
    named_oid digest;             ///< digest of the HMAC
    std::uint32_t iterations = 0; ///< iteration count
    std::size_t salt_size = 0;    ///< octets of salt
    /// Why the library cannot verify the MAC, whatever the password; none where it can.
    std::optional<failure> unsupported;
};

/// Where the key of a MAC came from. A file does not record it.
enum class mac_key {
    unknown,   ///< not known
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
