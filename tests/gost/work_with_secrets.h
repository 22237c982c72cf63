// Everything that the schemes do with a password, as cases for tests that let something fail.
#ifndef DERKIT_TESTS_GOST_WORK_WITH_SECRETS_H
#define DERKIT_TESTS_GOST_WORK_WITH_SECRETS_H

#include <functional>
#include <string>
#include <vector>

#include "derkit/gost/pbe_crypto.h"
#include "derkit/pkcs12_helper.h"
#include "gost/der.h"
#include "gost/schemes.h"
#include "gost/work_with_containers.h"

struct work_t {
    std::string name;
    std::function<derkit::gost::cause(std::string_view password, std::string_view private_key_info)> run;
};

// Encrypts and decrypts in one format.
inline derkit::gost::cause encrypt_and_decrypt(const derkit::gost::write_options& options, std::string_view password,
                                               std::string_view private_key_info) {
    using namespace derkit::gost;
    session under(password, limits());
    const result<encrypted> written = encrypt(under, options, private_key_info, plaintext::PRIVATE_KEY_INFO);
    if (!written) {
        return written.why();
    }
    const blob_t algorithm = asn_cursor_t(written->algorithm).read(asn_tag_t::SEQUENCE);
    session reading(password, limits());
    const result<secret> read = decrypt(reading, algorithm, blob_of(written->ciphertext), plaintext::PRIVATE_KEY_INFO);
    return read && read->view() != private_key_info ? cause::malformed : read.why();
}

inline derkit::gost::cause make_and_verify_mac(const derkit::gost::write_options& options, std::string_view password) {
    using namespace derkit::gost;
    const std::string element = der(asn_tag_t::OCTET_STRING, {"content"});
    session under(password, limits());
    const result<std::string> written = make_mac_data(under, options, "content");
    if (!written) {
        return written.why();
    }
    pkcs12_mac_t mac;
    const blob_t content = asn_cursor_t(*written).read(asn_tag_t::SEQUENCE);
    if (!asn_read_pkcs12_MacData(content.data, content.size, mac)) {
        return cause::malformed;
    }
    session reading(password, limits());
    return verify_mac(reading, mac, element).why();
}

// Writes and reads a container with libderkit, and wipes what that leaves to its caller.
inline derkit::gost::cause write_and_read_with_libderkit(derkit::gost::container_form form, std::string_view password,
                                                         std::string_view private_key_info) {
    using namespace derkit::gost;
    pkcs12_easy_t easy;
    pkcs12_bag_t bag;
    bag.value = blob_of(private_key_info);
    easy.encrypted_bags.push_back(bag);
    pbe_crypto writing(password, form);
    std::string file;
    asn_write_pkcs12_easy(easy, &writing, file);
    if (!writing.refusals().empty()) {
        return writing.refusals().front().why;
    }
    pbe_crypto reading(password);
    pkcs12_easy_t back;
    asn_read_pkcs12_easy(file.data(), static_cast<unsigned int>(file.size()), &reading, back);
    for (std::string& plain : back.decrypted_buffers) {
        wipe(plain.data(), plain.size());
    }
    return reading.refusals().empty() ? cause::none : reading.refusals().front().why;
}

inline std::vector<work_t> all_work() {
    using namespace derkit::gost;
    std::vector<work_t> all;
    const struct {
        const char* name;
        format to;
        block_cipher cipher;
    } FORMATS_TO_TRY[] = {{"gost94", format::gost94, block_cipher::kuznyechik},
                          {"tc26", format::tc26, block_cipher::kuznyechik},
                          {"Kuznyechik", format::rfc9548, block_cipher::kuznyechik},
                          {"Magma", format::rfc9548, block_cipher::magma},
                          {"Kuznyechik with OMAC", format::rfc9548_omac, block_cipher::kuznyechik},
                          {"Magma with OMAC", format::rfc9548_omac, block_cipher::magma},
                          {"AES", format::aes, block_cipher::kuznyechik}};
    for (const auto& [name, to, cipher] : FORMATS_TO_TRY) {
        write_options options;
        options.to = to;
        options.cipher = cipher;
        options.iterations = 3;
        all.push_back({name, [options](std::string_view password, std::string_view private_key_info) {
                           const cause mac = make_and_verify_mac(options, password);
                           return mac != cause::none ? mac : encrypt_and_decrypt(options, password, private_key_info);
                       }});
    }
    for (const format to : {format::tc26, format::native, format::rfc9548_omac}) {
        write_options options;
        options.to = to;
        options.iterations = 3;
        all.push_back({"container, format " + std::to_string(static_cast<int>(to)),
                       [options](std::string_view password, std::string_view private_key_info) {
                           return write_and_open(options, password, private_key_info);
                       }});
    }
    all.push_back({"private key", write_and_read_key});
    for (const container_form form : {container_form::standard, container_form::native}) {
        all.push_back({form == container_form::native ? "native form" : "standard form",
                       [form](std::string_view password, std::string_view private_key_info) {
                           return write_and_read_with_libderkit(form, password, private_key_info);
                       }});
    }
    return all;
}

#endif
