// Writing a container: its bytes, what its cryptography is given, and what comes back when it is read.
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/recording_crypto.h"
#include "testing/views.h"

namespace {

std::string write(const pkcs12_easy_t& easy, recording_crypto_t& crypto) {
    std::string out = "what was there before";
    asn_write_pkcs12_easy(easy, &crypto, out);
    return out;
}

// What recording_crypto_t makes, as it is written.
der_t made_mac() {
    mac_data_t mac_data;
    mac_data.digest = der_octet_string(from_hex("D1 D2 D3 D4"));
    mac_data.salt = der_octet_string(from_hex("A1 A2"));
    mac_data.iterations = der_integer("07 D0");
    return mac_data.whole();
}

der_t chosen_pbe() {
    pbes2_t pbes2;
    pbes2.salt = der_octet_string(from_hex("51 52 53 54"));
    pbes2.iterations = der_integer("03 E8");
    pbes2.iv = der_octet_string(from_hex("E1 E2 E3 E4 E5 E6 E7 E8"));
    return pbes2.whole();
}

der_t encrypted_entry(der_members_t bags) {
    encrypted_data_t data;
    data.algorithm = chosen_pbe();
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(std::move(bags))));
    return data.entry();
}

std::string container_of(der_members_t entries, const der_t& mac_data = made_mac()) {
    pfx_t pfx(std::move(entries));
    pfx.mac_data = mac_data;
    return encode(pfx.whole());
}

// The bytes

TEST(container_writer, writes_an_empty_container) {
    recording_crypto_t crypto;
    EXPECT_TRUE(same_bytes(from_hex("30 34 02 01 03 "
                                    "30 11 06 09 2A 86 48 86 F7 0D 01 07 01 A0 04 04 02 30 00 "
                                    "30 1C 30 12 30 0A 06 06 2A 85 03 02 02 09 05 00 04 04 D1 D2 D3 D4 04 02 A1 A2 "
                                    "02 02 07 D0"),
                           write(pkcs12_easy_t(), crypto)));
    ASSERT_EQ("make_mac", crypto.operations());
    EXPECT_TRUE(same_bytes(from_hex("04 02 30 00"), crypto.calls.front().data));
}

TEST(container_writer, writes_plain_bags_into_a_data_entry) {
    pkcs12_easy_t easy;
    const std::string key = from_hex("05 00 05 00");
    easy.plain_bags = {bag_of(0, key)};
    recording_crypto_t crypto;
    EXPECT_TRUE(same_bytes(
        from_hex("30 5C 02 01 03 30 39 06 09 2A 86 48 86 F7 0D 01 07 01 A0 2C 04 2A 30 28 "
                 "30 26 06 09 2A 86 48 86 F7 0D 01 07 01 A0 19 04 17 30 15 "
                 "30 13 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 04 05 00 05 00 "
                 "30 1C 30 12 30 0A 06 06 2A 85 03 02 02 09 05 00 04 04 D1 D2 D3 D4 04 02 A1 A2 02 02 07 D0"),
        write(easy, crypto)));
    EXPECT_EQ("make_mac", crypto.operations());
}

TEST(container_writer, writes_encrypted_bags_into_an_encrypted_entry) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, "")};
    recording_crypto_t crypto;
    const std::string plaintext = from_hex("04 13 30 11 30 0F 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00");
    const std::string expected =
        from_hex("30 81 C4 02 01 03 30 81 A0 06 09 2A 86 48 86 F7 0D 01 07 01 A0 81 92 04 81 8F 30 81 8C "
                 "30 81 89 06 09 2A 86 48 86 F7 0D 01 07 06 A0 7C 30 7A 02 01 00 30 75 "
                 "06 09 2A 86 48 86 F7 0D 01 07 01 "
                 "30 51 06 09 2A 86 48 86 F7 0D 01 05 0D 30 44 30 23 06 09 2A 86 48 86 F7 0D 01 05 0C 30 16 "
                 "04 04 51 52 53 54 02 02 03 E8 30 0A 06 06 2A 85 03 02 02 0A 05 00 "
                 "30 1D 06 06 2A 85 03 02 02 15 30 13 04 08 E1 E2 E3 E4 E5 E6 E7 E8 06 07 2A 85 03 02 02 1F 01 "
                 "80 15") +
        toy_cipher(plaintext) +
        from_hex("30 1C 30 12 30 0A 06 06 2A 85 03 02 02 09 05 00 04 04 D1 D2 D3 D4 04 02 A1 A2 02 02 07 D0");
    EXPECT_TRUE(same_bytes(expected, write(easy, crypto)));
}

TEST(container_writer, writes_plain_bags_before_encrypted_ones) {
    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(1, "c", "n", "i"), bag_of(0, "k")};
    easy.encrypted_bags = {bag_of(0, "l"), bag_of(1, "d", "m")};
    recording_crypto_t crypto;
    EXPECT_TRUE(same_bytes(
        container_of({data_entry({cert_bag("c", der_set({friendly_name("n"), local_key_id("i")})), key_bag("k")}),
                      encrypted_entry({key_bag("l"), cert_bag("d", der_set({friendly_name("m")}))})}),
        write(easy, crypto)));
    EXPECT_EQ("encrypt make_mac", crypto.operations());
}

TEST(container_writer, takes_bags_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 50, 60, 100, 110, 120, 128, 200, 256, 1000, 30000}) {
        SCOPED_TRACE(size);
        const std::string value = counting_bytes(size, 1);
        pkcs12_easy_t easy;
        easy.plain_bags = {bag_of(1, value)};
        easy.encrypted_bags = {bag_of(0, value)};
        recording_crypto_t crypto;
        EXPECT_TRUE(same_bytes(container_of({data_entry({cert_bag(value)}), encrypted_entry({key_bag(value)})}),
                               write(easy, crypto)));
    }
}

// Its own plaintexts are written only as far as bags view them.
TEST(container_writer, does_not_write_the_kept_plaintexts) {
    pkcs12_easy_t easy;
    easy.decrypted_buffers = {"plaintext"};
    recording_crypto_t crypto;
    EXPECT_TRUE(same_bytes(container_of({}), write(easy, crypto)));
}

// The MAC

TEST(container_writer, has_the_mac_made_over_the_whole_octet_string) {
    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(1, "c")};
    easy.encrypted_bags = {bag_of(0, "k")};
    recording_crypto_t crypto;
    write(easy, crypto);
    ASSERT_EQ("encrypt make_mac", crypto.operations());
    const der_t content = pfx_t({data_entry({cert_bag("c")}), encrypted_entry({key_bag("k")})}).content;
    EXPECT_TRUE(same_bytes(encode(content), crypto.calls.back().data));
}

pkcs12_mac_t stored_mac() {
    pkcs12_mac_t mac;
    mac.digest_alg = view_of("ignored");
    mac.digest = view_of("stored digest");
    mac.salt = view_of("stored salt");
    mac.iterations = 3;
    return mac;
}

TEST(container_writer, has_the_mac_made_in_a_fresh_record) {
    pkcs12_easy_t easy;
    easy.mac = stored_mac();
    recording_crypto_t crypto;
    EXPECT_TRUE(same_bytes(container_of({}), write(easy, crypto)));
    EXPECT_TRUE(crypto.calls.front().is_fresh);
}

// recording_crypto_t fills the fresh record even when it refuses; nothing of that is written.
TEST(container_writer, writes_the_stored_mac_when_none_is_made) {
    pkcs12_easy_t easy;
    easy.mac = stored_mac();
    recording_crypto_t crypto;
    crypto.make_mac_answer = answer_t::NO;
    mac_data_t expected;
    expected.digest = der_octet_string("stored digest");
    expected.salt = der_octet_string("stored salt");
    expected.iterations = der_integer("03");
    EXPECT_TRUE(same_bytes(container_of({}, expected.whole()), write(easy, crypto)));
}

TEST(container_writer, writes_an_empty_mac_when_none_is_made_and_none_is_stored) {
    recording_crypto_t crypto;
    crypto.make_mac_answer = answer_t::NO;
    mac_data_t expected;
    expected.digest = der_octet_string("");
    expected.salt = der_octet_string("");
    expected.iterations = der_integer("00");
    EXPECT_TRUE(same_bytes(container_of({}, expected.whole()), write(pkcs12_easy_t(), crypto)));
}

// Encryption

TEST(container_writer, has_the_plaintext_encrypted_under_fresh_parameters) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, "k"), bag_of(1, "c")};
    recording_crypto_t crypto;
    write(easy, crypto);
    const crypto_call_t& call = crypto.calls.front();
    ASSERT_EQ("encrypt", call.operation);
    EXPECT_TRUE(same_bytes(entry_plaintext({key_bag("k"), cert_bag("c")}), call.data));
    EXPECT_TRUE(call.is_fresh);
    EXPECT_EQ("", call.out);
}

TEST(container_writer, does_not_look_at_what_encrypt_answers) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, "k")};
    recording_crypto_t yes;
    recording_crypto_t no;
    no.encrypt_answer = answer_t::NO;
    EXPECT_TRUE(same_bytes(write(easy, yes), write(easy, no)));
    EXPECT_EQ("encrypt make_mac", no.operations());
}

// Every zero octet of a count is left out.
TEST(container_writer, writes_counts_of_256_and_2048_without_their_zero_octets) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, "k")};
    recording_crypto_t crypto;
    crypto.pbe_iterations = 256;
    crypto.mac_iterations = 2048;
    const std::string written = write(easy, crypto);
    const exact_bytes_t input(written);
    pkcs12_easy_t read;
    recording_crypto_t reader;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &reader, read));
    ASSERT_EQ("verify_mac decrypt", reader.operations());
    EXPECT_EQ(8U, reader.calls.front().iterations);
    EXPECT_EQ(1U, reader.calls.back().iterations);
    EXPECT_TRUE(same_bytes(from_hex("02 01 08"), std::string_view(written).substr(written.size() - 3)));
    EXPECT_NE(std::string::npos, written.find(crypto.pbe_salt + from_hex("02 01 01 30 0A")));
}

// What goes wrong

TEST(container_writer, leaves_the_output_alone_when_encrypt_throws) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, "k")};
    recording_crypto_t crypto;
    crypto.encrypt_answer = answer_t::THROW;
    std::string out = "what was there before";
    EXPECT_THROW(asn_write_pkcs12_easy(easy, &crypto, out), crypto_failure_t);
    EXPECT_EQ("encrypt", crypto.operations());
    EXPECT_EQ("what was there before", out);
}

TEST(container_writer, leaves_the_output_alone_when_make_mac_throws) {
    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(0, "k")};
    recording_crypto_t crypto;
    crypto.make_mac_answer = answer_t::THROW;
    std::string out = "what was there before";
    EXPECT_THROW(asn_write_pkcs12_easy(easy, &crypto, out), crypto_failure_t);
    EXPECT_EQ("what was there before", out);
}

TEST(container_writer, leaves_the_output_alone_when_there_is_no_memory) {
    pkcs12_bag_t too_large = bag_of(0, "k");
    too_large.value.size = 0xFFFFFFFF;
    pkcs12_easy_t plain;
    plain.plain_bags = {too_large};
    pkcs12_easy_t encrypted;
    encrypted.plain_bags = {bag_of(0, "k")};
    encrypted.encrypted_bags = {too_large};
    for (const pkcs12_easy_t* const easy : {&plain, &encrypted}) {
        recording_crypto_t crypto;
        std::string out = "what was there before";
        EXPECT_THROW(asn_write_pkcs12_easy(*easy, &crypto, out), std::bad_alloc);
        EXPECT_EQ("", crypto.operations());
        EXPECT_EQ("what was there before", out);
    }
}

// There and back

std::vector<std::string> many_values() {
    std::vector<std::string> values;
    for (unsigned int i = 0; i < 10000; ++i) {
        values.push_back("value " + std::to_string(10000 + i));
    }
    return values;
}

TEST(container_writer, writes_ten_thousand_bags_of_each_kind) {
    const std::vector<std::string> values = many_values();
    pkcs12_easy_t easy;
    for (const std::string& value : values) {
        easy.plain_bags.push_back(bag_of(1, value, "name"));
        easy.encrypted_bags.push_back(bag_of(0, value));
    }
    recording_crypto_t crypto;
    const exact_bytes_t written(write(easy, crypto));
    pkcs12_easy_t read;
    EXPECT_TRUE(asn_read_pkcs12_easy(written.data(), written.size(), &crypto, read));
    EXPECT_TRUE(bags_text(easy.plain_bags) == bags_text(read.plain_bags));
    EXPECT_TRUE(bags_text(easy.encrypted_bags) == bags_text(read.encrypted_bags));
}

TEST(container_round_trip, gives_bags_and_mac_back) {
    const std::string long_value = counting_bytes(20000, 1);
    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(1, "c", "name", "id"), bag_of(0, ""), bag_of(1, long_value)};
    easy.encrypted_bags = {bag_of(0, long_value, "name"), bag_of(1, "", "", "id")};
    recording_crypto_t crypto;
    const exact_bytes_t written(write(easy, crypto));
    pkcs12_easy_t read;
    EXPECT_TRUE(asn_read_pkcs12_easy(written.data(), written.size(), &crypto, read));
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(read.plain_bags));
    EXPECT_EQ(bags_text(easy.encrypted_bags), bags_text(read.encrypted_bags));
    EXPECT_EQ(crypto.digest, chars_of(read.mac.digest));
    EXPECT_EQ(crypto.mac_salt, chars_of(read.mac.salt));
    EXPECT_EQ(crypto.mac_iterations, read.mac.iterations);
}

TEST(container_round_trip, hands_back_to_the_cryptography_what_it_gave) {
    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(1, "c")};
    easy.encrypted_bags = {bag_of(0, "k")};
    recording_crypto_t crypto;
    const exact_bytes_t written(write(easy, crypto));
    pkcs12_easy_t read;
    EXPECT_TRUE(asn_read_pkcs12_easy(written.data(), written.size(), &crypto, read));
    ASSERT_EQ("encrypt make_mac verify_mac decrypt", crypto.operations());
    const crypto_call_t& made = crypto.calls[1];
    const crypto_call_t& verified = crypto.calls[2];
    EXPECT_TRUE(same_bytes(made.data, verified.data));
    EXPECT_EQ(crypto.digest, verified.digest);
    EXPECT_EQ(crypto.mac_salt, verified.salt);
    EXPECT_EQ(crypto.mac_iterations, verified.iterations);
    const crypto_call_t& encrypted = crypto.calls[0];
    const crypto_call_t& decrypted = crypto.calls[3];
    EXPECT_TRUE(same_bytes(toy_cipher(encrypted.data), decrypted.data));
    EXPECT_EQ(crypto.pbe_salt, decrypted.salt);
    EXPECT_EQ(crypto.pbe_iterations, decrypted.iterations);
    EXPECT_EQ(crypto.iv, decrypted.iv);
    EXPECT_TRUE(same_bytes(encrypted.data, read.decrypted_buffers.front()));
}

// A container that was read is written from its views: into the input and into its own plaintexts.
TEST(container_round_trip, writes_what_was_read_byte_for_byte) {
    const exact_bytes_t input(container_of({data_entry({cert_bag("c", der_set({local_key_id("i")}))}),
                                            encrypted_entry({key_bag("k", der_set({friendly_name("n")}))})}));
    recording_crypto_t crypto;
    pkcs12_easy_t easy;
    ASSERT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    const std::string before = bags_text(easy.plain_bags) + bags_text(easy.encrypted_bags);
    EXPECT_TRUE(same_bytes(std::string_view(input.chars(), input.size()), write(easy, crypto)));
    crypto.make_mac_answer = answer_t::NO;
    EXPECT_TRUE(same_bytes(std::string_view(input.chars(), input.size()), write(easy, crypto)));
    EXPECT_EQ(before, bags_text(easy.plain_bags) + bags_text(easy.encrypted_bags));
    EXPECT_EQ(1U, easy.decrypted_buffers.size());
}

TEST(container_round_trip, turns_a_shrouded_key_into_a_key_of_the_encrypted_entry) {
    const exact_bytes_t input(
        container_of({data_entry({shrouded_key_bag(toy_cipher("k"), der_set({local_key_id("i")}))})}));
    recording_crypto_t crypto;
    pkcs12_easy_t easy;
    ASSERT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    EXPECT_TRUE(
        same_bytes(container_of({encrypted_entry({key_bag("k", der_set({local_key_id("i")}))})}), write(easy, crypto)));
}

} // namespace
