// Encrypted private keys, and how they are told from plain ones.
#ifndef DERKIT_TOOLS_FORMATS_ENCRYPTED_KEY_H
#define DERKIT_TOOLS_FORMATS_ENCRYPTED_KEY_H

#include <optional>
#include <string>
#include <string_view>

#include "derkit/asn_types.h"
#include "formats/pbe_outline.h"
#include "io/secret.h"

// PrivateKeyInfo, EncryptedPrivateKeyInfo (RFC 5208), or something else.
enum class key_form_t { PLAIN, ENCRYPTED, NEITHER };

// By the first field: a version, or the algorithm of the encryption. What is behind it is not looked at.
key_form_t find_key_form(std::string_view der);

// Views into the bytes that were read.
struct encrypted_key_t {
    blob_t element;  // the EncryptedPrivateKeyInfo, complete
    blob_t trailing; // what stands behind it
    unsigned int ciphertext_size = 0;
    pbe_outline_t encryption;
};

// Reads an EncryptedPrivateKeyInfo, however it is encrypted.
bool read_encrypted_key(std::string_view der, encrypted_key_t& out);

// The PrivateKeyInfo, to be wiped; nothing when the password is wrong, or the data damaged. Only for an encryption that
// is not declined.
std::optional<std::string> decrypt_key(const encrypted_key_t& key, const std::optional<secret_t>& password);

#endif
