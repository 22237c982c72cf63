// Public keys and signature values.
#include <algorithm>
#include <cstdint>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"

namespace {

// The key size that asn_read_pubkey() returns for an empty BIT STRING; nothing may follow it.
constexpr unsigned int WRAPPED_KEY_SIZE = 0xFFFFFFFF;

// Drops the octet with the number of unused bits, unchecked. An empty content is not rejected: its size wraps. Its
// address is computed as a number, because no pointer may leave its buffer.
blob_t without_unused_bits(const blob_t& bit_string) {
    blob_t key;
    key.size = bit_string.size - 1;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): never followed when it is not inside the input
    key.data = reinterpret_cast<const unsigned char*>(reinterpret_cast<std::uintptr_t>(bit_string.data) + 1);
    return key;
}

// A number that is all zeros keeps one.
blob_t without_leading_zeros(blob_t number) {
    while (number.size >= 2 && number.data[0] == 0) {
        --number.size;
        ++number.data;
    }
    return number;
}

} // namespace

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }  RFC 5280 4.1
// The BIT STRING may run past the SEQUENCE up to the end of the input.
int asn_read_pubkey(const unsigned char* data, long size, asn_pubkey_t& out) {
    if (size < 0) {
        return 0;
    }
    const unsigned int available =
        static_cast<unsigned int>(std::min(static_cast<unsigned long long>(size), 0xFFFFFFFFULL));
    asn_cursor_t in(data, available);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t algorithm = key_info.enter(asn_tag_t::SEQUENCE);
    algorithm.read(asn_tag_t::OBJECT_IDENTIFIER, out.algorithm);
    if (!algorithm.ok()) {
        return 0;
    }
    out.parameters = algorithm.rest();
    asn_cursor_t lenient = key_info.up_to_end_of(in);
    const blob_t bits = lenient.read(asn_tag_t::BIT_STRING);
    if (!lenient.ok()) {
        return 0;
    }
    out.key = without_unused_bits(bits);
    return 1;
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }                             RFC 8017 A.1.1
// The exponent may run past the SEQUENCE up to the end of the key.
int asn_read_rsa_pubkey(const asn_pubkey_t& key, asn_rsa_pubkey_t& out) {
    if (key.key.size == WRAPPED_KEY_SIZE) {
        return 0;
    }
    asn_cursor_t in(key.key);
    asn_cursor_t numbers = in.enter(asn_tag_t::SEQUENCE);
    const blob_t modulus = numbers.read(asn_tag_t::INTEGER);
    if (!numbers.ok()) {
        return 0;
    }
    out.modulus = without_leading_zeros(modulus);
    asn_cursor_t lenient = numbers.up_to_end_of(in);
    lenient.read(asn_tag_t::INTEGER, out.exponent);
    return lenient.ok() ? 1 : 0;
}

// GostR3410-PublicKeyParameters ::= SEQUENCE {                                                      RFC 4491 2.3.2
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER,
//   encryptionParamSet OBJECT IDENTIFIER DEFAULT ... }
// GostR3410-PublicKey ::= OCTET STRING
// Anything but an OBJECT IDENTIFIER in the third place counts as its absence.
int asn_read_gost_pubkey(const asn_pubkey_t& key, asn_gost_pubkey_t& out) {
    asn_cursor_t in(key.parameters);
    asn_cursor_t params = in.enter(asn_tag_t::SEQUENCE);
    params.read_element(asn_tag_t::OBJECT_IDENTIFIER, out.public_key_param_set);
    params.read_element(asn_tag_t::OBJECT_IDENTIFIER, out.digest_param_set);
    if (!params.ok()) {
        return 0;
    }
    out.encryption_param_set = blob_t();
    params.read_element(asn_tag_t::OBJECT_IDENTIFIER, out.encryption_param_set);
    if (key.key.size == WRAPPED_KEY_SIZE) {
        return 0;
    }
    asn_cursor_t bits(key.key);
    bits.read(asn_tag_t::OCTET_STRING, out.key);
    return bits.ok() ? 1 : 0;
}

// Dss-Sig-Value ::= SEQUENCE { r INTEGER, s INTEGER }                                               RFC 3279 2.2.2
// The second INTEGER may run past the SEQUENCE up to the end of the input.
int asn_read_dsa_certsign(const unsigned char* data, unsigned int size, asn_dsa_certsign_t& out) {
    asn_cursor_t in(data, size);
    asn_cursor_t numbers = in.enter(asn_tag_t::SEQUENCE);
    numbers.read(asn_tag_t::INTEGER, out.r);
    if (!numbers.ok()) {
        return 0;
    }
    asn_cursor_t lenient = numbers.up_to_end_of(in);
    lenient.read(asn_tag_t::INTEGER, out.s);
    return lenient.ok() ? 1 : 0;
}
