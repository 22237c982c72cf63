// Digests, HMAC, OMAC, key derivation and random octets, on libgcrypt and GnuTLS. Every failure of these libraries is
// cause::crypto_failure with their words.
#ifndef DERKIT_GOST_CRYPTO_H
#define DERKIT_GOST_CRYPTO_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "derkit/gost/result.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

enum class digest_id { GOST94, STREEBOG256, STREEBOG512, SHA1, SHA224, SHA256, SHA384, SHA512 };

// Octets of a digest.
std::size_t digest_size(digest_id digest);

enum class block_cipher_id { KUZNYECHIK, MAGMA };

// Octets of a block.
std::size_t block_size(block_cipher_id cipher);

// A failure of libgcrypt or GnuTLS, after doing `what`.
failure gcrypt_failure(const char* what, unsigned int error);
failure gnutls_failure(const char* what, int error);

// Initialises libgcrypt unless the application has done so. Everything below does it; whatever else calls libgcrypt must.
result<bool> start_gcrypt();

result<std::string> random_octets(std::size_t size);

constexpr std::size_t SALT_SIZE = 32; // of salts that are written; the most that GnuTLS reads

result<secret> hmac(digest_id digest, std::string_view key, std::string_view data);

// GOST R 34.13-2015 5.6: the whole block.
result<secret> omac(block_cipher_id cipher, std::string_view key, std::string_view data);

// RFC 8018 5.2. An empty salt and zero iterations are refused.
result<secret> pbkdf2(digest_id digest, std::string_view password, std::string_view salt, std::uint32_t iterations,
                      std::size_t size);

// What appendix B derives octets for (RFC 7292 B.3).
enum class pkcs12_purpose : unsigned char { KEY = 1, IV = 2, MAC = 3 };

// RFC 7292 B.2. `password` is big-endian UTF-16 with its terminator, or nothing at all.
result<secret> pkcs12_kdf(digest_id digest, pkcs12_purpose purpose, std::string_view password, std::string_view salt,
                          std::uint32_t iterations, std::size_t size);

// The password of appendix B: big-endian UTF-16 with two zero octets (RFC 7292 B.1). Octets that are not UTF-8 are
// widened one by one, as OpenSSL does.
secret bmp_password(std::string_view utf8);

// K(1) and K(2) of KDF_TREE_GOSTR3411_2012_256 with R = 1 and L = 512 (RFC 7836 4.5), one after the other.
result<secret> kdf_tree(std::string_view key, std::string_view label, std::string_view seed);

// Big-endian UTF-16, without a byte order mark, and UTF-8; nothing when the text is not valid.
std::optional<secret> utf16_from_utf8(std::string_view utf8);
std::optional<std::string> utf8_from_utf16(std::string_view utf16);

} // namespace derkit::gost

#endif
