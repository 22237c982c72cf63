// Ciphers, on libgcrypt and GnuTLS. Every failure of these libraries is cause::crypto_failure with their words.
#ifndef DERKIT_GOST_CIPHERS_H
#define DERKIT_GOST_CIPHERS_H

#include <cstddef>
#include <string_view>

#include "derkit/gost/limits.h"
#include "derkit/gost/result.h"
#include "derkit/gost/secret.h"
#include "gost/crypto.h"

namespace derkit::gost {

enum class direction { ENCRYPT, DECRYPT };

// GOST 28147-89 in CFB mode with key meshing every 1,024 octets (RFC 4357 2.3.2). `sbox` is the dotted OID of a parameter
// set; the key has 32 octets and the IV 8.
result<secret> gost28147_cfb(direction way, std::string_view sbox, std::string_view key, std::string_view iv,
                             std::string_view data);

// Block ciphers in CBC mode with the padding of RFC 8018 6.1.1, and a stream cipher.
enum class classic_cipher { AES, TRIPLE_DES, RC2_40, RC2_128, RC4 };

// Octets of a block, and of the IV; 0 for a stream cipher.
std::size_t block_size(classic_cipher cipher);

// Decrypting wrong padding is cause::wrong_password. The key of AES has 16, 24 or 32 octets.
result<secret> run_classic(direction way, classic_cipher cipher, std::string_view key, std::string_view iv,
                           std::string_view data);

// Octets after which CTR-ACPKM changes its key: RFC 9337 7.3, or RFC 9189 4.2.2 for TLS.
std::size_t section_size(block_cipher_id cipher, section sections);

// Kuznyechik or Magma in CTR-ACPKM (RFC 8645 6.2.2), which is its own inverse. The key, 32 octets, changes after every
// `section_size` octets, a multiple of the block; the IV has half a block.
result<secret> ctr_acpkm(block_cipher_id cipher, std::size_t section_size, std::string_view key, std::string_view iv,
                         std::string_view data);

} // namespace derkit::gost

#endif
