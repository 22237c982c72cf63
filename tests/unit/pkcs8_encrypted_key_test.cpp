// EncryptedPrivateKeyInfo of the GOST profile.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "derkit/pkcs8_helper.h"
#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

struct encrypted_key_read_t {
    bool accepted;
    std::string salt;
    unsigned int iterations;
    std::string iv;
    std::string encrypted_data;
};

// Into an untouched record.
encrypted_key_read_t read_encrypted_key(std::string_view input) {
    const exact_bytes_t bytes(input);
    pkcs8_encrypted_pki_gost_t key;
    key.pbe.salt = key.pbe.iv = key.encrypted_data = untouched_view();
    key.pbe.iterations = UNTOUCHED_NUMBER;
    const bool accepted = asn_read_pkcs8_encrypted_pki_gost(bytes.data(), bytes.size(), key);
    for (const blob_t& view : {key.pbe.salt, key.pbe.iv, key.encrypted_data}) {
        EXPECT_TRUE(is_untouched_or_lies_in(view, bytes));
    }
    return {accepted, std::string(chars_of(key.pbe.salt)), key.pbe.iterations, std::string(chars_of(key.pbe.iv)),
            std::string(chars_of(key.encrypted_data))};
}

void expect_read(const encrypted_key_read_t& read) {
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ("salt", read.salt);
    EXPECT_EQ(2000U, read.iterations);
    EXPECT_EQ("iv", read.iv);
    EXPECT_EQ("data", read.encrypted_data);
}

std::string write_encrypted_key(std::string_view salt, unsigned int iterations, std::string_view iv,
                                std::string_view encrypted_data) {
    pkcs8_encrypted_pki_gost_t key;
    key.pbe.salt = view_of(salt);
    key.pbe.iterations = iterations;
    key.pbe.iv = view_of(iv);
    key.encrypted_data = view_of(encrypted_data);
    std::string out = "what was there before";
    asn_write_pkcs8_encrypted_pki_gost(key, out);
    return out;
}

// Salt of 32 bytes, 2000 iterations, IV of 8 bytes, 16 bytes of encrypted data: 129 bytes of content.
TEST(encrypted_key_writer, writes_the_algorithm_and_the_data) {
    const std::string expected =
        from_hex("30 81 81 30 6D 06 09 2A 86 48 86 F7 0D 01 05 0D 30 60 30 3F 06 09 2A 86 48 86 F7 0D 01 05 0C 30 32 "
                 "04 20") +
        counting_bytes(32, 0x81) +
        from_hex("02 02 07 D0 30 0A 06 06 2A 85 03 02 02 0A 05 00 30 1D 06 06 2A 85 03 02 02 15 30 13 04 08") +
        counting_bytes(8, 0xE1) + from_hex("06 07 2A 85 03 02 02 1F 01 04 10") + counting_bytes(16, 0x11);
    const std::string written =
        write_encrypted_key(counting_bytes(32, 0x81), 2000, counting_bytes(8, 0xE1), counting_bytes(16, 0x11));
    EXPECT_TRUE(same_bytes(expected, written));

    const encrypted_key_read_t read = read_encrypted_key(written);
    EXPECT_TRUE(read.accepted);
    EXPECT_TRUE(same_bytes(counting_bytes(32, 0x81), read.salt));
    EXPECT_EQ(2000U, read.iterations);
    EXPECT_TRUE(same_bytes(counting_bytes(8, 0xE1), read.iv));
    EXPECT_TRUE(same_bytes(counting_bytes(16, 0x11), read.encrypted_data));
}

TEST(encrypted_key_writer, takes_data_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 47, 48, 122, 123, 127, 128, 255, 256, 500, 65000}) {
        SCOPED_TRACE(size);
        const std::string data = counting_bytes(size, 1);
        EXPECT_TRUE(same_bytes(encode(encrypted_key(data)), write_encrypted_key("salt", 2000, "iv", data)));
    }
}

TEST(encrypted_key_writer, writes_empty_data_as_an_empty_octet_string) {
    const std::string written = write_encrypted_key("salt", 2000, "iv", "");
    EXPECT_TRUE(same_bytes(from_hex("04 00"), std::string_view(written).substr(written.size() - 2)));
    const encrypted_key_read_t read = read_encrypted_key(written);
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ("", read.encrypted_data);
}

TEST(encrypted_key_writer, leaves_the_output_alone_when_there_is_no_memory) {
    pkcs8_encrypted_pki_gost_t key;
    key.encrypted_data = view_of("data");
    key.encrypted_data.size = 0xFFFFFFFF;
    std::string out = "what was there before";
    EXPECT_THROW(asn_write_pkcs8_encrypted_pki_gost(key, out), std::bad_alloc);
    EXPECT_EQ("what was there before", out);
}

TEST(encrypted_key_reader, ignores_what_follows_in_every_sequence) {
    for (const char* const behind : {"05 00", "04 01 FF", "FF", "A0 7F"}) {
        SCOPED_TRACE(behind);
        expect_read(read_encrypted_key(encode(encrypted_key("data")) + from_hex(behind)));
        for_each_element(encrypted_key("data"), [&](der_t& whole, der_t& element) {
            if (element.tag == 0x30) {
                element.members.push_back(der_raw(behind));
                expect_read(read_encrypted_key(encode(whole)));
            }
        });
    }
}

TEST(encrypted_key_reader, needs_every_element) {
    for_each_element_left_out(encrypted_key("data"), [](const der_t& whole, const der_t&) {
        EXPECT_FALSE(read_encrypted_key(encode(whole)).accepted);
    });
}

TEST(encrypted_key_reader, tells_primitive_from_constructed) {
    for_each_element(encrypted_key("data"), [](der_t& whole, der_t& element) {
        const bool are_hmac_params = element.tag == 0x05; // those may be of any type
        element.tag ^= 0x20;
        EXPECT_EQ(are_hmac_params, read_encrypted_key(encode(whole)).accepted);
    });
}

TEST(encrypted_key_reader, refuses_lengths_that_lead_outside) {
    for_each_bad_length(encrypted_key("data"), [](const der_t& whole, const der_t&) {
        EXPECT_FALSE(read_encrypted_key(encode(whole)).accepted);
        EXPECT_FALSE(read_encrypted_key(encode(whole) + ROOM_BEHIND).accepted);
    });
}

TEST(encrypted_key_reader, accepts_lengths_of_more_octets_than_needed) {
    for_each_long_length(encrypted_key("data"),
                         [](const der_t& whole) { expect_read(read_encrypted_key(encode(whole))); });
}

TEST(encrypted_key_reader, refuses_every_prefix) {
    for_each_prefix(encode(encrypted_key("data")), [](const exact_bytes_t& prefix) {
        EXPECT_FALSE(read_encrypted_key(std::string_view(prefix.chars(), prefix.size())).accepted);
    });
}

TEST(encrypted_key_reader, gives_the_data_though_the_algorithm_is_refused) {
    const der_t iv_of_aes = der_octet_string(counting_bytes(16, 1));
    der_t aes = pbes2_t().whole();
    aes.members[1].members[1] = der_sequence({der_oid("2.16.840.1.101.3.4.1.42"), iv_of_aes});
    const der_t pbes1 = der_sequence(
        {der_oid("1.2.840.113549.1.5.3"), der_sequence({der_octet_string("saltsalt"), der_integer("07 D0")})});
    const der_t algorithms[] = {aes, pbes1, der_sequence({}), der_element(0x30, "garbage")};
    for (const der_t& algorithm : algorithms) {
        SCOPED_TRACE(to_hex(encode(algorithm)));
        const encrypted_key_read_t read =
            read_encrypted_key(encode(der_sequence({algorithm, der_octet_string("data")})));
        EXPECT_FALSE(read.accepted);
        EXPECT_EQ("data", read.encrypted_data);
    }
}

// The algorithm is taken apart last.
TEST(encrypted_key_reader, does_not_fill_the_parameters_when_there_is_no_data) {
    const der_t no_data[] = {der_raw(""),
                             der_null(),
                             der_element(0x24, encode(der_octet_string("data"))),
                             der_raw("04 80 04 01 FF 00 00"),
                             der_raw("24 80 04 01 FF 00 00"),
                             der_raw("04 05 FF")};
    for (const der_t& data : no_data) {
        SCOPED_TRACE(to_hex(encode(data)));
        const encrypted_key_read_t read = read_encrypted_key(encode(der_sequence({pbes2_t().whole(), data})));
        EXPECT_FALSE(read.accepted);
        EXPECT_EQ(UNTOUCHED_BYTES, read.encrypted_data);
        EXPECT_EQ(UNTOUCHED_BYTES, read.salt);
        EXPECT_EQ(UNTOUCHED_NUMBER, read.iterations);
        EXPECT_EQ(UNTOUCHED_BYTES, read.iv);
    }
}

TEST(encrypted_key_round_trip, gives_parameters_and_data_back) {
    for (const std::size_t size : sizes_t{0, 1, 16, 100, 128, 300, 30000}) {
        for (const unsigned int iterations : {1U, 2000U, 65535U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, " + std::to_string(iterations) + " iterations");
            const std::string salt = counting_bytes(size / 3, 1);
            const std::string iv = counting_bytes(size / 2, 2);
            const std::string data = counting_bytes(size, 3);
            const encrypted_key_read_t read = read_encrypted_key(write_encrypted_key(salt, iterations, iv, data));
            EXPECT_TRUE(read.accepted);
            EXPECT_TRUE(same_bytes(salt, read.salt));
            EXPECT_EQ(iterations, read.iterations);
            EXPECT_TRUE(same_bytes(iv, read.iv));
            EXPECT_TRUE(same_bytes(data, read.encrypted_data));
        }
    }
}

} // namespace
