// What the two files of OpenSSL's contenders share.
#ifndef DERKIT_BENCH_PEER_OPENSSL_H
#define DERKIT_BENCH_PEER_OPENSSL_H

#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <string_view>

#include "der.h"
#include "row.h"

template <auto FREE> struct freer_t {
    template <typename T> void operator()(T* object) const { FREE(object); }
};
template <typename T, auto FREE> using owned_t = std::unique_ptr<T, freer_t<FREE>>;

inline void free_any(ASN1_SEQUENCE_ANY* members) {
    sk_ASN1_TYPE_pop_free(members, ASN1_TYPE_free);
}

inline std::string_view chars_of(const ASN1_STRING* text) {
    return as_chars(ASN1_STRING_get0_data(text), static_cast<std::size_t>(ASN1_STRING_length(text)));
}

template <typename T> T* unpack(const ASN1_TYPE* sequence, const ASN1_ITEM* item) {
    return static_cast<T*>(ASN1_TYPE_unpack_sequence(item, sequence));
}

// Encodes into storage that is kept.
template <typename T, typename I2D> void encode_into(std::string& out, I2D i2d, T* object) {
    out.resize(static_cast<std::size_t>(i2d(object, nullptr)));
    unsigned char* p = reinterpret_cast<unsigned char*>(out.data());
    i2d(object, &p);
}

// Makes PBES2 of the GOST profile.
void set_pbes2(X509_ALGOR* algorithm, std::string_view salt, unsigned int iterations, std::string_view iv);

void add_openssl_containers(registry_t& registry);

#endif
