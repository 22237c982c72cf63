// OpenSSL: private keys and PKCS#12 containers.
#include <openssl/pkcs12.h>
#include <openssl/pkcs7.h>

#include <algorithm>

#include "peer_openssl.h"

namespace {

std::string_view content_of(const unsigned char* element, std::size_t size) {
    long content_size = 0;
    int tag = 0;
    int tag_class = 0;
    ASN1_get_object(&element, &content_size, &tag, &tag_class, static_cast<long>(size));
    return as_chars(element, static_cast<std::size_t>(content_size));
}

// Private keys

struct read_key_t : private_key_view_t {
    owned_t<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free> key_info;
    void operator()(const private_key_t& input) {
        key_info.reset(decode<d2i_PKCS8_PRIV_KEY_INFO>(input.der));
        const ASN1_OBJECT* algorithm = nullptr;
        const unsigned char* data = nullptr;
        int size = 0;
        PKCS8_pkey_get0(&algorithm, &data, &size, nullptr, key_info.get());
        const int nid = OBJ_obj2nid(algorithm);
        type = nid == NID_id_GostR3410_2001       ? 0
               : nid == NID_id_GostR3410_2012_256 ? 1
               : nid == NID_id_GostR3410_2012_512 ? 2
                                                  : NO_KEY_FAMILY;
        key = content_of(data, static_cast<std::size_t>(size));
    }
};

// Returns an element around bytes, in memory that OpenSSL takes over.
unsigned char* new_element(int tag, std::string_view bytes, int& size) {
    const int content_size = static_cast<int>(bytes.size());
    size = ASN1_object_size(0, content_size, tag);
    unsigned char* const start = static_cast<unsigned char*>(OPENSSL_malloc(static_cast<std::size_t>(size)));
    unsigned char* p = start;
    ASN1_put_object(&p, 0, content_size, tag, V_ASN1_UNIVERSAL);
    std::copy(bytes.begin(), bytes.end(), p);
    return start;
}

struct write_key_t : output_t {
    void operator()(const private_key_t& input) {
        static constexpr int ALGORITHMS[] = {NID_id_GostR3410_2001, NID_id_GostR3410_2012_256,
                                             NID_id_GostR3410_2012_512};
        static const std::string PARAMETERS[] = {parameters_of(0), parameters_of(1), parameters_of(2)};
        ASN1_STRING* const parameters = ASN1_STRING_new();
        set_string(parameters, PARAMETERS[input.type]);
        int size = 0;
        unsigned char* const key = new_element(V_ASN1_OCTET_STRING, input.key, size);
        const owned_t<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free> key_info(PKCS8_PRIV_KEY_INFO_new());
        PKCS8_pkey_set0(key_info.get(), OBJ_nid2obj(ALGORITHMS[input.type]), 0, V_ASN1_SEQUENCE, parameters, key, size);
        encode_into<i2d_PKCS8_PRIV_KEY_INFO>(out, key_info.get());
    }

    static std::string parameters_of(std::size_t type) {
        return encode(der_sequence({der_oid(KEY_FAMILIES[type].public_key_param_set), der_oid(OID_DIGEST_PARAM_SET)}));
    }
};

struct read_encrypted_key_t {
    owned_t<X509_SIG, X509_SIG_free> key_info;
    owned_t<PBE2PARAM, PBE2PARAM_free> pbes2;
    owned_t<PBKDF2PARAM, PBKDF2PARAM_free> pbkdf2;
    owned_t<ASN1_SEQUENCE_ANY, free_any> cipher_params;
    encrypted_key_view_t view;
    bool ok = false;
    void operator()(const encrypted_key_t& input) {
        key_info.reset(decode<d2i_X509_SIG>(input.der));
        const X509_ALGOR* algorithm = nullptr;
        const ASN1_OCTET_STRING* octet_string = nullptr;
        X509_SIG_get0(key_info.get(), &algorithm, &octet_string);
        pbes2.reset(unpack<PBE2PARAM>(algorithm->parameter, ASN1_ITEM_rptr(PBE2PARAM)));
        pbkdf2.reset(unpack<PBKDF2PARAM>(pbes2->keyfunc->parameter, ASN1_ITEM_rptr(PBKDF2PARAM)));
        cipher_params.reset(unpack<ASN1_SEQUENCE_ANY>(pbes2->encryption->parameter, ASN1_ITEM_rptr(ASN1_SEQUENCE_ANY)));
        view.salt = string_chars(pbkdf2->salt->value.octet_string);
        view.iterations = static_cast<unsigned int>(ASN1_INTEGER_get(pbkdf2->iter));
        view.iv = string_chars(sk_ASN1_TYPE_value(cipher_params.get(), 0)->value.octet_string);
        view.encrypted = string_chars(octet_string);
        ok = OBJ_obj2nid(algorithm->algorithm) == NID_pbes2 &&
             OBJ_obj2nid(pbes2->keyfunc->algorithm) == NID_id_pbkdf2 &&
             OBJ_obj2nid(pbes2->encryption->algorithm) == NID_id_Gost28147_89 &&
             OBJ_obj2nid(pbkdf2->prf->algorithm) == NID_id_HMACGostR3411_94;
    }
    std::string shown() const { return ok ? view.shown() : "refused"; }
};

// The parameters of GOST 28147-89: an initialisation vector and the one parameter set.
ASN1_STRING* new_cipher_params(std::string_view iv) {
    static const std::string PARAM_SET = encode(der_oid(OID_GOST_28147_PARAM_SET));
    const int iv_size = ASN1_object_size(0, static_cast<int>(iv.size()), V_ASN1_OCTET_STRING);
    const int content_size = iv_size + static_cast<int>(PARAM_SET.size());
    ASN1_STRING* const params = ASN1_STRING_type_new(V_ASN1_SEQUENCE);
    ASN1_STRING_set(params, nullptr, ASN1_object_size(1, content_size, V_ASN1_SEQUENCE));
    unsigned char* p = const_cast<unsigned char*>(ASN1_STRING_get0_data(params));
    ASN1_put_object(&p, 1, content_size, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
    ASN1_put_object(&p, 0, static_cast<int>(iv.size()), V_ASN1_OCTET_STRING, V_ASN1_UNIVERSAL);
    p = std::copy(iv.begin(), iv.end(), p);
    std::copy(PARAM_SET.begin(), PARAM_SET.end(), p);
    return params;
}

// Makes it PBES2 of the GOST profile.
void set_pbes2(X509_ALGOR* algorithm, std::string_view salt, unsigned int iterations, std::string_view iv) {
    const owned_t<PBKDF2PARAM, PBKDF2PARAM_free> pbkdf2(PBKDF2PARAM_new());
    ASN1_OCTET_STRING* const salt_octets = ASN1_OCTET_STRING_new();
    set_string(salt_octets, salt);
    ASN1_TYPE_set(pbkdf2->salt, V_ASN1_OCTET_STRING, salt_octets);
    ASN1_INTEGER_set(pbkdf2->iter, static_cast<long>(iterations));
    pbkdf2->prf = X509_ALGOR_new();
    X509_ALGOR_set0(pbkdf2->prf, OBJ_nid2obj(NID_id_HMACGostR3411_94), V_ASN1_NULL, nullptr);

    const owned_t<PBE2PARAM, PBE2PARAM_free> pbes2(PBE2PARAM_new());
    pbes2->keyfunc->algorithm = OBJ_nid2obj(NID_id_pbkdf2);
    ASN1_TYPE_pack_sequence(ASN1_ITEM_rptr(PBKDF2PARAM), pbkdf2.get(), &pbes2->keyfunc->parameter);
    X509_ALGOR_set0(pbes2->encryption, OBJ_nid2obj(NID_id_Gost28147_89), V_ASN1_SEQUENCE, new_cipher_params(iv));

    ASN1_OBJECT_free(algorithm->algorithm);
    algorithm->algorithm = OBJ_nid2obj(NID_pbes2);
    ASN1_TYPE_pack_sequence(ASN1_ITEM_rptr(PBE2PARAM), pbes2.get(), &algorithm->parameter);
}

struct write_encrypted_key_t : output_t {
    void operator()(const encrypted_key_t& input) {
        const owned_t<X509_SIG, X509_SIG_free> key_info(X509_SIG_new());
        X509_ALGOR* algorithm = nullptr;
        ASN1_OCTET_STRING* octet_string = nullptr;
        X509_SIG_getm(key_info.get(), &algorithm, &octet_string);
        set_pbes2(algorithm, input.salt, input.iterations, input.iv);
        set_string(octet_string, input.encrypted);
        encode_into<i2d_X509_SIG>(out, key_info.get());
    }
};

// Containers

using safe_bags_t = STACK_OF(PKCS12_SAFEBAG);

void free_bags(safe_bags_t* bags) {
    sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
}
void free_entries(STACK_OF(PKCS7) * entries) {
    sk_PKCS7_pop_free(entries, PKCS7_free);
}

struct bag_view_t {
    const PKCS12_SAFEBAG* certificate; // null: a key
    std::string_view key;
    std::string_view friendly_name;
    std::string_view local_key_id;
};

// OpenSSL returns a certificate's bytes only after parsing it as a certificate, which the timed part does not do.
std::string value_of(const bag_view_t& bag) {
    if (bag.certificate == nullptr) {
        return std::string(bag.key);
    }
    std::string der;
    encode_into<i2d_PKCS12_SAFEBAG>(der, bag.certificate);
    std::string_view whole = der;
    std::string_view safe_bag = take_element(whole).content;
    take_element(safe_bag); // bagId
    std::string_view value = take_element(safe_bag).content;
    std::string_view certificate_bag = take_element(value).content;
    take_element(certificate_bag); // certId
    std::string_view certificate = take_element(certificate_bag).content;
    return std::string(take_element(certificate).content);
}

std::string_view attribute_of(const PKCS12_SAFEBAG* bag, int nid) {
    const ASN1_TYPE* const value = PKCS12_SAFEBAG_get0_attr(bag, nid);
    return value == nullptr ? std::string_view() : string_chars(value->value.asn1_string);
}

template <bool IS_OPENED> struct read_t {
    owned_t<PKCS12, PKCS12_free> pfx;
    owned_t<STACK_OF(PKCS7), free_entries> entries;
    std::vector<owned_t<safe_bags_t, free_bags>> safe_contents;
    std::vector<std::string> plaintexts;
    std::vector<bag_view_t> bags;
    std::string_view digest, salt;
    long iterations = 0;

    void operator()(const container_t& container) {
        bags.clear();
        safe_contents.clear();
        plaintexts.clear();
        plaintexts.reserve(4); // the views must stay valid
        pfx.reset(decode<d2i_PKCS12>(container.der_to_read));
        read_mac();
        entries.reset(PKCS12_unpack_authsafes(pfx.get()));
        for (int i = 0; i < sk_PKCS7_num(entries.get()); ++i) {
            read_entry(sk_PKCS7_value(entries.get(), i));
        }
    }

    std::string shown() const {
        std::string lines;
        for (const bag_view_t& bag : bags) {
            lines += listed_bag(bag.certificate != nullptr, value_of(bag), bag.friendly_name, bag.local_key_id);
        }
        return lines + listed_mac(digest, salt, static_cast<unsigned int>(iterations));
    }

  private:
    void read_mac() {
        const ASN1_OCTET_STRING* mac = nullptr;
        const ASN1_OCTET_STRING* mac_salt = nullptr;
        const ASN1_INTEGER* count = nullptr;
        PKCS12_get0_mac(&mac, nullptr, &mac_salt, &count, pfx.get());
        digest = string_chars(mac);
        salt = string_chars(mac_salt);
        iterations = ASN1_INTEGER_get(count);
    }

    void read_entry(PKCS7* entry) {
        if (OBJ_obj2nid(entry->type) == NID_pkcs7_data) {
            read_bags(PKCS12_unpack_p7data(entry));
        } else if (IS_OPENED && OBJ_obj2nid(entry->type) == NID_pkcs7_encrypted) {
            const std::string_view ciphertext = string_chars(entry->d.encrypted->enc_data->enc_data);
            const std::string& plaintext = plaintexts.emplace_back(ciphertext);
            const std::string_view contents = content_of(octets(plaintext), plaintext.size());
            const unsigned char* p = octets(contents);
            read_bags(static_cast<safe_bags_t*>(static_cast<void*>(
                ASN1_item_d2i(nullptr, &p, static_cast<long>(contents.size()), ASN1_ITEM_rptr(PKCS12_SAFEBAGS)))));
        }
    }

    void read_bags(safe_bags_t* contents) {
        safe_contents.emplace_back(contents);
        for (int i = 0; i < sk_PKCS12_SAFEBAG_num(contents); ++i) {
            read_bag(sk_PKCS12_SAFEBAG_value(contents, i));
        }
    }

    void read_bag(const PKCS12_SAFEBAG* bag) {
        const std::string_view friendly_name = attribute_of(bag, NID_friendlyName);
        const std::string_view local_key_id = attribute_of(bag, NID_localKeyID);
        if (PKCS12_SAFEBAG_get_nid(bag) == NID_certBag) {
            bags.push_back({bag, std::string_view(), friendly_name, local_key_id});
        } else if (IS_OPENED && PKCS12_SAFEBAG_get_nid(bag) == NID_pkcs8ShroudedKeyBag) {
            const ASN1_OCTET_STRING* encrypted = nullptr;
            X509_SIG_get0(PKCS12_SAFEBAG_get0_pkcs8(bag), nullptr, &encrypted);
            bags.push_back({nullptr, plaintexts.emplace_back(string_chars(encrypted)), friendly_name, local_key_id});
        }
    }
};

struct write_t : output_t {
    void operator()(const container_t& container) {
        owned_t<safe_bags_t, free_bags> plain(sk_PKCS12_SAFEBAG_new_null());
        sk_PKCS12_SAFEBAG_push(plain.get(), new_bag(container.key));
        owned_t<safe_bags_t, free_bags> encrypted(sk_PKCS12_SAFEBAG_new_null());
        for (const bag_t& certificate : container.certificates) {
            sk_PKCS12_SAFEBAG_push(encrypted.get(), new_bag(certificate));
        }
        const owned_t<STACK_OF(PKCS7), free_entries> entries(sk_PKCS7_new_null());
        sk_PKCS7_push(entries.get(), PKCS12_pack_p7data(plain.get()));
        sk_PKCS7_push(entries.get(), new_encrypted_entry(encrypted.get(), container));
        const owned_t<PKCS12, PKCS12_free> pfx(PKCS12_init(NID_pkcs7_data));
        PKCS12_pack_authsafes(pfx.get(), entries.get());
        set_mac(pfx.get(), container);
        encode_into<i2d_PKCS12>(out, pfx.get());
    }

  private:
    static PKCS12_SAFEBAG* new_bag(const bag_t& bag) {
        PKCS12_SAFEBAG* const made = bag.is_certificate ? new_certificate_bag(bag.value) : new_key_bag(bag.value);
        PKCS12_add_friendlyname_uni(made, octets(bag.friendly_name), static_cast<int>(bag.friendly_name.size()));
        PKCS12_add_localkeyid(made, const_cast<unsigned char*>(octets(bag.local_key_id)),
                              static_cast<int>(bag.local_key_id.size()));
        return made;
    }

    static PKCS12_SAFEBAG* new_key_bag(const std::string& key) {
        return PKCS12_SAFEBAG_create0_p8inf(decode<d2i_PKCS8_PRIV_KEY_INFO>(key));
    }

    // Packs the bytes as they are: making an X509 of them first would cost far more.
    static PKCS12_SAFEBAG* new_certificate_bag(const std::string& certificate) {
        ASN1_STRING* const bytes = ASN1_STRING_type_new(V_ASN1_SEQUENCE);
        set_string(bytes, certificate);
        const owned_t<ASN1_TYPE, ASN1_TYPE_free> any(ASN1_TYPE_new());
        ASN1_TYPE_set(any.get(), V_ASN1_SEQUENCE, bytes);
        return PKCS12_item_pack_safebag(any.get(), ASN1_ITEM_rptr(ASN1_ANY), NID_x509Certificate, NID_certBag);
    }

    // The plaintext, an OCTET STRING around the bags, serves as the ciphertext.
    static PKCS7* new_encrypted_entry(safe_bags_t* bags, const container_t& container) {
        PKCS7* const entry = PKCS7_new();
        PKCS7_set_type(entry, NID_pkcs7_encrypted);
        PKCS7_ENC_CONTENT* const content = entry->d.encrypted->enc_data;
        set_pbes2(content->algorithm, container.pbe_salt, container.iterations, container.iv);
        const owned_t<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free> plaintext(
            ASN1_item_pack(bags, ASN1_ITEM_rptr(PKCS12_SAFEBAGS), nullptr));
        unsigned char* encoded = nullptr;
        const int size = i2d_ASN1_OCTET_STRING(plaintext.get(), &encoded);
        content->enc_data = ASN1_OCTET_STRING_new();
        ASN1_STRING_set0(content->enc_data, encoded, size);
        return entry;
    }

    static void set_mac(PKCS12* pfx, const container_t& container) {
        PKCS12_setup_mac(pfx, static_cast<int>(container.iterations),
                         const_cast<unsigned char*>(octets(container.mac_salt)),
                         static_cast<int>(container.mac_salt.size()), EVP_sha256());
        // There is no setter for a MAC that was computed elsewhere.
        const ASN1_OCTET_STRING* digest = nullptr;
        const X509_ALGOR* algorithm = nullptr;
        PKCS12_get0_mac(&digest, &algorithm, nullptr, nullptr, pfx);
        X509_ALGOR_set0(const_cast<X509_ALGOR*>(algorithm), OBJ_nid2obj(NID_id_GostR3411_94), V_ASN1_NULL, nullptr);
        set_string(const_cast<ASN1_OCTET_STRING*>(digest), container.digest);
    }
};

const peer_registration_t registration("OpenSSL", "",
                                       {contender<read_key_t>("PKCS#8 read"), contender<write_key_t>("PKCS#8 write"),
                                        contender<read_encrypted_key_t>("encrypted key read"),
                                        contender<write_encrypted_key_t>("encrypted key write"),
                                        contender<read_t<false>>("PKCS#12 read, closed"),
                                        contender<read_t<true>>("PKCS#12 read, opened"),
                                        contender<write_t>("PKCS#12 write")});

} // namespace
