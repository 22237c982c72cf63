#include "formats/private_key.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "derkit/pkcs8_helper.h"
#include "formats/oid_text.h"
#include "io/bytes.h"
#include "io/hex.h"

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
    const std::optional<std::string> dotted = oid_to_text(chars(algorithm));
    const gost_family_t* const found = std::find_if(std::begin(GOST_FAMILIES), std::end(GOST_FAMILIES),
                                                    [&](const gost_family_t& row) { return row.oid == dotted; });
    return found != std::end(GOST_FAMILIES) ? found : nullptr;
}

std::string other_family(const blob_t& algorithm) {
    const std::string dotted = oid_to_text(chars(algorithm)).value_or(to_hex(chars(algorithm)));
    return I2S_PKI_ALG_T->getString(PKI_OID_TO_KEY_ALG(algorithm.data, algorithm.size), dotted.c_str());
}

// A key, perhaps with as many octets again for each mask behind it: K | M1 | ... | Mk.
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

// Fills the key's fields from octets that may have masks behind them. Any other number of octets is no key, but the
// shape is known all the same.
void set_masked_key(const std::string& shape, const blob_t& octets, unsigned int key_size, private_key_t& out) {
    out.shape = shape;
    out.secret = octets;
    if (is_key_with_masks(octets, key_size)) {
        out.shape += masks_suffix(octets, key_size);
        out.bits = 8 * key_size;
    }
}

// Big-endian, unlike the other shapes. Some writers leave the zero octet out that keeps a number from being negative.
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

// Octets of the very size of a key are one, even when they happen to look like DER: an OCTET STRING or INTEGER around
// a key is longer.
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

// The library's reader knows one shape, and is misled by raw octets that look like it.
bool library_reads(std::string_view der, const private_key_t& key) {
    pkcs8_pki_gost_t read;
    return asn_read_pkcs8_pki_gost(der.data(), size_of(der), read) && read.private_key.data == key.secret.data &&
           read.private_key.size == key.secret.size;
}

// GostR3410-PublicKeyParameters ::= SEQUENCE {                                                      RFC 4491 2.3.2
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER,
//   encryptionParamSet OBJECT IDENTIFIER OPTIONAL }
// RFC 9215 lets the second one be missing. Other algorithms have one OID without a SEQUENCE, something else or nothing.
std::vector<blob_t> read_param_sets(asn_cursor_t params) {
    std::vector<blob_t> oids;
    if (params.next_is(asn_tag_t::SEQUENCE)) {
        params = params.enter(asn_tag_t::SEQUENCE);
    }
    while (params.next_is(asn_tag_t::OBJECT_IDENTIFIER)) {
        const blob_t oid = params.read(asn_tag_t::OBJECT_IDENTIFIER);
        if (params.ok()) {
            oids.push_back(oid);
        }
    }
    return oids;
}

// What may stand behind privateKey: attributes [0], publicKey [1] IMPLICIT BIT STRING. Anything else is passed over.
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
// Gives the first field that cannot be read, or a null pointer.
const char* read_fields(std::string_view der, private_key_t& out) {
    asn_cursor_t in(der.data(), size_of(der));
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    if (!in.ok()) {
        return "SEQUENCE";
    }
    out.trailing = in.rest();
    key_info.skip(asn_tag_t::INTEGER);
    if (!key_info.ok()) {
        return "version";
    }
    asn_cursor_t algorithm = key_info.enter(asn_tag_t::SEQUENCE);
    out.algorithm = algorithm.read(asn_tag_t::OBJECT_IDENTIFIER);
    if (!algorithm.ok()) {
        return "privateKeyAlgorithm";
    }
    out.param_sets = read_param_sets(algorithm);
    out.content = key_info.read(asn_tag_t::OCTET_STRING);
    if (!key_info.ok()) {
        return "privateKey";
    }
    read_optional_fields(key_info, out);
    return nullptr;
}

} // namespace

bool is_key_label(std::string_view label) {
    return label == "PRIVATE KEY" || label == "ENCRYPTED PRIVATE KEY";
}

bool read_private_key(std::string_view der, private_key_t& out, std::string& problem) {
    out = private_key_t();
    const char* const missing = read_fields(der, out);
    if (missing != nullptr) {
        problem = std::string("not a PrivateKeyInfo: ") + missing + " is missing or malformed";
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
    out.readable = library_reads(der, out);
    return true;
}
