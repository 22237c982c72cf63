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
    /// Largest iteration count of a single key derivation.
    std::uint32_t max_iterations = 10'000'000;
    /// Largest total cost of all key derivations of a file. Each derivation, successful or not, costs its iterations
    /// times its output blocks; repeating one is free.
    std::uint64_t max_total_iterations = 40'000'000;
    /// Deepest nesting of bags inside bags; numbers above MAX_DEPTH count as MAX_DEPTH.
    unsigned int max_depth = 8;
    /// Largest number of bags.
    std::size_t max_bags = 10'000;
    /// Largest number of attributes and attribute values of all bags together, since small ones take many times their size
    /// in memory.
    std::size_t max_attributes = 100'000;

    /// The deepest nesting of bags that any reader allows.
    static constexpr unsigned int MAX_DEPTH = 64;
};

/// Whether secrets are returned although no good MAC vouches for them.
enum class integrity {
    required,         ///< the MAC must be good; otherwise nothing is opened
    accept_unverified ///< open also with a missing, wrong or unsupported MAC: anyone may have made the file
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

/// After how many octets CTR-ACPKM changes its key. A file does not record it: this library tries both. Plaintexts
/// shorter than a section encrypt the same way under either.
enum class section {
    standard, ///< 256 KiB for Kuznyechik, 8 KiB for Magma (RFC 9337)
    tls       ///< 4,096 and 1,024 octets, as gost-engine reads and writes
};

/// Tells whether format::native can hold an iteration count. The writer of libderkit drops zero octets of a count, so
/// that form has no counts with one.
/// @param iterations  iteration count
/// @return false when one of its octets, from the highest that is not zero, is zero
constexpr bool is_native_count(std::uint32_t iterations) noexcept {
    for (; iterations != 0; iterations >>= 8) {
        if ((iterations & 0xFF) == 0) {
            return false;
        }
    }
    return true;
}

/// How a container or a key is written.
struct write_options {
    format to = format::rfc9548;                    ///< algorithms and form
    block_cipher cipher = block_cipher::kuznyechik; ///< of format::rfc9548 and format::rfc9548_omac
    section sections = section::standard;           ///< of the same formats
    std::uint32_t iterations = 0;                   ///< of every key derivation; 0: 2,000 for gost94 and native, else
                                                    ///< 100,001
    bool encrypt_certificates = true;               ///< whether certificates are encrypted too; a key always is
};

/// @}

} // namespace derkit::gost

#endif
