// GnuTLS: names, hexadecimal text, DigestInfo.
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include "row.h"
#include "tasks.h"

namespace {

gnutls_datum_t datum_of(std::string_view bytes) {
    return {const_cast<unsigned char*>(octets(bytes)), size32(bytes)};
}

// GnuTLS has the function in a variable.
void free_with_gnutls(void* data) {
    gnutls_free(data);
}
using owned_datum_t = received_t<gnutls_datum_t, free_with_gnutls>;

struct owned_dn_t {
    gnutls_x509_dn_t dn = nullptr;
    owned_dn_t() { gnutls_x509_dn_init(&dn); }
    owned_dn_t(const owned_dn_t&) = delete;
    owned_dn_t& operator=(const owned_dn_t&) = delete;
    ~owned_dn_t() { gnutls_x509_dn_deinit(dn); }
    bool parse(const std::string& text) {
        const char* error = nullptr;
        return gnutls_x509_dn_set_str(dn, text.c_str(), &error) == 0;
    }
};

// RFC 4514: the last RDN comes first.
struct to_text_t {
    owned_datum_t text;
    void operator()(const name_t& name) {
        text.clear();
        const gnutls_datum_t der = datum_of(name.der);
        const owned_dn_t parsed;
        if (gnutls_x509_dn_import(parsed.dn, &der) == 0) {
            gnutls_x509_dn_get_str2(parsed.dn, &text, 0);
        }
    }
    std::string shown() const { return listed_values(text.chars(), order_t::REVERSED); }
};

struct to_der_t {
    std::string der = std::string(4096, '\0');
    std::size_t size = 0;
    void operator()(const name_t& name) {
        owned_dn_t parsed;
        size = der.size();
        if (!parsed.parse(name.text) || gnutls_x509_dn_export(parsed.dn, GNUTLS_X509_FMT_DER, der.data(), &size) != 0) {
            size = 0;
        }
    }
    std::string shown() const { return listed_attributes(std::string_view(der).substr(0, size), order_t::REVERSED); }
};

struct normalize_t {
    owned_datum_t text;
    void operator()(const name_t& name) {
        text.clear();
        owned_dn_t parsed;
        if (parsed.parse(name.text)) {
            gnutls_x509_dn_get_str2(parsed.dn, &text, 0);
        }
    }
    std::string shown() const { return listed_values(text.chars(), order_t::AS_ENCODED); }
};

// Writes small letters, which are hexadecimal digits too.
struct hex_t {
    std::string hex = std::string(2 * 4096 + 1, '\0');
    std::size_t size = 0;
    void operator()(const std::string& bytes) {
        const gnutls_datum_t datum = datum_of(bytes);
        size = hex.size();
        gnutls_hex_encode(&datum, hex.data(), &size);
    }
    std::string shown() const { return upper_case(hex.substr(0, size - 1)); }
};

constexpr gnutls_digest_algorithm_t HASHES[] = {GNUTLS_DIG_SHA1, GNUTLS_DIG_SHA256, GNUTLS_DIG_SHA512};

struct write_digest_t {
    owned_datum_t der;
    void operator()(const digest_t& digest) {
        der.clear();
        const gnutls_datum_t value = datum_of(digest.value);
        gnutls_encode_ber_digest_info(HASHES[digest.hash], &value, &der);
    }
    std::string shown() const { return std::string(der.chars()); }
};

struct read_digest_t {
    gnutls_digest_algorithm_t hash = GNUTLS_DIG_UNKNOWN;
    unsigned char value[64];
    void operator()(const digest_t& digest) {
        const gnutls_datum_t der = datum_of(digest.der);
        unsigned int size = sizeof value;
        gnutls_decode_ber_digest_info(&der, &hash, value, &size);
    }
    std::string shown() const { return oid_content(gnutls_digest_get_oid(hash)); }
};

const peer_registration_t registration("GnuTLS", gnutls_check_version(nullptr),
                                       {contender<to_text_t>("name to text"), contender<to_der_t>("text to name"),
                                        contender<normalize_t>("normalise name"), contender<hex_t>("hex of"),
                                        contender<write_digest_t>("DigestInfo write"),
                                        contender<read_digest_t>("DigestInfo read")});

} // namespace
