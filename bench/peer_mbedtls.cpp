// mbedTLS: names and numbers by its own functions, and by hand on its ASN.1 primitives whatever it has no function for.
#include <mbedtls/asn1.h>
#include <mbedtls/asn1write.h>
#include <mbedtls/oid.h>
#include <mbedtls/platform.h>
#include <mbedtls/version.h>
#include <mbedtls/x509.h>

#include <cstring>

#include "algorithms.h"
#include "der.h"
#include "derkit/asn_helper.h"
#include "keys.h"
#include "names.h"
#include "oids.h"
#include "row.h"

namespace {

constexpr const char* OWN = "mbedTLS";
constexpr const char* BY_HAND = "mbedTLS primitives";

constexpr int TAG_SEQ = MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE;

// Names

void free_rest(mbedtls_x509_name& first) {
    for (mbedtls_x509_name* name = first.next; name != nullptr;) {
        mbedtls_x509_name* const next = name->next;
        mbedtls_free(name);
        name = next;
    }
}

struct to_text_t {
    char text[4096];
    void operator()(const name_t& name) {
        mbedtls_x509_name list = mbedtls_x509_name();
        unsigned char* p = const_cast<unsigned char*>(octets(name.der));
        const unsigned char* const end = p + name.der.size();
        std::size_t size = 0;
        text[0] = '\0';
        if (mbedtls_asn1_get_tag(&p, end, &size, TAG_SEQ) == 0 && mbedtls_x509_get_name(&p, p + size, &list) == 0) {
            mbedtls_x509_dn_gets(text, sizeof text, &list);
        }
        free_rest(list);
    }
    std::string shown(const name_t&) const { return listed_values(text, order_t::AS_ENCODED); }
};

struct to_der_t {
    unsigned char buffer[4096];
    int size = 0;
    void operator()(const name_t& name) {
        mbedtls_asn1_named_data* list = nullptr;
        size = 0;
        if (mbedtls_x509_string_to_names(&list, name.text.c_str()) == 0) {
            unsigned char* p = buffer + sizeof buffer;
            size = mbedtls_x509_write_names(&p, buffer, list);
        }
        mbedtls_asn1_free_named_data_list(&list);
    }
    std::string shown(const name_t&) const {
        const std::size_t length = size < 0 ? 0 : static_cast<std::size_t>(size);
        return listed_attributes(as_chars(buffer + sizeof buffer - length, length), order_t::AS_ENCODED);
    }
};

// Object identifiers

struct oid_to_text_t {
    char text[128];
    void operator()(const oid_t& oid) {
        mbedtls_asn1_buf content = {MBEDTLS_ASN1_OID, oid.content.size(),
                                    const_cast<unsigned char*>(octets(oid.content))};
        text[0] = '\0';
        mbedtls_oid_get_numeric_string(text, sizeof text, &content);
    }
    std::string shown(const oid_t&) const { return text; }
};

// Reading by hand: a position in an enclosing element, and its end. A failed read leaves nothing to read, so that all
// that follow fail too.
class reader_t {
  public:
    reader_t(const unsigned char* data, std::size_t size) : p_(const_cast<unsigned char*>(data)), end_(data + size) {}
    explicit reader_t(std::string_view bytes) : reader_t(octets(bytes), bytes.size()) {}

    std::string_view read(int tag) {
        std::size_t size = 0;
        return mbedtls_asn1_get_tag(&p_, end_, &size, tag) == 0 ? take(size) : fail();
    }
    std::string_view read_any() {
        std::size_t size = 0;
        if (p_ == end_) {
            return fail();
        }
        ++p_;
        return mbedtls_asn1_get_len(&p_, end_, &size) == 0 ? take(size) : fail();
    }
    // An element with its header.
    std::string_view read_whole(int tag) {
        const unsigned char* const start = p_;
        read(tag);
        return ok() ? as_chars(start, static_cast<std::size_t>(p_ - start)) : std::string_view();
    }
    reader_t enter(int tag) { return reader_t(read(tag)); }
    bool next_is(int tag) const { return p_ != end_ && *p_ == tag; }
    // An INTEGER of up to 31 bits.
    int read_int() {
        int value = 0;
        if (mbedtls_asn1_get_int(&p_, end_, &value) != 0) {
            fail();
        }
        return value;
    }
    // The bits of a BIT STRING, whose first octet is not looked at.
    reader_t enter_bits() {
        std::string_view bits = read(MBEDTLS_ASN1_BIT_STRING);
        bits.remove_prefix(bits.empty() ? 0 : 1);
        return reader_t(bits);
    }
    bool ok() const { return p_ != nullptr; }

  private:
    unsigned char* p_;
    const unsigned char* end_;

    std::string_view take(std::size_t size) {
        const unsigned char* const content = p_;
        p_ += size;
        return as_chars(content, size);
    }
    std::string_view fail() {
        p_ = nullptr;
        end_ = nullptr;
        return std::string_view();
    }
};

bool is_oid(std::string_view content, std::string_view oid) {
    return content.size() == oid.size() && std::memcmp(content.data(), oid.data(), oid.size()) == 0;
}

// Writing by hand, from the end to the front as mbedTLS does.
class writer_t {
  public:
    unsigned char* p() const { return p_; }
    void add_bytes(std::string_view bytes) { mbedtls_asn1_write_raw_buffer(&p_, buffer_, octets(bytes), bytes.size()); }
    // Puts a header in front of what was written since the position `end`.
    void wrap(const unsigned char* end, unsigned char tag) {
        mbedtls_asn1_write_len(&p_, buffer_, static_cast<std::size_t>(end - p_));
        mbedtls_asn1_write_tag(&p_, buffer_, tag);
    }
    void add_oid(std::string_view content) { mbedtls_asn1_write_oid(&p_, buffer_, content.data(), content.size()); }
    void add_octet_string(std::string_view bytes) {
        mbedtls_asn1_write_octet_string(&p_, buffer_, octets(bytes), bytes.size());
    }
    void add_null() { mbedtls_asn1_write_null(&p_, buffer_); }
    void add_int(int value) { mbedtls_asn1_write_int(&p_, buffer_, value); }
    void assign_to(std::string& out) const {
        out.assign(as_chars(p_, static_cast<std::size_t>(buffer_ + sizeof buffer_ - p_)));
    }

  private:
    unsigned char buffer_[512];
    unsigned char* p_ = buffer_ + sizeof buffer_;
};

// What a developer would write down as constants.
struct constants_t {
    std::string algorithms[3] = {oid_content(KEY_FAMILIES[0].algorithm), oid_content(KEY_FAMILIES[1].algorithm),
                                 oid_content(KEY_FAMILIES[2].algorithm)};
    std::string public_key_param_sets[3] = {oid_content(KEY_FAMILIES[0].public_key_param_set),
                                            oid_content(KEY_FAMILIES[1].public_key_param_set),
                                            oid_content(KEY_FAMILIES[2].public_key_param_set)};
    std::string digest_param_set = oid_content(DIGEST_PARAM_SET);
    std::string pbes2 = oid_content(OID_PBES2);
    std::string pbkdf2 = oid_content(OID_PBKDF2);
    std::string hmac_gost = oid_content(OID_HMAC_GOST);
    std::string gost_28147 = oid_content(OID_GOST_28147);
    std::string gost_28147_param_set = oid_content(OID_GOST_28147_PARAM_SET);
    std::string hashes[3] = {oid_content(DIGEST_OIDS[0]), oid_content(DIGEST_OIDS[1]), oid_content(DIGEST_OIDS[2])};
};
const constants_t CONSTANTS;

struct read_key_t {
    unsigned int type = 0;
    std::string_view key;
    void operator()(const private_key_t& input) {
        reader_t in(input.der);
        reader_t key_info = in.enter(TAG_SEQ);
        key_info.read(MBEDTLS_ASN1_INTEGER);
        reader_t algorithm = key_info.enter(TAG_SEQ);
        const std::string_view oid = algorithm.read(MBEDTLS_ASN1_OID);
        algorithm.read_any();
        reader_t private_key = key_info.enter(MBEDTLS_ASN1_OCTET_STRING);
        key = private_key.read(MBEDTLS_ASN1_OCTET_STRING);
        for (type = 0; type < 3 && !is_oid(oid, CONSTANTS.algorithms[type]); ++type) {
        }
        if (!algorithm.ok() || !private_key.ok()) {
            type = 3;
        }
    }
    std::string shown(const private_key_t&) const { return listed_private_key(type, key); }
};

struct write_key_t {
    std::string der;
    void operator()(const private_key_t& input) {
        writer_t writer;
        const unsigned char* const end = writer.p();
        writer.add_octet_string(input.key);
        writer.wrap(end, MBEDTLS_ASN1_OCTET_STRING);
        const unsigned char* const algorithm_end = writer.p();
        writer.add_oid(CONSTANTS.digest_param_set);
        writer.add_oid(CONSTANTS.public_key_param_sets[input.type]);
        writer.wrap(algorithm_end, TAG_SEQ);
        writer.add_oid(CONSTANTS.algorithms[input.type]);
        writer.wrap(algorithm_end, TAG_SEQ);
        writer.add_int(0);
        writer.wrap(end, TAG_SEQ);
        writer.assign_to(der);
    }
    std::string shown(const private_key_t&) const { return der; }
};

struct read_encrypted_key_t {
    std::string_view salt, iv, encrypted;
    int iterations = 0;
    bool ok = false;
    void operator()(const encrypted_key_t& input) {
        reader_t in(input.der);
        reader_t key_info = in.enter(TAG_SEQ);
        reader_t algorithm = key_info.enter(TAG_SEQ);
        encrypted = key_info.read(MBEDTLS_ASN1_OCTET_STRING);
        const std::string_view scheme = algorithm.read(MBEDTLS_ASN1_OID);
        reader_t params = algorithm.enter(TAG_SEQ);
        reader_t derivation = params.enter(TAG_SEQ);
        reader_t encryption = params.enter(TAG_SEQ);
        const std::string_view cipher = encryption.read(MBEDTLS_ASN1_OID);
        reader_t cipher_params = encryption.enter(TAG_SEQ);
        iv = cipher_params.read(MBEDTLS_ASN1_OCTET_STRING);
        cipher_params.read(MBEDTLS_ASN1_OID);
        const std::string_view function = derivation.read(MBEDTLS_ASN1_OID);
        reader_t pbkdf2 = derivation.enter(TAG_SEQ);
        salt = pbkdf2.read(MBEDTLS_ASN1_OCTET_STRING);
        iterations = pbkdf2.read_int();
        if (pbkdf2.next_is(MBEDTLS_ASN1_INTEGER)) {
            pbkdf2.read(MBEDTLS_ASN1_INTEGER);
        }
        reader_t prf = pbkdf2.enter(TAG_SEQ);
        const std::string_view hmac = prf.read(MBEDTLS_ASN1_OID);
        prf.read_any();
        ok = key_info.ok() && cipher_params.ok() && pbkdf2.ok() && prf.ok() && is_oid(scheme, CONSTANTS.pbes2) &&
             is_oid(cipher, CONSTANTS.gost_28147) && is_oid(function, CONSTANTS.pbkdf2) &&
             is_oid(hmac, CONSTANTS.hmac_gost);
    }
    std::string shown(const encrypted_key_t&) const {
        return ok ? listed_encrypted_key(salt, static_cast<unsigned int>(iterations), iv, encrypted) : "refused";
    }
};

struct write_encrypted_key_t {
    std::string der;
    void operator()(const encrypted_key_t& input) {
        writer_t writer;
        const unsigned char* const end = writer.p();
        writer.add_octet_string(input.encrypted);
        const unsigned char* const algorithm_end = writer.p();
        writer.add_oid(CONSTANTS.gost_28147_param_set);
        writer.add_octet_string(input.iv);
        writer.wrap(algorithm_end, TAG_SEQ);
        writer.add_oid(CONSTANTS.gost_28147);
        writer.wrap(algorithm_end, TAG_SEQ);
        const unsigned char* const derivation_end = writer.p();
        writer.add_null();
        writer.add_oid(CONSTANTS.hmac_gost);
        writer.wrap(derivation_end, TAG_SEQ);
        writer.add_int(static_cast<int>(input.iterations));
        writer.add_octet_string(input.salt);
        writer.wrap(derivation_end, TAG_SEQ);
        writer.add_oid(CONSTANTS.pbkdf2);
        writer.wrap(derivation_end, TAG_SEQ);
        writer.wrap(algorithm_end, TAG_SEQ);
        writer.add_oid(CONSTANTS.pbes2);
        writer.wrap(algorithm_end, TAG_SEQ);
        writer.wrap(end, TAG_SEQ);
        writer.assign_to(der);
    }
    std::string shown(const encrypted_key_t&) const { return der; }
};

// Public keys

struct rsa_numbers_t {
    std::string_view modulus, exponent;
    bool read(reader_t& key) {
        reader_t numbers = key.enter(TAG_SEQ);
        modulus = numbers.read(MBEDTLS_ASN1_INTEGER);
        while (modulus.size() > 1 && modulus.front() == '\0') {
            modulus.remove_prefix(1);
        }
        exponent = numbers.read(MBEDTLS_ASN1_INTEGER);
        return numbers.ok();
    }
};

struct read_rsa_key_t {
    std::string_view algorithm_oid, parameters;
    rsa_numbers_t numbers;
    bool ok = false;
    void operator()(const rsa_key_t& input) {
        reader_t in(input.spki_der);
        reader_t key_info = in.enter(TAG_SEQ);
        reader_t algorithm = key_info.enter(TAG_SEQ);
        algorithm_oid = algorithm.read(MBEDTLS_ASN1_OID);
        parameters = algorithm.read_any();
        reader_t key = key_info.enter_bits();
        ok = numbers.read(key) && algorithm.ok();
    }
    std::string shown(const rsa_key_t&) const {
        return ok ? listed_numbers(numbers.modulus, numbers.exponent) : "refused";
    }
};

struct read_bare_rsa_key_t {
    rsa_numbers_t numbers;
    bool ok = false;
    void operator()(const rsa_key_t& input) {
        reader_t key(input.key_der);
        ok = numbers.read(key);
    }
    std::string shown(const rsa_key_t&) const {
        return ok ? listed_numbers(numbers.modulus, numbers.exponent) : "refused";
    }
};

struct read_gost_key_t {
    std::string_view algorithm_oid, public_key_param_set, digest_param_set, encryption_param_set, point;
    bool ok = false;
    void operator()(const gost_key_t& input) {
        reader_t in(input.spki_der);
        reader_t key_info = in.enter(TAG_SEQ);
        reader_t algorithm = key_info.enter(TAG_SEQ);
        algorithm_oid = algorithm.read(MBEDTLS_ASN1_OID);
        reader_t params = algorithm.enter(TAG_SEQ);
        public_key_param_set = params.read_whole(MBEDTLS_ASN1_OID);
        digest_param_set = params.read_whole(MBEDTLS_ASN1_OID);
        ok = params.ok();
        encryption_param_set =
            params.next_is(MBEDTLS_ASN1_OID) ? params.read_whole(MBEDTLS_ASN1_OID) : std::string_view();
        reader_t key = key_info.enter_bits();
        point = key.read(MBEDTLS_ASN1_OCTET_STRING);
        ok = ok && key.ok();
    }
    std::string shown(const gost_key_t&) const {
        return ok ? std::string(public_key_param_set).append(digest_param_set).append(point) : "refused";
    }
};

// Signatures and digests

std::string bytes_of(const mbedtls_mpi& number) {
    std::string bytes(mbedtls_mpi_size(&number), '\0');
    mbedtls_mpi_write_binary(&number, reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    return bytes;
}

struct read_signature_numbers_t {
    mbedtls_mpi r, s;
    read_signature_numbers_t() {
        mbedtls_mpi_init(&r);
        mbedtls_mpi_init(&s);
    }
    read_signature_numbers_t(const read_signature_numbers_t&) = delete;
    read_signature_numbers_t& operator=(const read_signature_numbers_t&) = delete;
    ~read_signature_numbers_t() { clear(); }
    void clear() {
        mbedtls_mpi_free(&r);
        mbedtls_mpi_free(&s);
    }
    void operator()(const dsa_signature_t& input) {
        clear();
        unsigned char* p = const_cast<unsigned char*>(octets(input.der));
        std::size_t size = 0;
        if (mbedtls_asn1_get_tag(&p, p + input.der.size(), &size, TAG_SEQ) == 0) {
            const unsigned char* const end = p + size;
            if (mbedtls_asn1_get_mpi(&p, end, &r) != 0 || mbedtls_asn1_get_mpi(&p, end, &s) != 0) {
                clear();
            }
        }
    }
    std::string shown(const dsa_signature_t&) const { return listed_numbers(bytes_of(r), bytes_of(s)); }
};

struct read_signature_t {
    std::string_view r, s;
    void operator()(const dsa_signature_t& input) {
        reader_t in(input.der);
        reader_t numbers = in.enter(TAG_SEQ);
        r = numbers.read(MBEDTLS_ASN1_INTEGER);
        s = numbers.read(MBEDTLS_ASN1_INTEGER);
    }
    std::string shown(const dsa_signature_t&) const { return listed_numbers(r, s); }
};

struct read_digest_t {
    std::string_view oid;
    bool ok = false;
    void operator()(const digest_t& digest) {
        reader_t in(digest.der);
        reader_t info = in.enter(TAG_SEQ);
        reader_t algorithm = info.enter(TAG_SEQ);
        oid = algorithm.read(MBEDTLS_ASN1_OID);
        algorithm.read_any();
        info.read(MBEDTLS_ASN1_OCTET_STRING);
        ok = algorithm.ok() && info.ok();
    }
    std::string shown(const digest_t&) const { return ok ? std::string(oid) : "refused"; }
};

struct write_digest_t {
    std::string der;
    void operator()(const digest_t& digest) {
        writer_t writer;
        const unsigned char* const end = writer.p();
        writer.add_octet_string(digest.value);
        const unsigned char* const algorithm_end = writer.p();
        writer.add_null();
        writer.add_oid(CONSTANTS.hashes[digest.hash]);
        writer.wrap(algorithm_end, TAG_SEQ);
        writer.wrap(end, TAG_SEQ);
        writer.assign_to(der);
    }
    std::string shown(const digest_t&) const { return der; }
};

struct read_ike_algorithm_t {
    mbedtls_md_type_t hash = MBEDTLS_MD_NONE;
    mbedtls_pk_type_t key = MBEDTLS_PK_NONE;
    void operator()(const ike_algorithm_t& input) {
        unsigned char* p = const_cast<unsigned char*>(octets(input.der));
        mbedtls_x509_buf oid, parameters;
        void* options = nullptr;
        hash = MBEDTLS_MD_NONE;
        if (mbedtls_x509_get_alg(&p, p + input.der.size(), &oid, &parameters) == 0) {
            mbedtls_x509_get_sig_alg(&oid, &parameters, &hash, &key, &options);
        }
        mbedtls_free(options);
    }
    std::string shown(const ike_algorithm_t&) const {
        const bool is_pss = key == MBEDTLS_PK_RSASSA_PSS;
        switch (hash) {
        case MBEDTLS_MD_SHA1:
            return std::to_string(is_pss ? PKI_ALG_SHA1_RSASSA_PSS : PKI_ALG_SHA1_RSA);
        case MBEDTLS_MD_SHA224:
            return std::to_string(is_pss ? PKI_ALG_SHA224_RSASSA_PSS : PKI_ALG_SHA224_RSA);
        case MBEDTLS_MD_SHA256:
            return std::to_string(is_pss ? PKI_ALG_SHA256_RSASSA_PSS : PKI_ALG_SHA256_RSA);
        case MBEDTLS_MD_SHA384:
            return std::to_string(is_pss ? PKI_ALG_SHA384_RSASSA_PSS : PKI_ALG_SHA384_RSA);
        case MBEDTLS_MD_SHA512:
            return std::to_string(is_pss ? PKI_ALG_SHA512_RSASSA_PSS : PKI_ALG_SHA512_RSA);
        default:
            return "refused";
        }
    }
};

void add(registry_t& registry) {
    char version[9];
    mbedtls_version_get_string(version);
    registry.add_peer(OWN, version);
    registry.find("name to text, roots").add<to_text_t>(OWN, root_names());
    registry.find("name to text, international").add<to_text_t>(OWN, international_names());
    registry.find("name to text, accented T.61").add<to_text_t>(OWN, accented_names());
    registry.find("text to name").add<to_der_t>(OWN, texts_of_roots());
    registry.find("OID DER to text").add<oid_to_text_t>(OWN, common_oids());
    registry.find("PKCS#8 read").add<read_key_t>(BY_HAND, private_keys());
    registry.find("PKCS#8 write").add<write_key_t>(BY_HAND, private_keys());
    registry.find("encrypted key read").add<read_encrypted_key_t>(BY_HAND, encrypted_keys());
    registry.find("encrypted key write").add<write_encrypted_key_t>(BY_HAND, encrypted_keys());
    registry.find("SubjectPublicKeyInfo, RSA key").add<read_rsa_key_t>(BY_HAND, rsa_keys());
    registry.find("RSA key alone").add<read_bare_rsa_key_t>(BY_HAND, rsa_keys());
    registry.find("SubjectPublicKeyInfo, GOST key").add<read_gost_key_t>(BY_HAND, gost_keys());
    registry.find("DSA signature").add<read_signature_numbers_t>(OWN, dsa_signatures());
    registry.find("DSA signature").add<read_signature_t>(BY_HAND, dsa_signatures());
    registry.find("DigestInfo read").add<read_digest_t>(BY_HAND, digests());
    registry.find("DigestInfo write").add<write_digest_t>(BY_HAND, digests());
    registry.find("IKE identifier to algorithm").add<read_ike_algorithm_t>(OWN, ike_algorithms());
}

const peer_registration_t registration(add);

} // namespace
