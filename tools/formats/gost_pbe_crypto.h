// The cryptography of a GOST container, on libgcrypt: a model of how to implement pbe_crypto_t.
#ifndef DERKIT_TOOLS_FORMATS_GOST_PBE_CRYPTO_H
#define DERKIT_TOOLS_FORMATS_GOST_PBE_CRYPTO_H

#include <array>
#include <optional>
#include <string>

#include "derkit/pkcs12_helper.h"
#include "io/secret.h"

// How a container is laid out. The library's own form differs from RFC 7292 in two places: the MAC covers the whole
// OCTET STRING element instead of its content, and the encrypted plaintext is an OCTET STRING around the SafeContents
// instead of the SafeContents itself.
enum class container_profile_t { STANDARD, NATIVE };

// Where the key of a container's MAC comes from.
enum class mac_key_t {
    PBKDF2,    // the last 32 of 96 octets of PBKDF2: what OpenSSL does for GOST digests, and TC 26 recommends
    PKCS12_KDF // RFC 7292 appendix B; OpenSSL writes it under LEGACY_GOST_PKCS12
};

// PBKDF2 with HMAC GOST R 34.11-94 (RFC 4357 and RFC 8018), GOST 28147-89 in CFB mode with the CryptoPro-A S-box and
// key meshing (RFC 4357), HMAC GOST R 34.11-94 for the MAC.
//
// When reading, verify_mac(), which the library calls first, finds out which profile and MAC key a container has.
// Writing uses the given profile, PBKDF2 for the MAC key, and fresh random salts and IV.
//
// Throws std::runtime_error if libgcrypt fails, whatever the input.
class gost_pbe_crypto_t final : public pbe_crypto_t {
  public:
    // More iterations are refused: a file could demand hours of work.
    static constexpr unsigned int MAX_ITERATIONS = 1'000'000;

    // `password` must outlive the object. Without one the MAC key of PKCS12_KDF comes from no octets at all; with an
    // empty one from its terminator.
    gost_pbe_crypto_t(const std::optional<secret_t>& password, container_profile_t profile);
    gost_pbe_crypto_t(std::optional<secret_t>&&, container_profile_t) = delete; // would refer to a destroyed temporary
    ~gost_pbe_crypto_t() = default;
    gost_pbe_crypto_t(const gost_pbe_crypto_t&) = delete;
    gost_pbe_crypto_t& operator=(const gost_pbe_crypto_t&) = delete;

    // What verify_mac() found; nothing if it was not called or the MAC is wrong.
    const std::optional<mac_key_t>& verified_mac_key() const { return verified_mac_key_; }
    // The profile given or, after a good MAC, found.
    container_profile_t profile() const { return profile_; }

    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override;
    bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override;
    bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) override;
    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override;

  private:
    static constexpr unsigned int SALT_SIZE = 32;
    static constexpr unsigned int IV_SIZE = 8;
    static constexpr unsigned int MAC_SIZE = 32;

    const std::optional<secret_t>& password_;
    container_profile_t profile_;
    std::optional<mac_key_t> verified_mac_key_;

    // The writer holds views of these until it returns.
    std::array<unsigned char, SALT_SIZE> mac_salt_ = {};
    std::array<unsigned char, MAC_SIZE> mac_ = {};
    std::array<unsigned char, SALT_SIZE> salt_ = {};
    std::array<unsigned char, IV_SIZE> iv_ = {};

    secret_t derive_mac_key(const blob_t& salt, unsigned int iterations, mac_key_t source) const;
    secret_t derive_key(const blob_t& salt, unsigned int iterations, std::size_t size) const;
};

#endif
