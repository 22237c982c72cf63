// libksba: names and object identifiers.
#include <ksba.h>

#include "row.h"
#include "tasks.h"

namespace {

template <typename T> struct block_t {
    T* data = nullptr;
    std::size_t size = 0;
};
template <typename T> using owned_t = received_t<block_t<T>, ksba_free>;

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

const peer_registration_t registration("libksba", ksba_check_version(nullptr),
                                       {contender<to_text_t>("name to text"), contender<to_der_t>("text to name"),
                                        contender<normalize_t>("normalise name"),
                                        contender<oid_to_der_t>("OID text to DER"),
                                        contender<oid_to_text_t>("OID DER to text")});

} // namespace
