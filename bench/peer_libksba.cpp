// libksba: names and object identifiers.
#include <ksba.h>

#include "der.h"
#include "names.h"
#include "oids.h"
#include "row.h"

namespace {

// Memory that libksba allocates and its caller frees.
template <typename T> struct owned_t {
    T* data = nullptr;
    std::size_t size = 0;
    owned_t() = default;
    owned_t(const owned_t&) = delete;
    owned_t& operator=(const owned_t&) = delete;
    ~owned_t() { clear(); }
    void clear() {
        ksba_free(data);
        data = nullptr;
        size = 0;
    }
    std::string_view chars() const { return std::string_view(reinterpret_cast<const char*>(data), size); }
};

// RFC 4514: the last RDN comes first.
struct to_text_t {
    owned_t<char> text;
    void operator()(const name_t& name) {
        text.clear();
        ksba_dn_der2str(name.der.data(), name.der.size(), &text.data);
    }
    std::string shown(const name_t&) const {
        return text.data == nullptr ? "" : listed_values(text.data, order_t::REVERSED);
    }
};

struct to_der_t {
    owned_t<unsigned char> der;
    void operator()(const name_t& name) {
        der.clear();
        ksba_dn_str2der(name.text.c_str(), &der.data, &der.size);
    }
    std::string shown(const name_t&) const { return listed_attributes(der.chars(), order_t::REVERSED); }
};

struct normalize_t {
    owned_t<char> text;
    void operator()(const name_t& name) {
        text.clear();
        owned_t<unsigned char> der;
        if (ksba_dn_str2der(name.text.c_str(), &der.data, &der.size) == 0) {
            ksba_dn_der2str(der.data, der.size, &text.data);
        }
    }
    std::string shown(const name_t&) const {
        return text.data == nullptr ? "" : listed_values(text.data, order_t::AS_ENCODED);
    }
};

struct oid_to_der_t {
    owned_t<unsigned char> content;
    void operator()(const oid_t& oid) {
        content.clear();
        ksba_oid_from_str(oid.text.c_str(), &content.data, &content.size);
    }
    std::string shown(const oid_t&) const { return std::string(content.chars()); }
};

struct oid_to_text_t {
    owned_t<char> text;
    void operator()(const oid_t& oid) {
        text.clear();
        text.data = ksba_oid_to_str(oid.content.data(), oid.content.size());
    }
    std::string shown(const oid_t&) const { return text.data == nullptr ? "" : text.data; }
};

void add(registry_t& registry) {
    registry.add_peer("libksba", ksba_check_version(nullptr));
    registry.find("name to text, roots").add<to_text_t>("libksba", root_names());
    registry.find("name to text, international").add<to_text_t>("libksba", international_names());
    registry.find("name to text, accented T.61").add<to_text_t>("libksba", accented_names());
    registry.find("text to name").add<to_der_t>("libksba", texts_of_roots());
    registry.find("normalise name").add<normalize_t>("libksba", texts_of_roots());
    registry.find("OID text to DER").add<oid_to_der_t>("libksba", common_oids());
    registry.find("OID DER to text").add<oid_to_text_t>("libksba", common_oids());
}

const peer_registration_t registration(add);

} // namespace
