// Containers for tests: made of DER, of files in tests/data, and by the library itself.
#ifndef DERKIT_TESTS_GOST_CONTAINER_SUPPORT_H
#define DERKIT_TESTS_GOST_CONTAINER_SUPPORT_H

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "derkit/gost/gost.h"
#include "testing/bytes.h"
#include "testing/der.h"

inline constexpr const char* PASSWORD = "Пароль 1";

// A file of tests/data.
inline std::string test_data(const std::string& name) {
    std::ifstream in(DERKIT_TEST_DATA "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Keys and certificates as DER.

inline std::string key_der(const std::string& name = "2012-256") {
    return std::string(derkit::gost::from_pem(test_data(name + ".key.pem"), "PRIVATE KEY").value().view());
}

inline std::string certificate_der(const std::string& name = "2012-256") {
    return std::string(derkit::gost::from_pem(test_data(name + ".cert.pem"), "CERTIFICATE").value().view());
}

// Bags to write.

inline derkit::gost::bag key_bag(std::string_view der) {
    derkit::gost::bag made;
    made.type = derkit::gost::bag_type::private_key;
    made.value = derkit::gost::secret(der);
    return made;
}

inline derkit::gost::bag certificate_bag(std::string_view der) {
    derkit::gost::bag made;
    made.type = derkit::gost::bag_type::certificate;
    made.value = derkit::gost::secret(der);
    return made;
}

// Formats to write, with few iterations.

inline derkit::gost::write_options
options_of(derkit::gost::format to, derkit::gost::block_cipher cipher = derkit::gost::block_cipher::kuznyechik) {
    derkit::gost::write_options options;
    options.to = to;
    options.cipher = cipher;
    options.iterations = 3;
    return options;
}

inline std::vector<derkit::gost::write_options> all_formats() {
    using derkit::gost::block_cipher;
    using derkit::gost::format;
    return {options_of(format::gost94),
            options_of(format::native),
            options_of(format::tc26),
            options_of(format::rfc9548),
            options_of(format::rfc9548, block_cipher::magma),
            options_of(format::rfc9548_omac),
            options_of(format::rfc9548_omac, block_cipher::magma),
            options_of(format::aes)};
}

// A key and its certificate with their names.
inline derkit::gost::container key_and_certificate() {
    derkit::gost::container made;
    derkit::gost::bag key = key_bag(key_der());
    key.friendly_name = "Ключ";
    key.local_key_id = "\1\2";
    made.add(std::move(key));
    made.add(certificate_bag(certificate_der()));
    return made;
}

// Layers of a file (RFC 7292, RFC 5652), without a MAC.

inline der_t content_info_of(const char* type, der_t content) {
    return der_sequence({der_oid(type), der_context_0({std::move(content)})});
}

inline der_t data_of(const der_t& content) {
    return content_info_of("1.2.840.113549.1.7.1", der_octet_string(content));
}

inline der_t safe_bag(const char* type, der_t value, der_members_t attributes = {}) {
    der_members_t members = {der_oid(type), der_context_0({std::move(value)})};
    if (!attributes.empty()) {
        members.push_back(der_set(std::move(attributes)));
    }
    return der_sequence(std::move(members));
}

inline der_t attribute_of(const char* type, der_members_t values) {
    return der_sequence({der_oid(type), der_set(std::move(values))});
}

inline der_t cert_bag(std::string_view certificate, der_members_t attributes = {}) {
    return safe_bag("1.2.840.113549.1.12.10.1.3",
                    der_sequence({der_oid("1.2.840.113549.1.9.22.1"), der_context_0({der_octet_string(certificate)})}),
                    std::move(attributes));
}

inline der_t bags_bag(der_members_t bags) {
    return safe_bag("1.2.840.113549.1.12.10.1.6", der_sequence(std::move(bags)));
}

// Without a MAC.
inline std::string pfx_of(der_members_t entries) {
    return encode(der_sequence({der_integer("03"), data_of(der_sequence(std::move(entries)))}));
}

inline std::string pfx_of_bags(der_members_t bags) {
    return pfx_of({data_of(der_sequence(std::move(bags)))});
}

inline derkit::gost::open_options unverified() {
    derkit::gost::open_options options;
    options.mac = derkit::gost::integrity::accept_unverified;
    return options;
}

#endif
