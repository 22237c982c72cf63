#include "derkit/pkcs8_helper.h"

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "pkcs/pkcs5_pbes2.h"
#include "pkcs/pkcs_oids.h"

namespace {

constexpr unsigned char PRIVATE_KEY_INFO_VERSION[] = {0};

enum key_type_t : unsigned int { KEY_2001 = 0, KEY_2012_256 = 1, KEY_2012_512 = 2 };

bool find_key_type(const blob_t& algorithm, unsigned int& key_type) {
    if (asn_oid_equal_(algorithm, g_oid_ALG_GOST_341001)) {
        key_type = KEY_2001;
    } else if (asn_oid_equal_(algorithm, g_oid_ALG_GOST_341012_256)) {
        key_type = KEY_2012_256;
    } else if (asn_oid_equal_(algorithm, g_oid_ALG_GOST_341012_512)) {
        key_type = KEY_2012_512;
    } else {
        return false;
    }
    return true;
}

struct key_oids_t {
    blob_t algorithm;
    blob_t public_key_param_set;
};

// An unknown key type has empty OIDs, written 06 00.
key_oids_t oids_of(unsigned int key_type) {
    switch (key_type) {
    case KEY_2001:
        return {asn_view_of(g_oid_ALG_GOST_341001), asn_view_of(g_id_GostR3410_2001_CryptoPro_A_ParamSet)};
    case KEY_2012_256:
        return {asn_view_of(g_oid_ALG_GOST_341012_256), asn_view_of(g_oid_tc26_gost_3410_12_256_paramSetA)};
    case KEY_2012_512:
        return {asn_view_of(g_oid_ALG_GOST_341012_512), asn_view_of(g_oid_tc26_gost_3410_12_512_paramSetA)};
    default:
        return {};
    }
}

} // namespace

// PrivateKeyInfo ::= SEQUENCE {                                                                     RFC 5208 5
//   version Version, privateKeyAlgorithm AlgorithmIdentifier,
//   privateKey OCTET STRING, attributes [0] IMPLICIT Attributes OPTIONAL }
// Any version is accepted. The algorithm's parameters must be there but are not read. Attributes and whatever follows
// are ignored.
bool asn_read_pkcs8_priv_key_info(const unsigned char* data, unsigned int size, asn_pkcs8_priv_key_info_t& out) {
    asn_cursor_t in(data, size);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    key_info.skip(asn_tag_t::INTEGER);
    asn_cursor_t algorithm = key_info.enter(asn_tag_t::SEQUENCE);
    algorithm.read(asn_tag_t::OBJECT_IDENTIFIER, out.algorithm);
    algorithm.skip(asn_tag_t::ANY);
    if (!algorithm.ok()) {
        return false;
    }
    key_info.read(asn_tag_t::OCTET_STRING, out.private_key);
    return key_info.ok();
}

// The privateKey holds the key as an OCTET STRING; other forms are refused. Parameter sets are not compared.
bool asn_read_pkcs8_pki_gost(const void* data, unsigned int size, pkcs8_pki_gost_t& out) {
    asn_pkcs8_priv_key_info_t key_info;
    if (!asn_read_pkcs8_priv_key_info(static_cast<const unsigned char*>(data), size, key_info) ||
        !find_key_type(key_info.algorithm, out.key_type)) {
        return false;
    }
    asn_cursor_t key(key_info.private_key);
    key.read(asn_tag_t::OCTET_STRING, out.private_key);
    return key.ok();
}

// GostR3410-PublicKeyParameters ::= SEQUENCE {                                                      RFC 4491 2.3.2
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER }
// The digest parameters are those of GOST R 34.11-94 for the keys of 2012 too.
void asn_write_pkcs8_pki_gost(const pkcs8_pki_gost_t& in, std::string& out) {
    const key_oids_t oids = oids_of(in.key_type);
    asn_tag_t_<256> key_info(asn_tag_t::SEQUENCE);
    key_info.add(
        asn_element(asn_tag_t::INTEGER, PRIVATE_KEY_INFO_VERSION),
        asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, oids.algorithm),
                    asn_element(asn_tag_t::SEQUENCE,
                                asn_element(asn_tag_t::OBJECT_IDENTIFIER, oids.public_key_param_set),
                                asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_id_GostR3411_94_CryptoProParamSet))),
        asn_element(asn_tag_t::OCTET_STRING, asn_element(asn_tag_t::OCTET_STRING, in.private_key)));
    key_info.assign_to(out);
}

// EncryptedPrivateKeyInfo ::= SEQUENCE {                                                            RFC 5208 6
//   encryptionAlgorithm AlgorithmIdentifier, encryptedData OCTET STRING }
// The encrypted data is read before the algorithm is judged; whatever follows is ignored.
bool asn_read_pkcs8_encrypted_pki_gost(const void* data, unsigned int size, pkcs8_encrypted_pki_gost_t& out) {
    asn_cursor_t in(data, size);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    const blob_t algorithm = key_info.read(asn_tag_t::SEQUENCE);
    key_info.read(asn_tag_t::OCTET_STRING, out.encrypted_data);
    return key_info.ok() && asn_read_pkcs5_PBES2(algorithm.data, algorithm.size, out.pbe);
}

void asn_write_pkcs8_encrypted_pki_gost(const pkcs8_encrypted_pki_gost_t& in, std::string& out) {
    asn_tag_t_<300> algorithm(asn_tag_t::SEQUENCE);
    asn_write_pkcs5_PBES2(in.pbe, algorithm);
    asn_tag_t_<512> key_info(asn_tag_t::SEQUENCE);
    key_info.add(algorithm, asn_element(asn_tag_t::OCTET_STRING, in.encrypted_data));
    key_info.assign_to(out);
}
