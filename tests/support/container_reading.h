// Readings of containers and of their bags, and what they came to, as a line of text.
#ifndef DERKIT_TESTS_CONTAINER_READING_H
#define DERKIT_TESTS_CONTAINER_READING_H

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <string_view>

#include "derkit/pkcs12_helper.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/recording_crypto.h"

// One reading into a container of its own. The input lives as long as this.
struct container_reading_t {
    exact_bytes_t input;
    recording_crypto_t crypto;
    pkcs12_easy_t easy;
    bool accepted = false;

    explicit container_reading_t(std::string_view bytes) : input(bytes) {}

    // "yes cert[63] key[6B] / key[6C] (decrypt)": accepted; plain bags; encrypted bags; what was asked of the
    // cryptography. Whatever happened, every view must show the input or a kept plaintext.
    std::string text() const {
        EXPECT_TRUE(all_kept(input, easy));
        const std::string operations = crypto.operations();
        std::string text = accepted ? "yes" : "no";
        text += bags(" ", easy.plain_bags) + (easy.encrypted_bags.empty() ? "" : " /" + bags(" ", easy.encrypted_bags));
        return operations.empty() ? text : text + " (" + operations + ")";
    }

  private:
    static std::string bags(const char* separator, const std::list<pkcs12_bag_t>& list) {
        std::string text;
        for (const pkcs12_bag_t& bag : list) {
            text += separator + bag_text(bag);
        }
        return text;
    }
};

using buffers_t = std::list<std::string>;

#endif
