/// @file
/// A ready pbe_crypto_t for asn_read_pkcs12_easy() and asn_write_pkcs12_easy().
#ifndef DERKIT_GOST_PBE_CRYPTO_H
#define DERKIT_GOST_PBE_CRYPTO_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "derkit/gost/limits.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "derkit/pkcs12_helper.h"

namespace derkit::gost {

/// @defgroup gost_pbe The library's own readers and writers
/// @{

/// The cryptography of a container for libderkit's reader and writer: PBKDF2 with HMAC GOST R 34.11-94, GOST 28147-89
/// in CFB mode with key meshing and the parameter set CryptoPro-A (RFC 4357).
///
/// verify_mac(), which the reader calls first, verifies a MAC of any digest that container::open() knows, and finds out
/// where its key comes from and which form the container has. decrypt() refuses plaintext that is neither a private key
/// nor bags.
///
/// It remembers every refusal, while the reader just skips what was refused. Use one object for one container at a time.
class pbe_crypto final : public pbe_crypto_t {
  public:
    /// Copies the password.
    /// @param password  UTF-8; an absent password and an empty one differ where a MAC key comes from RFC 7292
    ///                  appendix B
    /// @param form      what is written; reading finds it out
    /// @param cost      limits::max_iterations and limits::max_total_iterations are heeded
    DERKIT_API explicit pbe_crypto(std::optional<std::string_view> password,
                                   container_form form = container_form::standard, const limits& cost = limits());
    DERKIT_API ~pbe_crypto(); ///< Wipes the password and all keys.
    pbe_crypto(const pbe_crypto&) = delete;
    pbe_crypto& operator=(const pbe_crypto&) = delete;

    /// Sets the iteration count that the writer uses; 2,000 by default. The writer drops zero octets of a count, so a
    /// count with one is refused when it is used.
    /// @param iterations  from 1 to limits::max_iterations
    DERKIT_API void set_iterations(std::uint32_t iterations) noexcept;

    /// @return all refusals since the object was made or clear_refusals() was called, in order. The writer ignores that
    ///         encrypt() failed: a container that was written while anything was refused must be discarded.
    DERKIT_API const std::vector<failure>& refusals() const noexcept;
    /// Forgets the refusals.
    DERKIT_API void clear_refusals() noexcept;

    /// @return where the key of the last verified MAC came from; mac_key::unknown unless it was good
    DERKIT_API mac_key verified_mac_key() const noexcept;
    /// @return the form that was given or, after a good MAC, found
    DERKIT_API container_form form() const noexcept;

    /// Verifies as pbe_crypto_t::verify_mac() says.
    /// @param mac   as in the file
    /// @param data  what the MAC covers
    /// @param size  bytes of it
    /// @return whether it matches; if not, refusals() has grown
    DERKIT_API bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override;
    /// Makes a MAC as pbe_crypto_t::make_mac() says.
    /// @param data  what the MAC is to cover
    /// @param size  bytes of it
    /// @param mac   receives views that are valid until the next call
    /// @return whether it was made; if not, refusals() has grown
    DERKIT_API bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override;
    /// Decrypts as pbe_crypto_t::decrypt() says. The plaintext is in an ordinary string: whoever reads the container
    /// wipes pkcs12_easy_t::decrypted_buffers.
    /// @param params  as in the file
    /// @param data    ciphertext
    /// @param size    bytes of it
    /// @param out     receives the plaintext; empty after a failure
    /// @return whether it was decrypted; if not, refusals() has grown
    DERKIT_API bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size,
                            std::string& out) override;
    /// Encrypts as pbe_crypto_t::encrypt() says.
    /// @param data    plaintext
    /// @param size    bytes of it
    /// @param params  receive views that are valid until the next call
    /// @param out     receives the ciphertext; empty after a failure
    /// @return whether it was encrypted; if not, refusals() has grown
    DERKIT_API bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override;

  private:
    struct state;
    std::unique_ptr<state> state_;
};

/// @}

} // namespace derkit::gost

#endif
