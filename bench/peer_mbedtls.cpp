// mbedTLS: what it has functions for.
#include <mbedtls/asn1.h>
#include <mbedtls/asn1write.h>
#include <mbedtls/oid.h>
#include <mbedtls/platform.h>
#include <mbedtls/version.h>
#include <mbedtls/x509.h>

#include "row.h"
#include "tasks.h"

namespace {

constexpr int TAG_SEQUENCE = MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE;

unsigned char* changeable(const std::string& bytes) {
    return const_cast<unsigned char*>(octets(bytes));
}

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
        unsigned char* p = changeable(name.der);
        const unsigned char* const end = p + name.der.size();
        std::size_t size = 0;
        text[0] = '\0';
        if (mbedtls_asn1_get_tag(&p, end, &size, TAG_SEQUENCE) == 0 &&
            mbedtls_x509_get_name(&p, p + size, &list) == 0) {
            mbedtls_x509_dn_gets(text, sizeof text, &list);
        }
        free_rest(list);
    }
    std::string shown() const { return listed_values(text, order_t::AS_ENCODED); }
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
    std::string shown() const {
        const std::size_t length = size < 0 ? 0 : static_cast<std::size_t>(size);
        return listed_attributes(as_chars(buffer + sizeof buffer - length, length), order_t::AS_ENCODED);
    }
};

struct oid_to_text_t {
    char text[128];
    void operator()(const oid_t& oid) {
        mbedtls_asn1_buf content = {MBEDTLS_ASN1_OID, oid.content.size(), changeable(oid.content)};
        text[0] = '\0';
        mbedtls_oid_get_numeric_string(text, sizeof text, &content);
    }
    std::string shown() const { return text; }
};

std::string bytes_of(const mbedtls_mpi& number) {
    std::string bytes(mbedtls_mpi_size(&number), '\0');
    mbedtls_mpi_write_binary(&number, reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    return bytes;
}

struct read_signature_t {
    mbedtls_mpi r, s;
    read_signature_t() {
        mbedtls_mpi_init(&r);
        mbedtls_mpi_init(&s);
    }
    read_signature_t(const read_signature_t&) = delete;
    read_signature_t& operator=(const read_signature_t&) = delete;
    ~read_signature_t() { clear(); }
    void clear() {
        mbedtls_mpi_free(&r);
        mbedtls_mpi_free(&s);
    }
    void operator()(const dsa_signature_t& input) {
        clear();
        unsigned char* p = changeable(input.der);
        std::size_t size = 0;
        if (mbedtls_asn1_get_tag(&p, p + input.der.size(), &size, TAG_SEQUENCE) == 0) {
            const unsigned char* const end = p + size;
            if (mbedtls_asn1_get_mpi(&p, end, &r) != 0 || mbedtls_asn1_get_mpi(&p, end, &s) != 0) {
                clear();
            }
        }
    }
    std::string shown() const { return listed_numbers(bytes_of(r), bytes_of(s)); }
};

struct read_ike_algorithm_t {
    mbedtls_md_type_t hash = MBEDTLS_MD_NONE;
    mbedtls_pk_type_t key = MBEDTLS_PK_NONE;
    void operator()(const ike_algorithm_t& input) {
        unsigned char* p = changeable(input.der);
        mbedtls_x509_buf oid, parameters;
        void* options = nullptr;
        hash = MBEDTLS_MD_NONE;
        if (mbedtls_x509_get_alg(&p, p + input.der.size(), &oid, &parameters) == 0) {
            mbedtls_x509_get_sig_alg(&oid, &parameters, &hash, &key, &options);
        }
        mbedtls_free(options);
    }
    std::string shown() const {
        return listed_ike_algorithm(
            hash, {MBEDTLS_MD_SHA1, MBEDTLS_MD_SHA224, MBEDTLS_MD_SHA256, MBEDTLS_MD_SHA384, MBEDTLS_MD_SHA512},
            key == MBEDTLS_PK_RSASSA_PSS);
    }
};

std::string version() {
    char version[9];
    mbedtls_version_get_string(version);
    return version;
}

const peer_registration_t registration("mbedTLS", version(),
                                       {contender<to_text_t>("name to text"), contender<to_der_t>("text to name"),
                                        contender<oid_to_text_t>("OID DER to text"),
                                        contender<read_signature_t>("DSA signature"),
                                        contender<read_ike_algorithm_t>("IKE identifier to algorithm")});

} // namespace
