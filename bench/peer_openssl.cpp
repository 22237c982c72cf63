// OpenSSL: names, object identifiers, public keys, signatures, digests, hexadecimal text.
#include "peer_openssl.h"

#include <openssl/bio.h>
#include <openssl/buffer.h>
#include <openssl/crypto.h>
#include <openssl/dsa.h>
#include <openssl/rsa.h>

#include <set>

namespace {

// UTF-8 as it is, otherwise RFC 2253: the last RDN comes first.
struct to_text_t {
    owned_t<BIO, BIO_free_all> bio{BIO_new(BIO_s_mem())};
    std::string_view text;
    void operator()(const name_t& name) {
        BIO_reset(bio.get());
        const owned_t<X509_NAME, X509_NAME_free> parsed(decode<d2i_X509_NAME>(name.der));
        X509_NAME_print_ex(bio.get(), parsed.get(), 0,
                           XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB));
        BUF_MEM* memory = nullptr;
        BIO_get_mem_ptr(bio.get(), &memory);
        text = std::string_view(memory->data, memory->length);
    }
    std::string shown() const { return listed_values(text, order_t::REVERSED); }
};

// Object identifiers

using object_t = owned_t<ASN1_OBJECT, ASN1_OBJECT_free>;

std::string content_of(const ASN1_OBJECT* object) {
    return std::string(as_chars(OBJ_get0_data(object), OBJ_length(object)));
}

struct oid_to_der_t {
    unsigned char content[64];
    int size = 0;
    void operator()(const oid_t& oid) {
        size = a2d_ASN1_OBJECT(content, sizeof content, oid.text.data(), static_cast<int>(oid.text.size()));
    }
    std::string shown() const { return std::string(as_chars(content, static_cast<std::size_t>(size))); }
};

struct oid_to_text_t {
    char text[128];
    void operator()(const oid_t& oid) {
        const object_t object(decode<d2i_ASN1_OBJECT>(oid.der));
        OBJ_obj2txt(text, sizeof text, object.get(), 1);
    }
    std::string shown() const { return text; }
};

struct by_name_t {
    int nid = NID_undef;
    void operator()(const named_oid_t& named) { nid = OBJ_sn2nid(named.spelling.c_str()); }
    std::string shown() const { return content_of(OBJ_nid2obj(nid)); }
};

// The objects are made beforehand, as the library gets content octets too; decoding would already look them up.
struct by_der_t {
    const named_oid_t* first;
    std::vector<object_t> objects;
    const char* name = nullptr;
    explicit by_der_t(const std::vector<named_oid_t>& inputs) : first(inputs.data()) {
        for (const named_oid_t& named : inputs) {
            unsigned char* const content = const_cast<unsigned char*>(octets(named.oid.content));
            objects.emplace_back(
                ASN1_OBJECT_create(NID_undef, content, static_cast<int>(named.oid.content.size()), nullptr, nullptr));
        }
    }
    void operator()(const named_oid_t& named) {
        name = OBJ_nid2sn(OBJ_obj2nid(objects[static_cast<std::size_t>(&named - first)].get()));
    }
    std::string shown() const { return upper_case(name); }
};

bool is_plain(const std::string& name) {
    return !name.empty() && name.find_first_of(" \t=,") == std::string::npos;
}

// Public keys and signatures

std::string bytes_of(const BIGNUM* number) {
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(number)), '\0');
    BN_bn2bin(number, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

// Reads the numbers of an RSA key without making a key of them.
struct read_bare_rsa_key_t {
    owned_t<ASN1_SEQUENCE_ANY, free_any> numbers;
    std::string_view modulus, exponent;
    void operator()(const rsa_key_t& input) {
        numbers.reset(decode<d2i_ASN1_SEQUENCE_ANY>(input.key_der));
        modulus = string_chars(sk_ASN1_TYPE_value(numbers.get(), 0)->value.integer);
        exponent = string_chars(sk_ASN1_TYPE_value(numbers.get(), 1)->value.integer);
    }
    std::string shown() const { return listed_numbers(modulus, exponent); }
};

// Makes a key that is ready for use, which is more than the task asks for.
struct read_rsa_key_t {
    owned_t<EVP_PKEY, EVP_PKEY_free> key;
    void operator()(const rsa_key_t& input) { key.reset(decode<d2i_PUBKEY>(input.spki_der)); }
    std::string shown() const {
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
    void operator()(const dsa_signature_t& input) { signature.reset(decode<d2i_DSA_SIG>(input.der)); }
    std::string shown() const {
        const BIGNUM* r = nullptr;
        const BIGNUM* s = nullptr;
        DSA_SIG_get0(signature.get(), &r, &s);
        return listed_numbers(bytes_of(r), bytes_of(s));
    }
};

// Digests: a DigestInfo has the fields of an X509_SIG.

struct read_digest_t {
    owned_t<X509_SIG, X509_SIG_free> info;
    const ASN1_OBJECT* oid = nullptr;
    void operator()(const digest_t& digest) {
        info.reset(decode<d2i_X509_SIG>(digest.der));
        const X509_ALGOR* algorithm = nullptr;
        const ASN1_OCTET_STRING* value = nullptr;
        X509_SIG_get0(info.get(), &algorithm, &value);
        oid = algorithm->algorithm;
    }
    std::string shown() const { return content_of(oid); }
};

struct write_digest_t : output_t {
    void operator()(const digest_t& digest) {
        static constexpr int HASHES[] = {NID_sha1, NID_sha256, NID_sha512};
        const owned_t<X509_SIG, X509_SIG_free> info(X509_SIG_new());
        X509_ALGOR* algorithm = nullptr;
        ASN1_OCTET_STRING* value = nullptr;
        X509_SIG_getm(info.get(), &algorithm, &value);
        X509_ALGOR_set0(algorithm, OBJ_nid2obj(HASHES[digest.hash]), V_ASN1_NULL, nullptr);
        set_string(value, digest.value);
        encode_into<i2d_X509_SIG>(out, info.get());
    }
};

struct read_ike_algorithm_t {
    int hash = NID_undef;
    int key = NID_undef;
    void operator()(const ike_algorithm_t& input) {
        const owned_t<X509_ALGOR, X509_ALGOR_free> algorithm(decode<d2i_X509_ALGOR>(input.der));
        const int nid = OBJ_obj2nid(algorithm->algorithm);
        OBJ_find_sigid_algs(nid, &hash, &key);
        if (nid == NID_rsassaPss) {
            const owned_t<RSA_PSS_PARAMS, RSA_PSS_PARAMS_free> params(
                unpack<RSA_PSS_PARAMS>(algorithm->parameter, ASN1_ITEM_rptr(RSA_PSS_PARAMS)));
            hash = params->hashAlgorithm == nullptr ? NID_sha1 : OBJ_obj2nid(params->hashAlgorithm->algorithm);
            key = NID_rsassaPss;
        }
    }
    std::string shown() const {
        return listed_ike_algorithm(hash, {NID_sha1, NID_sha224, NID_sha256, NID_sha384, NID_sha512},
                                    key == NID_rsassaPss);
    }
};

struct hex_t {
    std::string hex = std::string(2 * 4096 + 1, '\0');
    std::size_t size = 0;
    void operator()(const std::string& bytes) {
        OPENSSL_buf2hexstr_ex(hex.data(), hex.size(), &size, octets(bytes), bytes.size(), '\0');
    }
    std::string shown() const { return hex.substr(0, size - 1); }
};

const peer_registration_t
    registration("OpenSSL", OpenSSL_version(OPENSSL_VERSION_STRING),
                 {contender<to_text_t>("name to text"), contender<oid_to_der_t>("OID text to DER"),
                  contender<oid_to_text_t>("OID DER to text"), contender<by_name_t>("short name to OID"),
                  contender<by_der_t>("OID to short name"), contender<read_rsa_key_t>("SubjectPublicKeyInfo, RSA key"),
                  contender<read_bare_rsa_key_t>("RSA key alone"), contender<read_signature_t>("DSA signature"),
                  contender<read_digest_t>("DigestInfo read"), contender<write_digest_t>("DigestInfo write"),
                  contender<read_ike_algorithm_t>("IKE identifier to algorithm"), contender<hex_t>("hex of")});

} // namespace

// Leaves out names that differ only in case, and second names of an OID: the library would not find the same.
std::vector<named_oid_t> list_openssl_oids() {
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
