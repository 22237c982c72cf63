// libksba: names and object identifiers.
#include <ksba.h>

#include "row.h"
#include "tasks.h"

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
    std::string shown() const { return text.data == nullptr ? "" : listed_values(text.data, order_t::REVERSED); }
};

struct to_der_t {
    owned_t<unsigned char> der;
    void operator()(const name_t& name) {
        der.clear();
        ksba_dn_str2der(name.text.c_str(), &der.data, &der.size);
    }
    std::string shown() const { return listed_attributes(der.chars(), order_t::REVERSED); }
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
    std::string shown() const { return text.data == nullptr ? "" : listed_values(text.data, order_t::AS_ENCODED); }
};

struct oid_to_der_t {
    owned_t<unsigned char> content;
    void operator()(const oid_t& oid) {
        content.clear();
        ksba_oid_from_str(oid.text.c_str(), &content.data, &content.size);
    }
    std::string shown() const { return std::string(content.chars()); }
};

struct oid_to_text_t {
    owned_t<char> text;
    void operator()(const oid_t& oid) {
        text.clear();
        text.data = ksba_oid_to_str(oid.content.data(), oid.content.size());
    }
    std::string shown() const { return text.data == nullptr ? "" : text.data; }
};

void add(registry_t& registry) {
    registry.add_peer("libksba", ksba_check_version(nullptr));
    registry.add_contender<to_text_t>("name to text", "libksba");
    registry.add_contender<to_der_t>("text to name", "libksba");
    registry.add_contender<normalize_t>("normalise name", "libksba");
    registry.add_contender<oid_to_der_t>("OID text to DER", "libksba");
    registry.add_contender<oid_to_text_t>("OID DER to text", "libksba");
}

const peer_registration_t registration(add);

} // namespace
