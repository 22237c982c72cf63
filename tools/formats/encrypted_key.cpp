#include "formats/encrypted_key.h"

#include "asn/asn_cursor.h"
#include "derkit/pkcs8_helper.h"
#include "formats/gost_pbe_crypto.h"
#include "io/bytes.h"

key_form_t find_key_form(std::string_view der) {
    asn_cursor_t in(der.data(), size_of(der));
    const asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    if (key_info.next_is(asn_tag_t::INTEGER)) {
        return key_form_t::PLAIN;
    }
    return key_info.next_is(asn_tag_t::SEQUENCE) ? key_form_t::ENCRYPTED : key_form_t::NEITHER;
}

// EncryptedPrivateKeyInfo ::= SEQUENCE {                                   RFC 5208 6
//   encryptionAlgorithm AlgorithmIdentifier, encryptedData OCTET STRING }
bool read_encrypted_key(std::string_view der, encrypted_key_t& out) {
    asn_cursor_t in(der.data(), size_of(der));
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    out.trailing = in.rest();
    out.element.data = octets(der);
    out.element.size = size_of(der) - out.trailing.size;
    out.encryption = outline_pbe(key_info.read(asn_tag_t::SEQUENCE));
    out.ciphertext_size = key_info.read(asn_tag_t::OCTET_STRING).size;
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
