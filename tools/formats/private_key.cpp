#include "formats/private_key.h"

#include <algorithm>
#include <iterator>

#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "derkit/pkcs8_helper.h"
#include "formats/der.h"
#include "formats/gost_pbe_crypto.h"
#include "formats/pem.h"
#include "io/failure.h"

namespace {

constexpr const char* UNKNOWN_SHAPE = "unknown";

constexpr unsigned char CONTEXT_1_PRIMITIVE = 0x81;

struct gost_family_t {
    std::string_view oid;
    std::string_view name;
    unsigned int size; // of a key, in octets
};

// RFC 4357, RFC 9215. Some programs keep a key under the OID of its key agreement.
constexpr gost_family_t GOST_FAMILIES[] = {
    {"1.2.643.2.2.20", "GOST R 34.10-94", 32},
    {"1.2.643.2.2.19", "GOST R 34.10-2001", 32},
    {"1.2.643.7.1.1.1.1", "GOST R 34.10-2012 256", 32},
    {"1.2.643.7.1.1.1.2", "GOST R 34.10-2012 512", 64},
    {"1.2.643.2.2.99", "GOST R 34.10-94 key agreement", 32},
    {"1.2.643.2.2.98", "GOST R 34.10-2001 key agreement", 32},
    {"1.2.643.7.1.1.6.1", "GOST R 34.10-2012 256 key agreement", 32},
    {"1.2.643.7.1.1.6.2", "GOST R 34.10-2012 512 key agreement", 64},
};

const gost_family_t* find_gost_family(const blob_t& algorithm) {
    const std::string dotted = name_oid(algorithm).oid;
    const gost_family_t* const found = std::ranges::find(GOST_FAMILIES, dotted, &gost_family_t::oid);
    return found != std::end(GOST_FAMILIES) ? found : nullptr;
}

std::string other_family(const blob_t& algorithm) {
    const std::string dotted = name_oid(algorithm).oid;
    return I2S_PKI_ALG_T->getString(PKI_OID_TO_KEY_ALG(algorithm.data, algorithm.size), dotted.c_str());
}

// A key, perhaps followed by masks of the same size: K | M1 | ... | Mk.
bool is_key_with_masks(const blob_t& octets, unsigned int key_size) {
    return octets.size != 0 && octets.size % key_size == 0;
}

std::string masks_suffix(const blob_t& octets, unsigned int key_size) {
    const unsigned int num_masks = octets.size / key_size - 1;
    if (num_masks == 0) {
        return "";
    }
    return num_masks == 1 ? ", key and mask" : ", key and " + std::to_string(num_masks) + " masks";
}

// Fills the key's fields from octets that may contain masks. Any other number of octets is no key, but the shape is
// known all the same.
void set_masked_key(const std::string& shape, const blob_t& octets, unsigned int key_size, private_key_t& out) {
    out.shape = shape;
    out.secret = octets;
    if (is_key_with_masks(octets, key_size)) {
        out.shape += masks_suffix(octets, key_size);
        out.bits = 8 * key_size;
    }
}

// Big-endian, unlike the other shapes. Some writers omit the zero octet that keeps the number positive.
void set_integer_key(const blob_t& content, unsigned int key_size, private_key_t& out) {
    out.shape = "INTEGER";
    out.secret = content;
    const std::string_view number = chars(content);
    const std::size_t num_zeros = std::min(number.find_first_not_of('\0'), number.size());
    if (num_zeros != number.size() && number.size() - num_zeros <= key_size) {
        out.bits = 8 * key_size;
    }
}

// GostR3410-2012-KeyValueInfo ::= SEQUENCE {                                                        RFC 9548
//   GostR3410-2012-KeyValueMask, GostR3410-2012-PublicKey }
// Both are OCTET STRINGs.
void set_key_with_public_key(asn_cursor_t key_value_info, unsigned int key_size, private_key_t& out) {
    const blob_t octets = key_value_info.read(asn_tag_t::OCTET_STRING);
    key_value_info.skip(asn_tag_t::OCTET_STRING);
    if (key_value_info.ok()) {
        set_masked_key("SEQUENCE of OCTET STRING and public key", octets, key_size, out);
        out.has_public_key = true;
    }
}

// Octets of exactly the size of a key are one, even if they look like DER: an OCTET STRING or INTEGER around a key is
// longer.
void recognise_shape(unsigned int key_size, private_key_t& out) {
    out.shape = UNKNOWN_SHAPE;
    if (is_key_with_masks(out.content, key_size)) {
        return set_masked_key("raw", out.content, key_size, out);
    }
    asn_cursor_t in(out.content);
    if (in.next_is(asn_tag_t::OCTET_STRING)) {
        const blob_t octets = in.read(asn_tag_t::OCTET_STRING);
        if (in.ok()) {
            set_masked_key("OCTET STRING", octets, key_size, out);
        }
    } else if (in.next_is(asn_tag_t::INTEGER)) {
        const blob_t number = in.read(asn_tag_t::INTEGER);
        if (in.ok()) {
            set_integer_key(number, key_size, out);
        }
    } else {
        set_key_with_public_key(in.enter(asn_tag_t::SEQUENCE), key_size, out);
    }
}

// Algorithms other than GOST have one OID without a SEQUENCE, something else or nothing.
std::vector<named_oid_t> read_param_sets(asn_cursor_t params) {
    if (params.next_is(asn_tag_t::SEQUENCE)) {
        params = params.enter(asn_tag_t::SEQUENCE);
    }
    return read_gost_param_sets(params);
}

// What may follow privateKey: attributes [0], publicKey [1] IMPLICIT BIT STRING. Anything else is ignored.
void read_optional_fields(asn_cursor_t in, private_key_t& out) {
    while (in.ok() && !in.empty()) {
        const unsigned char tag = *in.p;
        in.skip(asn_tag_t::ANY);
        out.has_attributes = out.has_attributes || tag == asn_tag_t::CONTEXT_0;
        out.has_public_key = out.has_public_key || tag == CONTEXT_1_PRIMITIVE || tag == asn_tag_t::CONTEXT_1;
    }
}

// PrivateKeyInfo ::= SEQUENCE {                                                          RFC 5208 5, RFC 5958 2
//   version Version, privateKeyAlgorithm AlgorithmIdentifier, privateKey OCTET STRING,
//   attributes [0] IMPLICIT Attributes OPTIONAL, publicKey [1] IMPLICIT BIT STRING OPTIONAL }
void read_fields(std::string_view der, private_key_t& out, missing_field_t& missing) {
    asn_cursor_t in = cursor_over(der);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    missing.check(in, "SEQUENCE");
    out.trailing = in.rest();
    key_info.skip(asn_tag_t::INTEGER);
    missing.check(key_info, "version");
    asn_cursor_t algorithm = key_info.enter(asn_tag_t::SEQUENCE);
    out.algorithm = algorithm.read(asn_tag_t::OBJECT_IDENTIFIER);
    missing.check(algorithm, "privateKeyAlgorithm");
    out.param_sets = read_param_sets(algorithm);
    out.content = key_info.read(asn_tag_t::OCTET_STRING);
    missing.check(key_info, "privateKey");
    read_optional_fields(key_info, out);
}

// The element, which nothing may follow.
void require_key(std::string_view der, const std::string& name) {
    private_key_t key;
    std::string problem;
    if (!read_private_key(der, key, problem)) {
        throw failure_t(name, problem);
    }
    if (key.trailing.size != 0) {
        throw failure_t(name, "has " + std::to_string(key.trailing.size) + " bytes after the key");
    }
}

encrypted_key_t require_encrypted_key(std::string_view der, const std::string& name) {
    encrypted_key_t encrypted;
    if (!read_encrypted_key(der, encrypted)) {
        throw failure_t(name, "neither a PrivateKeyInfo nor an EncryptedPrivateKeyInfo, or cut short");
    }
    if (!encrypted.encryption.declined.empty()) {
        throw failure_t(name, "the key " + encrypted.encryption.declined);
    }
    return encrypted;
}

bool is_encrypted(std::string_view der) {
    return find_key_form(der) == key_form_t::ENCRYPTED;
}

// The only key among the blocks of a text. The caller wipes it.
pem_block_t find_key_block(std::string_view text, const std::string& name) {
    pem_reader_t reader(text);
    pem_block_t found;
    const pem_blocks_t blocks = take_pem_blocks(reader, is_key_label, [&](pem_block_t& block, unsigned int number) {
        if (number > 1) {
            throw failure_t(name, "holds more than one private key");
        }
        found = std::move(block);
    });
    if (blocks.num_taken == 0) {
        const std::string label = blocks.other_label.value_or("");
        throw failure_t(name, label.empty() ? "neither PEM nor DER of a PKCS#8 key"
                                            : "holds no PKCS#8 key (PRIVATE KEY), but " + label);
    }
    return found;
}

} // namespace

bool is_key_label(std::string_view label) {
    return label == "PRIVATE KEY" || label == "ENCRYPTED PRIVATE KEY";
}

bool read_private_key(std::string_view der, private_key_t& out, std::string& problem) {
    out = private_key_t();
    missing_field_t missing;
    read_fields(der, out, missing);
    if (!missing.none()) {
        problem = missing.problem("a PrivateKeyInfo");
        return false;
    }
    const gost_family_t* const family = find_gost_family(out.algorithm);
    if (family == nullptr) {
        out.family = other_family(out.algorithm);
        return true;
    }
    out.family = family->name;
    out.is_gost = true;
    recognise_shape(family->size, out);
    out.readable = out.bits != 0;
    return true;
}

key_form_t find_key_form(std::string_view der) {
    asn_cursor_t in = cursor_over(der);
    const asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    if (key_info.next_is(asn_tag_t::INTEGER)) {
        return key_form_t::PLAIN;
    }
    return key_info.next_is(asn_tag_t::SEQUENCE) ? key_form_t::ENCRYPTED : key_form_t::NEITHER;
}

// EncryptedPrivateKeyInfo ::= SEQUENCE {                                   RFC 5208 6, RFC 5958 3
//   encryptionAlgorithm AlgorithmIdentifier, encryptedData OCTET STRING }
bool read_encrypted_key(std::string_view der, encrypted_key_t& out) {
    asn_cursor_t in = cursor_over(der);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    out.trailing = in.rest();
    out.element = make_blob(der.data(), size_of(der) - out.trailing.size);
    out.encryption = outline_pbe(key_info.read(asn_tag_t::SEQUENCE));
    out.ciphertext = key_info.read(asn_tag_t::OCTET_STRING);
    return key_info.ok();
}

std::optional<std::string> decrypt_key(const encrypted_key_t& key, const std::optional<secret_t>& password) {
    pkcs8_encrypted_pki_gost_t encrypted;
    if (!asn_read_pkcs8_encrypted_pki_gost(key.element.data, key.element.size, encrypted)) {
        return std::nullopt;
    }
    gost_pbe_crypto_t crypto(password, container_profile_t::STANDARD);
    std::string der;
    const bool done = crypto.decrypt(encrypted.pbe, encrypted.encrypted_data.data, encrypted.encrypted_data.size, der);
    if (done && find_key_form(der) == key_form_t::PLAIN) {
        return der;
    }
    wipe(der.data(), der.size());
    return std::nullopt;
}

std::string find_fault(const private_key_t& key) {
    if (!key.is_gost || key.readable) {
        return "";
    }
    const unsigned int size = key.secret.data != nullptr ? key.secret.size : key.content.size;
    return "its " + std::to_string(size) + " bytes (shape: " + key.shape + ") are not a key of " + key.family;
}

key_file_t::key_file_t(const std::string& file) : place_(input_name(file)) {
    std::string bytes = read_filled_input(file);
    const wipe_at_end_t wiped(bytes);
    if (find_key_form(bytes) != key_form_t::NEITHER) {
        der_ = bytes;
    } else {
        pem_block_t block = find_key_block(bytes, place_);
        const wipe_at_end_t wiped_block(block.der);
        place_ += " (line " + std::to_string(block.line) + ")";
        if (!block.problem.empty()) {
            throw failure_t(place_, block.problem);
        }
        der_ = block.der;
    }
    if (is_encrypted(der_)) {
        require_encrypted_key(der_, place_);
    } else {
        require_key(der_, place_);
    }
}

std::string key_file_t::open(const std::optional<secret_t>& password) const {
    if (!is_encrypted(der_)) {
        return der_;
    }
    std::optional<std::string> plaintext = decrypt_key(require_encrypted_key(der_, place_), password);
    if (!plaintext.has_value()) {
        throw failure_t(place_, "wrong password for the encrypted key, or the key is damaged");
    }
    require_key(*plaintext, place_);
    return std::move(*plaintext);
}
