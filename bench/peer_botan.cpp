// Botan: names, object identifiers, hexadecimal text.
#include <botan/asn1_obj.h>
#include <botan/ber_dec.h>
#include <botan/der_enc.h>
#include <botan/hex.h>
#include <botan/version.h>
#include <botan/x509_dn.h>

#include <sstream>

#include "row.h"
#include "tasks.h"

namespace {

// Botan throws exceptions on what it refuses; the result is then empty.
template <typename CALL> void clear_on_failure(std::string& result, CALL call) {
    try {
        call();
    } catch (const std::exception&) {
        result.clear();
    }
}

template <typename OBJECT> void decode(OBJECT& object, std::string_view der) {
    Botan::BER_Decoder decoder(octets(der), der.size());
    object.decode_from(decoder);
}

template <typename OBJECT> void encode_into(std::string& der, const OBJECT& object) {
    std::vector<unsigned char> bytes;
    Botan::DER_Encoder encoder(bytes);
    object.encode_into(encoder);
    der.assign(as_chars(bytes.data(), bytes.size()));
}

struct to_text_t : name_text_t {
    void operator()(const name_t& name) {
        clear_on_failure(text, [&] {
            Botan::X509_DN dn;
            decode(dn, name.der);
            text = dn.to_string();
        });
    }
};

Botan::X509_DN parse(const std::string& text) {
    std::istringstream in(text);
    Botan::X509_DN dn;
    in >> dn;
    return dn;
}

struct to_der_t : name_der_t {
    void operator()(const name_t& name) {
        clear_on_failure(der, [&] { encode_into(der, parse(name.text)); });
    }
};

struct normalize_t : name_text_t {
    void operator()(const name_t& name) {
        clear_on_failure(text, [&] { text = parse(name.text).to_string(); });
    }
};

struct oid_to_der_t {
    std::string der;
    void operator()(const oid_t& oid) {
        clear_on_failure(der, [&] { encode_into(der, Botan::OID(oid.text)); });
    }
    std::string shown() const { return listed_oid(der); }
};

struct oid_to_text_t : output_t {
    void operator()(const oid_t& input) {
        clear_on_failure(out, [&] {
            Botan::OID oid;
            decode(oid, input.der);
            out = oid.to_string();
        });
    }
};

struct hex_t {
    std::string hex = std::string(2 * 4096, '\0');
    std::size_t size = 0;
    void operator()(const std::string& bytes) {
        size = 2 * bytes.size();
        Botan::hex_encode(hex.data(), octets(bytes), bytes.size());
    }
    std::string shown() const { return hex.substr(0, size); }
};

const peer_registration_t registration("Botan", Botan::short_version_string(),
                                       {contender<to_text_t>("name to text"), contender<to_der_t>("text to name"),
                                        contender<normalize_t>("normalise name"),
                                        contender<oid_to_der_t>("OID text to DER"),
                                        contender<oid_to_text_t>("OID DER to text"), contender<hex_t>("hex of")});

} // namespace
