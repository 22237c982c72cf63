// Everything that the schemes do with a password, as cases for tests that let something fail.
#ifndef DERKIT_TESTS_GOST_WORK_WITH_SECRETS_H
#define DERKIT_TESTS_GOST_WORK_WITH_SECRETS_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "derkit/gost/container.h"
#include "derkit/gost/pbe_crypto.h"
#include "derkit/gost/private_key.h"
#include "derkit/pkcs12_helper.h"
#include "gost/der.h"
#include "gost/schemes.h"
#include "gost/work_with_containers.h"

struct work_t {
    std::string name;
    // A PrivateKeyInfo that ends with a number of 32 octets.
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

// Writes a container of one key, lists it, opens it and encodes the key.
inline derkit::gost::cause write_and_open_container(const derkit::gost::write_options& options,
                                                    std::string_view password, std::string_view private_key_info) {
    using namespace derkit::gost;
    bag key;
    key.type = bag_type::private_key;
    key.value = secret(private_key_info);
    key.friendly_name = "Ключ";
    container made;
    made.add(std::move(key));
    const result<std::string> file = made.write(password, options);
    if (!file) {
        return file.why();
    }
    const result<container> listed = container::inspect(*file);
    const result<container> opened = container::open(*file, password);
    if (!listed || !opened) {
        return listed ? opened.why() : listed.why();
    }
    const bag& back = *opened->bags().at(0);
    if (back.refusal.has_value()) {
        return back.refusal->why;
    }
    return back.value.view() == private_key_info && !to_pem(back).empty() ? cause::none : cause::malformed;
}

// Makes a key of the number, encrypts it, reads it back and computes its public key.
inline derkit::gost::cause work_with_key(const derkit::gost::write_options& options, std::string_view password,
                                         std::string_view private_key_info) {
    using namespace derkit::gost;
    constexpr std::size_t SIZE = 32;
    const std::string_view number = private_key_info.substr(private_key_info.size() - SIZE);
    const result<private_key> key = private_key::from_number(key_family::gost2012_256, "1.2.643.7.1.2.1.1.2", number);
    if (!key) {
        return key.why();
    }
    const result<secret> plain = key->write(key_shape::integer);
    if (!plain) {
        return plain.why();
    }
    const result<std::string> encrypted = key->write_encrypted(password, options);
    if (!encrypted) {
        return encrypted.why();
    }
    const result<private_key> back = private_key::read(*encrypted, password);
    if (!back) {
        return back.why();
    }
    const result<std::string> point = back->public_key();
    return point && back->number().view() != number ? cause::malformed : point.why();
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
    write_options sealed;
    sealed.to = format::rfc9548_omac;
    sealed.iterations = 3;
    all.push_back({"container", [sealed](std::string_view password, std::string_view private_key_info) {
                       return write_and_open_container(sealed, password, private_key_info);
                   }});
    all.push_back({"key", [sealed](std::string_view password, std::string_view private_key_info) {
                       return work_with_key(sealed, password, private_key_info);
                   }});
    for (const container_form form : {container_form::standard, container_form::native}) {
        all.push_back({form == container_form::native ? "native form" : "standard form",
                       [form](std::string_view password, std::string_view private_key_info) {
                           return write_and_read_with_libderkit(form, password, private_key_info);
                       }});
    }
    return all;
}

#endif
