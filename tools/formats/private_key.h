// Private keys: PKCS#8, plain or encrypted.
#ifndef DERKIT_TOOLS_FORMATS_PRIVATE_KEY_H
#define DERKIT_TOOLS_FORMATS_PRIVATE_KEY_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_types.h"
#include "derkit/gost/private_key.h"
#include "formats/refusal.h"
#include "io/secret.h"

// A PrivateKeyInfo, with views into the bytes that were read.
struct private_key_t {
    blob_t algorithm;     // OID content
    std::string family;   // "GOST R 34.10-2012 256", or the name or dotted OID of another algorithm
    bool is_gost = false; // whether the GOST library has keys of this family
    std::vector<named_oid_t> param_sets;
    std::string shape;     // how a GOST key is wrapped; empty if it is not known
    unsigned int size = 0; // octets of the key in its shape; of all of privateKey if that is not known
    bool has_attributes = false;
    bool has_public_key = false;
    blob_t content;                       // of privateKey
    blob_t trailing;                      // what follows the PrivateKeyInfo
    std::optional<gost::private_key> key; // a GOST key that is whole
    std::string fault;                    // why a GOST key is not; empty for other algorithms

    unsigned int bits() const { return key.has_value() ? 8 * static_cast<unsigned int>(key->number().size()) : 0; }
};

// Whether this label of PEM announces a PrivateKeyInfo or an EncryptedPrivateKeyInfo (RFC 7468, 10 and 11).
bool is_key_label(std::string_view label);

// Reads a PrivateKeyInfo (RFC 5208, RFC 5958). On failure `problem` says what is wrong.
bool read_private_key(std::string_view der, private_key_t& out, std::string& problem);

// PrivateKeyInfo, EncryptedPrivateKeyInfo (RFC 5208), or something else.
enum class key_form_t { PLAIN, ENCRYPTED, NEITHER };

// By the first field: a version, or the algorithm of the encryption. What follows it is ignored.
key_form_t find_key_form(std::string_view der);

// A file with one private key in PKCS#8, PEM or DER, plain or encrypted.
class key_file_t {
  public:
    // "-" is the standard input. Throws failure_t, also for an encryption that is not supported.
    explicit key_file_t(const std::string& file, const gost::limits& cost = gost::limits());
    ~key_file_t() { wipe(der_.data(), der_.size()); }
    key_file_t(const key_file_t&) = delete;
    key_file_t& operator=(const key_file_t&) = delete;

    bool is_encrypted() const { return find_key_form(der_) == key_form_t::ENCRYPTED; }

    // The file, and the line in it, for messages.
    const std::string& place() const { return place_; }

    // The PrivateKeyInfo. The password matters to an encrypted key only. Throws failure_t.
    gost::secret open(const std::optional<secret_t>& password) const;

  private:
    gost::limits cost_;
    std::string place_;
    std::string der_;
};

#endif
