/// @file
/// What a file may cost, and how a container or a key is written.
#ifndef DERKIT_GOST_LIMITS_H
#define DERKIT_GOST_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace derkit::gost {

/// @defgroup gost_options Limits and options
/// @{

/// What a file may cost the reader. The defaults open what programs write and bound what a hostile file can do.
struct limits {
    /// Largest input, in octets.
    std::size_t max_size = std::size_t{16} << 20;
    /// Largest iteration count of one key derivation.
    std::uint32_t max_iterations = 10'000'000;
    /// Largest sum over all key derivations of one file: iterations times output blocks, and every derivation that is
    /// tried counts. A derivation that repeats an earlier one is free.
    std::uint64_t max_total_iterations = 40'000'000;
    /// Deepest nesting of bags inside bags.
    unsigned int max_depth = 8;
    /// Largest number of bags.
    std::size_t max_bags = 10'000;
};

/// Whether secrets are handed out that no good MAC vouches for.
enum class integrity {
    required,         ///< the MAC must be good; otherwise nothing is opened
    accept_unverified ///< also where the MAC is missing, wrong or unsupported: whoever made the file may be anyone
};

/// How a container is opened.
struct open_options {
    integrity mac = integrity::required; ///< whether the MAC must be good
    limits cost;                         ///< what the file may cost
};

/// A format that can be written.
enum class format {
    gost94,       ///< HMAC GOST R 34.11-94, GOST 28147-89 with CryptoPro-A (RFC 4357)
    native,       ///< the same algorithms in the form of asn_write_pkcs12_easy(); for a key the same as gost94
    tc26,         ///< HMAC GOST R 34.11-2012, GOST 28147-89 with TC26-Z (R 50.1.112-2016)
    rfc9548,      ///< HMAC GOST R 34.11-2012, Kuznyechik or Magma in CTR-ACPKM (RFC 9337, RFC 9548)
    rfc9548_omac, ///< the same with an OMAC inside each ciphertext
    aes ///< HMAC-SHA-256, AES-256-CBC, MAC key by RFC 7292 appendix B: what OpenSSL and GnuTLS write by default
};

/// The block cipher of format::rfc9548 and format::rfc9548_omac.
enum class block_cipher {
    kuznyechik, ///< blocks of 128 bits
    magma       ///< blocks of 64 bits
};

/// After how many octets CTR-ACPKM changes its key. Nothing in a file says which. Shorter plaintexts are the same in
/// both, and readers try both.
enum class section {
    standard, ///< 256 KiB for Kuznyechik, 8 KiB for Magma (RFC 9337)
    tls       ///< 4,096 and 1,024 octets, as gost-engine reads and writes
};

/// How a container or a key is written.
struct write_options {
    format to = format::rfc9548;                    ///< algorithms and form
    block_cipher cipher = block_cipher::kuznyechik; ///< of the two formats that leave a choice
    section sections = section::standard;           ///< of the same formats
    std::uint32_t iterations = 0;                   ///< of every key derivation; 0: 2,000 for gost94 and native, else
                                                    ///< 100,001
    bool encrypt_certificates = true;               ///< whether certificates are encrypted too; a key always is
};

/// @}

} // namespace derkit::gost

#endif
