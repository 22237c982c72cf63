// What the files of OpenSSL's contenders share.
#ifndef DERKIT_BENCH_PEER_OPENSSL_H
#define DERKIT_BENCH_PEER_OPENSSL_H

#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <memory>

#include "row.h"
#include "tasks.h"

template <auto FREE> struct freer_t {
    template <typename T> void operator()(T* object) const { FREE(object); }
};
template <typename T, auto FREE> using owned_t = std::unique_ptr<T, freer_t<FREE>>;

inline void free_any(ASN1_SEQUENCE_ANY* members) {
    sk_ASN1_TYPE_pop_free(members, ASN1_TYPE_free);
}

inline std::string_view string_chars(const ASN1_STRING* text) {
    return as_chars(ASN1_STRING_get0_data(text), static_cast<std::size_t>(ASN1_STRING_length(text)));
}

inline int set_string(ASN1_STRING* text, std::string_view bytes) {
    return ASN1_STRING_set(text, bytes.data(), static_cast<int>(bytes.size()));
}

// A new object, by OpenSSL's d2i_...
template <auto D2I> auto decode(std::string_view der) {
    const unsigned char* p = octets(der);
    return D2I(nullptr, &p, static_cast<long>(der.size()));
}

template <typename T> T* unpack(const ASN1_TYPE* sequence, const ASN1_ITEM* item) {
    return static_cast<T*>(ASN1_TYPE_unpack_sequence(item, sequence));
}

// Encodes into storage that is kept.
template <auto I2D, typename T> void encode_into(std::string& out, T* object) {
    out.resize(static_cast<std::size_t>(I2D(object, nullptr)));
    unsigned char* p = reinterpret_cast<unsigned char*>(out.data());
    I2D(object, &p);
}

#endif
