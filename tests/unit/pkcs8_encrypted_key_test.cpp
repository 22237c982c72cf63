// EncryptedPrivateKeyInfo of the GOST profile.
#include <gtest/gtest.h>

#include <string>

#include "derkit/pkcs8_helper.h"
#include "support/der_reader.h"
#include "testing/pkcs_der.h"

namespace {

// "yes salt, iterations, iv, encrypted data"
std::string read_encrypted_key(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    pkcs8_encrypted_pki_gost_t key;
    key.pbe.salt = key.pbe.iv = key.encrypted_data = untouched_view();
    key.pbe.iterations = UNTOUCHED_NUMBER;
    const bool accepted = asn_read_pkcs8_encrypted_pki_gost(input.data(), input.size(), key);
    return read_text(accepted, {field_text(key.pbe.salt, input), field_text(key.pbe.iterations),
                                field_text(key.pbe.iv, input), field_text(key.encrypted_data, input)});
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
TEST(encrypted_key, is_written_and_read_back) {
    const std::string salt = counting_bytes(32, 0x81);
    const std::string iv = counting_bytes(8, 0xE1);
    const std::string data = counting_bytes(16, 0x11);
    pbes2_t pbes2;
    pbes2.salt = der_octet_string(salt);
    pbes2.iv = der_octet_string(iv);
    const std::string expected = from_hex("30 81 81") + encode(pbes2.whole()) + from_hex("04 10") + data;
    EXPECT_TRUE(same_bytes(expected, write_encrypted_key(salt, 2000, iv, data)));
    EXPECT_EQ("yes " + to_hex(salt) + ", 2000, " + to_hex(iv) + ", " + to_hex(data), read_encrypted_key(expected));
}

TEST(encrypted_key, has_data_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 47, 48, 122, 123, 127, 128, 255, 256, 500, 65000}) {
        SCOPED_TRACE(size);
        const std::string data = counting_bytes(size, 1);
        const std::string expected = encode(encrypted_key(data));
        EXPECT_TRUE(same_bytes(expected, write_encrypted_key("salt", 2000, "iv", data)));
        EXPECT_EQ("yes 73 61 6C 74, 2000, 69 76, " + (size == 0 ? "empty" : to_hex(data)),
                  read_encrypted_key(expected));
    }
    const std::string without_data = write_encrypted_key("salt", 2000, "iv", "");
    EXPECT_TRUE(without_data.ends_with(from_hex("04 00"))) << to_hex(without_data);
}

TEST(encrypted_key, follows_the_rules_of_readers) {
    expect_rules_of_readers(read_encrypted_key, encrypted_key("data"), {.any_type = {der_null()}});
}

TEST(encrypted_key, keeps_its_data_when_the_algorithm_is_refused) {
    der_t aes = pbes2_t().whole();
    aes.members[1].members[1] =
        der_sequence({der_oid("2.16.840.1.101.3.4.1.42"), der_octet_string(counting_bytes(16, 1))});
    const der_t pbes1 = der_sequence(
        {der_oid("1.2.840.113549.1.5.3"), der_sequence({der_octet_string("saltsalt"), der_integer("07 D0")})});
    for (const der_t& algorithm : {aes, pbes1, der_sequence({}), der_element(0x30, "garbage")}) {
        EXPECT_EQ("no -, -, -, 64 61 74 61",
                  read_encrypted_key(encode(der_sequence({algorithm, der_octet_string("data")}))))
            << to_hex(encode(algorithm));
    }
}

// The algorithm is parsed last.
TEST(encrypted_key, has_no_parameters_when_there_is_no_data) {
    for (const char* const data :
         {"", "05 00", "24 06 04 04 64 61 74 61", "04 80 04 01 FF 00 00", "24 80 04 01 FF 00 00", "04 05 FF"}) {
        EXPECT_EQ("no -, -, -, -", read_encrypted_key(encode(der_sequence({pbes2_t().whole(), der_raw(data)}))))
            << data;
    }
}

} // namespace
