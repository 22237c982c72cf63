// Private keys: GOST keys in the shapes that occur, plain or encrypted.
#ifndef DERKIT_TOOLS_FORMATS_PRIVATE_KEY_H
#define DERKIT_TOOLS_FORMATS_PRIVATE_KEY_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_types.h"
#include "formats/named_oid.h"
#include "formats/pbe_outline.h"
#include "io/secret.h"

// Views into the bytes that were read.
struct private_key_t {
    blob_t algorithm;     // OID content
    std::string family;   // "GOST R 34.10-2001", "GOST R 34.10-2012 256", "GOST R 34.10-2012 512", or the
                          // name or dotted OID of another algorithm
    bool is_gost = false; // whether the family is one of GOST, so that its shapes are known
    std::vector<named_oid_t> param_sets;
    std::string shape;     // how the key octets are wrapped: "OCTET STRING", "INTEGER", "raw",
                           // "SEQUENCE of OCTET STRING and public key", perhaps followed by ", key and
                           // mask" or ", key and 2 masks"; "unknown"
    bool readable = false; // whether the octets of the key are known
    blob_t secret;         // the key octets, masks included; empty if the shape is unknown
    unsigned int bits = 0; // size of the key; 0 if unknown
    bool has_attributes = false;
    bool has_public_key = false;
    blob_t content;  // of privateKey
    blob_t trailing; // what follows the PrivateKeyInfo
};

// Whether this label of PEM announces a PrivateKeyInfo or an EncryptedPrivateKeyInfo (RFC 7468, 10 and 11).
bool is_key_label(std::string_view label);

// Reads a PrivateKeyInfo (RFC 5208, RFC 5958). On failure `problem` says what is wrong.
bool read_private_key(std::string_view der, private_key_t& out, std::string& problem);

// PrivateKeyInfo, EncryptedPrivateKeyInfo (RFC 5208), or something else.
enum class key_form_t { PLAIN, ENCRYPTED, NEITHER };

// By the first field: a version, or the algorithm of the encryption. What follows it is ignored.
key_form_t find_key_form(std::string_view der);

// Views into the bytes that were read.
struct encrypted_key_t {
    blob_t element;  // the EncryptedPrivateKeyInfo, complete
    blob_t trailing; // what follows it
    blob_t ciphertext;
    pbe_outline_t encryption;
};

// Reads an EncryptedPrivateKeyInfo, however it is encrypted.
bool read_encrypted_key(std::string_view der, encrypted_key_t& out);

// The PrivateKeyInfo, which the caller wipes; nothing if the password is wrong or the data damaged. Only for an
// encryption that is not declined.
std::optional<std::string> decrypt_key(const encrypted_key_t& key, const std::optional<secret_t>& password);

// What is wrong if the octets of a GOST key are not a key; else nothing.
std::string find_fault(const private_key_t& key);

// A file with one private key in PKCS#8, PEM or DER, plain or encrypted.
class key_file_t {
  public:
    // "-" is the standard input. Throws failure_t, also for an encryption that is not supported.
    explicit key_file_t(const std::string& file);
    ~key_file_t() { wipe(der_.data(), der_.size()); }
    key_file_t(const key_file_t&) = delete;
    key_file_t& operator=(const key_file_t&) = delete;

    // The PrivateKeyInfo, which the caller wipes. The password matters to an encrypted key only. Throws failure_t.
    std::string open(const std::optional<secret_t>& password) const;

  private:
    std::string place_; // for messages
    std::string der_;
};

#endif
