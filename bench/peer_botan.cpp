// Botan: names, object identifiers, hexadecimal text.
#include <botan/asn1_obj.h>
#include <botan/ber_dec.h>
#include <botan/der_enc.h>
#include <botan/hex.h>
#include <botan/version.h>
#include <botan/x509_dn.h>

#include <sstream>

#include "der.h"
#include "names.h"
#include "oids.h"
#include "row.h"
#include "texts.h"

namespace {

// Botan reports what it does not take by exceptions; such a result is empty.
template <typename CALL> void call_or(CALL call, std::string& result) {
    try {
        call();
    } catch (const std::exception&) {
        result.clear();
    }
}

struct to_text_t {
    std::string text;
    void operator()(const name_t& name) {
        call_or(
            [&] {
                Botan::X509_DN dn;
                Botan::BER_Decoder decoder(octets(name.der), name.der.size());
                dn.decode_from(decoder);
                text = dn.to_string();
            },
            text);
    }
    std::string shown(const name_t&) const { return listed_values(text, order_t::AS_ENCODED); }
};

Botan::X509_DN parse(const std::string& text) {
    std::istringstream in(text);
    Botan::X509_DN dn;
    in >> dn;
    return dn;
}

struct to_der_t {
    std::string der;
    void operator()(const name_t& name) {
        call_or(
            [&] {
                const Botan::X509_DN dn = parse(name.text);
                std::vector<unsigned char> bytes;
                Botan::DER_Encoder encoder(bytes);
                dn.encode_into(encoder);
                der.assign(as_chars(bytes.data(), bytes.size()));
            },
            der);
    }
    std::string shown(const name_t&) const { return listed_attributes(der, order_t::AS_ENCODED); }
};

struct normalize_t {
    std::string text;
    void operator()(const name_t& name) {
        call_or([&] { text = parse(name.text).to_string(); }, text);
    }
    std::string shown(const name_t&) const { return listed_values(text, order_t::AS_ENCODED); }
};

struct oid_to_der_t {
    std::string der;
    void operator()(const oid_t& input) {
        call_or(
            [&] {
                const Botan::OID oid(input.text);
                std::vector<unsigned char> bytes;
                Botan::DER_Encoder encoder(bytes);
                oid.encode_into(encoder);
                der.assign(as_chars(bytes.data(), bytes.size()));
            },
            der);
    }
    std::string shown(const oid_t& input) const { return der == input.der ? input.content : ""; }
};

struct oid_to_text_t {
    std::string text;
    void operator()(const oid_t& input) {
        call_or(
            [&] {
                Botan::OID oid;
                Botan::BER_Decoder decoder(octets(input.der), input.der.size());
                oid.decode_from(decoder);
                text = oid.to_string();
            },
            text);
    }
    std::string shown(const oid_t&) const { return text; }
};

struct hex_t {
    std::string hex = std::string(2 * 4096, '\0');
    void operator()(const std::string& bytes) { Botan::hex_encode(hex.data(), octets(bytes), bytes.size()); }
    std::string shown(const std::string& bytes) const { return hex.substr(0, 2 * bytes.size()); }
};

void add(registry_t& registry) {
    registry.add_peer("Botan", Botan::short_version_string());
    registry.find("name to text, roots").add<to_text_t>("Botan", root_names());
    registry.find("name to text, international").add<to_text_t>("Botan", international_names());
    registry.find("name to text, accented T.61").add<to_text_t>("Botan", accented_names());
    registry.find("text to name").add<to_der_t>("Botan", texts_of_roots());
    registry.find("normalise name").add<normalize_t>("Botan", texts_of_roots());
    registry.find("OID text to DER").add<oid_to_der_t>("Botan", common_oids());
    registry.find("OID DER to text").add<oid_to_text_t>("Botan", common_oids());
    for (const std::size_t size : HEX_SIZES) {
        registry.find("hex of " + std::to_string(size) + " bytes").add<hex_t>("Botan", bytes_for_hex(size));
    }
}

const peer_registration_t registration(add);

} // namespace
