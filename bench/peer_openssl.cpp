// OpenSSL: names, object identifiers, keys, signatures, digests, times. Its containers are in a file of their own.
#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/bio.h>
#include <openssl/buffer.h>
#include <openssl/crypto.h>
#include <openssl/dsa.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <algorithm>
#include <set>

#include "algorithms.h"
#include "der.h"
#include "derkit/asn_helper.h"
#include "keys.h"
#include "names.h"
#include "oids.h"
#include "peer_openssl.h"
#include "row.h"
#include "texts.h"

namespace {

constexpr const char* NAME = "OpenSSL";

// UTF-8 as it is, otherwise RFC 2253: the last RDN comes first.
struct to_text_t {
    owned_t<BIO, BIO_free_all> bio{BIO_new(BIO_s_mem())};
    std::string_view text;
    void operator()(const name_t& name) {
        BIO_reset(bio.get());
        const unsigned char* p = octets(name.der);
        const owned_t<X509_NAME, X509_NAME_free> parsed(d2i_X509_NAME(nullptr, &p, static_cast<long>(name.der.size())));
        X509_NAME_print_ex(bio.get(), parsed.get(), 0,
                           XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB));
        BUF_MEM* memory = nullptr;
        BIO_get_mem_ptr(bio.get(), &memory);
        text = std::string_view(memory->data, memory->length);
    }
    std::string shown(const name_t&) const { return listed_values(text, order_t::REVERSED); }
};

// Object identifiers

struct oid_to_der_t {
    unsigned char content[64];
    int size = 0;
    void operator()(const oid_t& oid) {
        size = a2d_ASN1_OBJECT(content, sizeof content, oid.text.data(), static_cast<int>(oid.text.size()));
    }
    std::string shown(const oid_t&) const { return std::string(as_chars(content, static_cast<std::size_t>(size))); }
};

struct oid_to_text_t {
    char text[128];
    void operator()(const oid_t& oid) {
        const unsigned char* p = octets(oid.der);
        const owned_t<ASN1_OBJECT, ASN1_OBJECT_free> object(
            d2i_ASN1_OBJECT(nullptr, &p, static_cast<long>(oid.der.size())));
        OBJ_obj2txt(text, sizeof text, object.get(), 1);
    }
    std::string shown(const oid_t&) const { return text; }
};

struct by_name_t {
    int nid = NID_undef;
    void operator()(const named_oid_t& named) { nid = OBJ_sn2nid(named.spelling.c_str()); }
    std::string shown(const named_oid_t&) const {
        const ASN1_OBJECT* const object = OBJ_nid2obj(nid);
        return std::string(as_chars(OBJ_get0_data(object), OBJ_length(object)));
    }
};

std::string upper_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

// From objects that exist beforehand, as the library's side gets content octets; decoding would look them up already.
struct by_der_t {
    std::vector<owned_t<ASN1_OBJECT, ASN1_OBJECT_free>> objects;
    const char* name = nullptr;
    by_der_t() {
        for (const named_oid_t& named : oid_table().lookups) {
            unsigned char* const content = const_cast<unsigned char*>(octets(named.oid.content));
            objects.emplace_back(
                ASN1_OBJECT_create(NID_undef, content, static_cast<int>(named.oid.content.size()), nullptr, nullptr));
        }
    }
    void operator()(const named_oid_t& named) {
        const std::size_t index = static_cast<std::size_t>(&named - oid_table().lookups.data());
        name = OBJ_nid2sn(OBJ_obj2nid(objects[index].get()));
    }
    std::string shown(const named_oid_t&) const { return upper_case(name); }
};

bool is_plain(const std::string& name) {
    return !name.empty() && name.find_first_of(" \t=,") == std::string::npos;
}

// Names that differ in their case alone, and OIDs with several names, would not be the same lookups.
std::vector<named_oid_t> list_named_oids() {
    std::vector<named_oid_t> list;
    std::set<std::string> seen;
    for (int nid = 1; nid < OBJ_new_nid(0); ++nid) {
        const ASN1_OBJECT* const object = OBJ_nid2obj(nid);
        if (object == nullptr || OBJ_length(object) == 0) {
            continue;
        }
        char text[128];
        OBJ_obj2txt(text, sizeof text, object, 1);
        const std::string name = OBJ_nid2sn(nid);
        if (is_plain(name) && seen.insert(upper_case(name)).second && seen.insert(text).second) {
            list.push_back({make_oid(text), upper_case(name), name});
        }
    }
    return list;
}

// Keys

struct read_key_t {
    owned_t<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free> key_info;
    unsigned int type = 3;
    std::string_view key;
    void operator()(const private_key_t& input) {
        const unsigned char* p = octets(input.der);
        key_info.reset(d2i_PKCS8_PRIV_KEY_INFO(nullptr, &p, static_cast<long>(input.der.size())));
        const ASN1_OBJECT* algorithm = nullptr;
        const unsigned char* data = nullptr;
        int size = 0;
        PKCS8_pkey_get0(&algorithm, &data, &size, nullptr, key_info.get());
        const int nid = OBJ_obj2nid(algorithm);
        type = nid == NID_id_GostR3410_2001       ? 0
               : nid == NID_id_GostR3410_2012_256 ? 1
               : nid == NID_id_GostR3410_2012_512 ? 2
                                                  : 3;
        const unsigned char* content = data;
        long content_size = 0;
        int tag = 0;
        int tag_class = 0;
        ASN1_get_object(&content, &content_size, &tag, &tag_class, size);
        key = as_chars(content, static_cast<std::size_t>(content_size));
    }
    std::string shown(const private_key_t&) const { return listed_private_key(type, key); }
};

// Gives an element around bytes, in memory that OpenSSL takes over.
unsigned char* new_element(int tag, std::string_view bytes, int& size) {
    const int content_size = static_cast<int>(bytes.size());
    size = ASN1_object_size(0, content_size, tag);
    unsigned char* const start = static_cast<unsigned char*>(OPENSSL_malloc(static_cast<std::size_t>(size)));
    unsigned char* p = start;
    ASN1_put_object(&p, 0, content_size, tag, V_ASN1_UNIVERSAL);
    std::copy(bytes.begin(), bytes.end(), p);
    return start;
}

struct write_key_t {
    std::string der;
    void operator()(const private_key_t& input) {
        static constexpr int ALGORITHMS[] = {NID_id_GostR3410_2001, NID_id_GostR3410_2012_256,
                                             NID_id_GostR3410_2012_512};
        static const std::string PARAMETERS[] = {parameters_of(0), parameters_of(1), parameters_of(2)};
        ASN1_STRING* const parameters = ASN1_STRING_new();
        ASN1_STRING_set(parameters, PARAMETERS[input.type].data(), static_cast<int>(PARAMETERS[input.type].size()));
        int size = 0;
        unsigned char* const key = new_element(V_ASN1_OCTET_STRING, input.key, size);
        const owned_t<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free> key_info(PKCS8_PRIV_KEY_INFO_new());
        PKCS8_pkey_set0(key_info.get(), OBJ_nid2obj(ALGORITHMS[input.type]), 0, V_ASN1_SEQUENCE, parameters, key, size);
        encode_into(der, i2d_PKCS8_PRIV_KEY_INFO, key_info.get());
    }
    std::string shown(const private_key_t&) const { return der; }

    static std::string parameters_of(std::size_t type) {
        return sequence({oid_element(KEY_FAMILIES[type].public_key_param_set), oid_element(DIGEST_PARAM_SET)});
    }
};

struct read_encrypted_key_t {
    owned_t<X509_SIG, X509_SIG_free> key_info;
    owned_t<PBE2PARAM, PBE2PARAM_free> pbes2;
    owned_t<PBKDF2PARAM, PBKDF2PARAM_free> pbkdf2;
    owned_t<ASN1_SEQUENCE_ANY, free_any> cipher_params;
    std::string_view salt, iv, encrypted;
    long iterations = 0;
    bool ok = false;
    void operator()(const encrypted_key_t& input) {
        const unsigned char* p = octets(input.der);
        key_info.reset(d2i_X509_SIG(nullptr, &p, static_cast<long>(input.der.size())));
        const X509_ALGOR* algorithm = nullptr;
        const ASN1_OCTET_STRING* octet_string = nullptr;
        X509_SIG_get0(key_info.get(), &algorithm, &octet_string);
        encrypted = chars_of(octet_string);
        pbes2.reset(unpack<PBE2PARAM>(algorithm->parameter, ASN1_ITEM_rptr(PBE2PARAM)));
        pbkdf2.reset(unpack<PBKDF2PARAM>(pbes2->keyfunc->parameter, ASN1_ITEM_rptr(PBKDF2PARAM)));
        cipher_params.reset(unpack<ASN1_SEQUENCE_ANY>(pbes2->encryption->parameter, ASN1_ITEM_rptr(ASN1_SEQUENCE_ANY)));
        salt = chars_of(pbkdf2->salt->value.octet_string);
        iterations = ASN1_INTEGER_get(pbkdf2->iter);
        iv = chars_of(sk_ASN1_TYPE_value(cipher_params.get(), 0)->value.octet_string);
        ok = OBJ_obj2nid(algorithm->algorithm) == NID_pbes2 &&
             OBJ_obj2nid(pbes2->keyfunc->algorithm) == NID_id_pbkdf2 &&
             OBJ_obj2nid(pbes2->encryption->algorithm) == NID_id_Gost28147_89 &&
             OBJ_obj2nid(pbkdf2->prf->algorithm) == NID_id_HMACGostR3411_94;
    }
    std::string shown(const encrypted_key_t&) const {
        return ok ? listed_encrypted_key(salt, static_cast<unsigned int>(iterations), iv, encrypted) : "refused";
    }
};

struct write_encrypted_key_t {
    std::string der;
    void operator()(const encrypted_key_t& input) {
        const owned_t<X509_SIG, X509_SIG_free> key_info(X509_SIG_new());
        X509_ALGOR* algorithm = nullptr;
        ASN1_OCTET_STRING* octet_string = nullptr;
        X509_SIG_getm(key_info.get(), &algorithm, &octet_string);
        set_pbes2(algorithm, input.salt, input.iterations, input.iv);
        ASN1_OCTET_STRING_set(octet_string, octets(input.encrypted), static_cast<int>(input.encrypted.size()));
        encode_into(der, i2d_X509_SIG, key_info.get());
    }
    std::string shown(const encrypted_key_t&) const { return der; }
};

std::string bytes_of(const BIGNUM* number) {
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(number)), '\0');
    BN_bn2bin(number, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

// The numbers of an RSA key without making a key of it.
struct read_bare_rsa_key_t {
    owned_t<ASN1_SEQUENCE_ANY, free_any> numbers;
    std::string_view modulus, exponent;
    void operator()(const rsa_key_t& input) { read(input.key_der); }
    std::string shown(const rsa_key_t&) const { return listed_numbers(modulus, exponent); }

    void read(std::string_view der) {
        const unsigned char* p = octets(der);
        numbers.reset(d2i_ASN1_SEQUENCE_ANY(nullptr, &p, static_cast<long>(der.size())));
        modulus = chars_of(sk_ASN1_TYPE_value(numbers.get(), 0)->value.integer);
        exponent = chars_of(sk_ASN1_TYPE_value(numbers.get(), 1)->value.integer);
    }
};

// A key that could be used at once, so more than is asked for.
struct read_rsa_key_t {
    owned_t<EVP_PKEY, EVP_PKEY_free> key;
    void operator()(const rsa_key_t& input) {
        const unsigned char* p = octets(input.spki_der);
        key.reset(d2i_PUBKEY(nullptr, &p, static_cast<long>(input.spki_der.size())));
    }
    std::string shown(const rsa_key_t&) const {
        BIGNUM* modulus = nullptr;
        BIGNUM* exponent = nullptr;
        EVP_PKEY_get_bn_param(key.get(), "n", &modulus);
        EVP_PKEY_get_bn_param(key.get(), "e", &exponent);
        const std::string text = listed_numbers(bytes_of(modulus), bytes_of(exponent));
        BN_free(modulus);
        BN_free(exponent);
        return text;
    }
};

struct read_signature_t {
    owned_t<DSA_SIG, DSA_SIG_free> signature;
    void operator()(const dsa_signature_t& input) {
        const unsigned char* p = octets(input.der);
        signature.reset(d2i_DSA_SIG(nullptr, &p, static_cast<long>(input.der.size())));
    }
    std::string shown(const dsa_signature_t&) const {
        const BIGNUM* r = nullptr;
        const BIGNUM* s = nullptr;
        DSA_SIG_get0(signature.get(), &r, &s);
        return listed_numbers(bytes_of(r), bytes_of(s));
    }
};

struct read_digest_t {
    owned_t<X509_SIG, X509_SIG_free> info;
    const ASN1_OBJECT* oid = nullptr;
    void operator()(const digest_t& digest) {
        const unsigned char* p = octets(digest.der);
        info.reset(d2i_X509_SIG(nullptr, &p, static_cast<long>(digest.der.size())));
        const X509_ALGOR* algorithm = nullptr;
        const ASN1_OCTET_STRING* value = nullptr;
        X509_SIG_get0(info.get(), &algorithm, &value);
        oid = algorithm->algorithm;
    }
    std::string shown(const digest_t&) const { return std::string(as_chars(OBJ_get0_data(oid), OBJ_length(oid))); }
};

struct write_digest_t {
    std::string der;
    void operator()(const digest_t& digest) {
        static constexpr int HASHES[] = {NID_sha1, NID_sha256, NID_sha512};
        const owned_t<X509_SIG, X509_SIG_free> info(X509_SIG_new());
        X509_ALGOR* algorithm = nullptr;
        ASN1_OCTET_STRING* value = nullptr;
        X509_SIG_getm(info.get(), &algorithm, &value);
        X509_ALGOR_set0(algorithm, OBJ_nid2obj(HASHES[digest.hash]), V_ASN1_NULL, nullptr);
        ASN1_OCTET_STRING_set(value, octets(digest.value), static_cast<int>(digest.value.size()));
        encode_into(der, i2d_X509_SIG, info.get());
    }
    std::string shown(const digest_t&) const { return der; }
};

struct read_ike_algorithm_t {
    int hash = NID_undef;
    int key = NID_undef;
    void operator()(const ike_algorithm_t& input) {
        const unsigned char* p = octets(input.der);
        const owned_t<X509_ALGOR, X509_ALGOR_free> algorithm(
            d2i_X509_ALGOR(nullptr, &p, static_cast<long>(input.der.size())));
        const int nid = OBJ_obj2nid(algorithm->algorithm);
        OBJ_find_sigid_algs(nid, &hash, &key);
        if (nid == NID_rsassaPss) {
            const owned_t<RSA_PSS_PARAMS, RSA_PSS_PARAMS_free> params(
                unpack<RSA_PSS_PARAMS>(algorithm->parameter, ASN1_ITEM_rptr(RSA_PSS_PARAMS)));
            hash = params->hashAlgorithm == nullptr ? NID_sha1 : OBJ_obj2nid(params->hashAlgorithm->algorithm);
            key = NID_rsassaPss;
        }
    }
    std::string shown(const ike_algorithm_t&) const {
        const bool is_pss = key == NID_rsassaPss;
        switch (hash) {
        case NID_sha1:
            return std::to_string(is_pss ? PKI_ALG_SHA1_RSASSA_PSS : PKI_ALG_SHA1_RSA);
        case NID_sha224:
            return std::to_string(is_pss ? PKI_ALG_SHA224_RSASSA_PSS : PKI_ALG_SHA224_RSA);
        case NID_sha256:
            return std::to_string(is_pss ? PKI_ALG_SHA256_RSASSA_PSS : PKI_ALG_SHA256_RSA);
        case NID_sha384:
            return std::to_string(is_pss ? PKI_ALG_SHA384_RSASSA_PSS : PKI_ALG_SHA384_RSA);
        case NID_sha512:
            return std::to_string(is_pss ? PKI_ALG_SHA512_RSASSA_PSS : PKI_ALG_SHA512_RSA);
        default:
            return "refused";
        }
    }
};

struct hex_t {
    std::string hex = std::string(2 * 4096 + 1, '\0');
    std::size_t size = 0;
    void operator()(const std::string& bytes) {
        OPENSSL_buf2hexstr_ex(hex.data(), hex.size(), &size, octets(bytes), bytes.size(), '\0');
    }
    std::string shown(const std::string&) const { return hex.substr(0, size - 1); }
};

void add(registry_t& registry) {
    registry.add_peer(NAME, OpenSSL_version(OPENSSL_VERSION_STRING));
    registry.find("name to text, roots").add<to_text_t>(NAME, root_names());
    registry.find("name to text, international").add<to_text_t>(NAME, international_names());
    registry.find("name to text, accented T.61").add<to_text_t>(NAME, accented_names());
    registry.find("OID text to DER").add<oid_to_der_t>(NAME, common_oids());
    registry.find("OID DER to text").add<oid_to_text_t>(NAME, common_oids());
    registry.find("short name to OID").add<by_name_t>(NAME, oid_table().lookups);
    registry.find("OID to short name").add<by_der_t>(NAME, oid_table().lookups);
    registry.find("PKCS#8 read").add<read_key_t>(NAME, private_keys());
    registry.find("PKCS#8 write").add<write_key_t>(NAME, private_keys());
    registry.find("encrypted key read").add<read_encrypted_key_t>(NAME, encrypted_keys());
    registry.find("encrypted key write").add<write_encrypted_key_t>(NAME, encrypted_keys());
    registry.find("SubjectPublicKeyInfo, RSA key").add<read_rsa_key_t>(NAME, rsa_keys());
    registry.find("RSA key alone").add<read_bare_rsa_key_t>(NAME, rsa_keys());
    registry.find("DSA signature").add<read_signature_t>(NAME, dsa_signatures());
    registry.find("DigestInfo read").add<read_digest_t>(NAME, digests());
    registry.find("DigestInfo write").add<write_digest_t>(NAME, digests());
    registry.find("IKE identifier to algorithm").add<read_ike_algorithm_t>(NAME, ike_algorithms());
    for (const std::size_t size : HEX_SIZES) {
        registry.find("hex of " + std::to_string(size) + " bytes").add<hex_t>(NAME, bytes_for_hex(size));
    }
    add_openssl_containers(registry);
}

const peer_registration_t registration((g_list_named_oids = list_named_oids, add));

} // namespace
