// One reading of a container or of its bags, with its outcome as a line of text.
#ifndef DERKIT_TESTS_CONTAINER_READING_H
#define DERKIT_TESTS_CONTAINER_READING_H

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <string_view>
#include <utility>

#include "derkit/pkcs12_helper.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"

// One reading into a container of its own. The input lives as long as this.
struct container_reading_t {
    exact_bytes_t input;
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    bool accepted = false;

    explicit container_reading_t(std::string_view bytes) : input(bytes) {}

    // "yes cert[63] key[6B] / key[6C] (decrypt)": accepted; plain bags; encrypted bags; what was asked of the
    // cryptography. Whatever happened, every view must show the input or a kept plaintext.
    std::string text() const {
        EXPECT_TRUE(all_kept(input, easy));
        const std::string operations = crypto.operations();
        return (accepted ? "yes" : "no") + bags(easy.plain_bags) +
               (easy.encrypted_bags.empty() ? "" : " /" + bags(easy.encrypted_bags)) +
               (operations.empty() ? "" : " (" + operations + ")");
    }

  private:
    static std::string bags(const std::list<pkcs12_bag_t>& list) {
        std::string line;
        for (const pkcs12_bag_t& bag : list) {
            line += " " + bag_text(bag);
        }
        return line;
    }
};

using buffers_t = std::list<std::string>;

// A key that scripted_crypto_t decrypts to this.
inline der_t shrouded(std::string_view key, const der_t& attributes = der_raw("")) {
    return shrouded_key_bag(toy_cipher(key), attributes);
}

// An encrypted entry that scripted_crypto_t decrypts to this, and one with these bags.
inline der_t encrypted_entry_of(std::string_view plaintext) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(plaintext));
    return data.entry();
}
inline der_t encrypted_entry(der_members_t bags) {
    return encrypted_entry_of(entry_plaintext(std::move(bags)));
}

inline std::string pfx_of(der_members_t entries) {
    return encode(pfx_t(std::move(entries)).whole());
}

#endif
