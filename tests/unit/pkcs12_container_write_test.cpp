// Writing a container: its bytes, what its cryptography is given, and what comes back when it is read.
#include <gtest/gtest.h>

#include <list>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "support/container_reading.h"
#include "support/expect.h"
#include "testing/pkcs_der.h"

namespace {

std::string write(const pkcs12_easy_t& easy, scripted_crypto_t& crypto) {
    std::string out = "what was there before";
    asn_write_pkcs12_easy(easy, &crypto, out);
    return out;
}

pkcs12_easy_t easy_of(std::list<pkcs12_bag_t> plain_bags, std::list<pkcs12_bag_t> encrypted_bags = {}) {
    pkcs12_easy_t easy;
    easy.plain_bags = std::move(plain_bags);
    easy.encrypted_bags = std::move(encrypted_bags);
    return easy;
}

der_t mac_data_of(std::string_view digest, std::string_view salt, std::string_view iterations) {
    mac_data_t mac_data;
    mac_data.digest = der_octet_string(digest);
    mac_data.salt = der_octet_string(salt);
    mac_data.iterations = der_integer(iterations);
    return mac_data.whole();
}

// What scripted_crypto_t makes, as it is written.
const char* const MADE_MAC =
    "30 1C 30 12 30 0A 06 06 2A 85 03 02 02 09 05 00 04 04 D1 D2 D3 D4 04 02 A1 A2 02 02 07 D0";
const char* const CHOSEN_PBE =
    "30 51 06 09 2A 86 48 86 F7 0D 01 05 0D 30 44 30 23 06 09 2A 86 48 86 F7 0D 01 05 0C 30 16 "
    "04 04 51 52 53 54 02 02 03 E8 30 0A 06 06 2A 85 03 02 02 0A 05 00 "
    "30 1D 06 06 2A 85 03 02 02 15 30 13 04 08 E1 E2 E3 E4 E5 E6 E7 E8 "
    "06 07 2A 85 03 02 02 1F 01";

der_t written_entry(der_members_t bags) {
    encrypted_data_t data;
    data.algorithm = der_raw(CHOSEN_PBE);
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(std::move(bags))));
    return data.entry();
}

std::string container_of(der_members_t entries, const der_t& mac_data = der_raw(MADE_MAC)) {
    pfx_t pfx(std::move(entries));
    pfx.mac_data = mac_data;
    return encode(pfx.whole());
}

// The bytes

TEST(pkcs12_container_writer, writes_byte_for_byte) {
    scripted_crypto_t crypto;
    EXPECT_TRUE(same_bytes(from_hex("30 34 02 01 03 30 11 06 09 2A 86 48 86 F7 0D 01 07 01 A0 04 04 02 30 00") +
                               from_hex(MADE_MAC),
                           write(pkcs12_easy_t(), crypto)));
    EXPECT_EQ("make_mac", crypto.operations());
    EXPECT_TRUE(same_bytes(from_hex("04 02 30 00"), crypto.calls.at(0).data));

    const std::string key = from_hex("05 00 05 00");
    EXPECT_TRUE(same_bytes(from_hex("30 5C 02 01 03 30 39 06 09 2A 86 48 86 F7 0D 01 07 01 A0 2C 04 2A 30 28 "
                                    "30 26 06 09 2A 86 48 86 F7 0D 01 07 01 A0 19 04 17 30 15 "
                                    "30 13 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 04 05 00 05 00") +
                               from_hex(MADE_MAC),
                           write(easy_of({bag_of(0, key)}), crypto)));

    const std::string plaintext = from_hex("04 13 30 11 30 0F 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00");
    EXPECT_TRUE(
        same_bytes(from_hex("30 81 C4 02 01 03 30 81 A0 06 09 2A 86 48 86 F7 0D 01 07 01 A0 81 92 04 81 8F 30 81 8C "
                            "30 81 89 06 09 2A 86 48 86 F7 0D 01 07 06 A0 7C 30 7A 02 01 00 30 75 "
                            "06 09 2A 86 48 86 F7 0D 01 07 01") +
                       from_hex(CHOSEN_PBE) + from_hex("80 15") + toy_cipher(plaintext) + from_hex(MADE_MAC),
                   write(easy_of({}, {bag_of(0, "")}), crypto)));
}

TEST(pkcs12_container_writer, writes_plain_bags_before_encrypted_ones) {
    scripted_crypto_t crypto;
    EXPECT_TRUE(same_bytes(
        container_of({data_entry({cert_bag("c", der_set({friendly_name("n"), local_key_id("i")})), key_bag("k")}),
                      written_entry({key_bag("l"), cert_bag("d", der_set({friendly_name("m")}))})}),
        write(easy_of({bag_of(1, "c", "n", "i"), bag_of(0, "k")}, {bag_of(0, "l"), bag_of(1, "d", "m")}), crypto)));
    EXPECT_EQ("encrypt make_mac", crypto.operations());
}

TEST(pkcs12_container_writer, takes_bags_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 50, 60, 100, 110, 120, 128, 200, 256, 1000, 30000}) {
        const std::string value = counting_bytes(size, 1);
        scripted_crypto_t crypto;
        EXPECT_TRUE(same_bytes(container_of({data_entry({cert_bag(value)}), written_entry({key_bag(value)})}),
                               write(easy_of({bag_of(1, value)}, {bag_of(0, value)}), crypto)))
            << size;
    }
}

// The kept plaintexts are written only as far as bags view them.
TEST(pkcs12_container_writer, does_not_write_the_kept_plaintexts) {
    pkcs12_easy_t easy;
    easy.decrypted_buffers = {"plaintext"};
    scripted_crypto_t crypto;
    EXPECT_TRUE(same_bytes(container_of({}), write(easy, crypto)));
}

// The cryptography

TEST(pkcs12_container_writer, has_the_mac_made_over_the_whole_octet_string_after_encryption) {
    scripted_crypto_t crypto;
    write(easy_of({bag_of(1, "c")}, {bag_of(0, "k"), bag_of(1, "d")}), crypto);
    ASSERT_EQ("encrypt make_mac", crypto.operations());
    const crypto_call_t& encrypted = crypto.calls.front();
    EXPECT_TRUE(same_bytes(entry_plaintext({key_bag("k"), cert_bag("d")}), encrypted.data));
    EXPECT_TRUE(encrypted.is_fresh);
    EXPECT_EQ("", encrypted.out);
    const pfx_t expected({data_entry({cert_bag("c")}), written_entry({key_bag("k"), cert_bag("d")})});
    EXPECT_TRUE(same_bytes(encode(expected.content), crypto.calls.back().data));
}

// scripted_crypto_t fills the fresh record even when it refuses; none of that is written.
TEST(pkcs12_container_writer, writes_the_stored_mac_only_when_none_is_made) {
    pkcs12_easy_t easy;
    easy.mac.digest_alg = view_of("ignored");
    easy.mac.digest = view_of("stored digest");
    easy.mac.salt = view_of("stored salt");
    easy.mac.iterations = 3;
    scripted_crypto_t crypto;
    EXPECT_TRUE(same_bytes(container_of({}), write(easy, crypto)));
    EXPECT_TRUE(crypto.calls.front().is_fresh);
    crypto.make_mac_answer = answer_t::NO;
    EXPECT_TRUE(same_bytes(container_of({}, mac_data_of("stored digest", "stored salt", "03")), write(easy, crypto)));
    EXPECT_TRUE(same_bytes(container_of({}, mac_data_of("", "", "00")), write(pkcs12_easy_t(), crypto)));
}

TEST(pkcs12_container_writer, does_not_look_at_what_encrypt_answers) {
    scripted_crypto_t yes;
    scripted_crypto_t no;
    no.encrypt_answer = answer_t::NO;
    EXPECT_TRUE(same_bytes(write(easy_of({}, {bag_of(0, "k")}), yes), write(easy_of({}, {bag_of(0, "k")}), no)));
    EXPECT_EQ("encrypt make_mac", no.operations());
}

// Every zero octet of a count is left out.
TEST(pkcs12_container_writer, writes_counts_of_256_and_2048_without_their_zero_octets) {
    scripted_crypto_t crypto;
    crypto.pbe_iterations = 256;
    crypto.mac_iterations = 2048;
    const std::string written = write(easy_of({}, {bag_of(0, "k")}), crypto);
    EXPECT_TRUE(written.ends_with(from_hex("02 01 08"))) << to_hex(written);
    EXPECT_NE(std::string::npos, written.find(crypto.pbe_salt + from_hex("02 01 01 30 0A"))) << to_hex(written);
}

TEST(pkcs12_container_writer, leaves_the_output_alone_when_the_cryptography_throws) {
    for (answer_t scripted_crypto_t::*const operation :
         {&scripted_crypto_t::encrypt_answer, &scripted_crypto_t::make_mac_answer}) {
        scripted_crypto_t crypto;
        crypto.*operation = answer_t::THROW;
        std::string out = "what was there before";
        EXPECT_THROW(asn_write_pkcs12_easy(easy_of({}, {bag_of(0, "k")}), &crypto, out), crypto_failure_t);
        EXPECT_EQ(crypto.encrypt_answer == answer_t::THROW ? "encrypt" : "encrypt make_mac", crypto.operations());
        EXPECT_EQ("what was there before", out);
    }
}

TEST(pkcs12_container_writer, leaves_the_output_alone_when_there_is_no_memory) {
    pkcs12_bag_t too_large = bag_of(0, "k");
    too_large.value.size = 0xFFFFFFFF;
    const pkcs12_easy_t containers[] = {easy_of({too_large}), easy_of({bag_of(0, "k")}, {too_large})};
    for (const pkcs12_easy_t& easy : containers) {
        scripted_crypto_t crypto;
        std::string out = "what was there before";
        EXPECT_THROW(asn_write_pkcs12_easy(easy, &crypto, out), std::bad_alloc);
        EXPECT_EQ("", crypto.operations());
        EXPECT_EQ("what was there before", out);
    }
}

// There and back

// What was written, read with the same cryptography.
struct written_t {
    container_reading_t reading;
    written_t(const pkcs12_easy_t& easy, scripted_crypto_t crypto = {}) : reading(write(easy, crypto)) {
        reading.crypto = std::move(crypto);
        reading.accepted =
            asn_read_pkcs12_easy(reading.input.data(), reading.input.size(), &reading.crypto, reading.easy);
    }
};

TEST(container_round_trip, keeps_ten_thousand_bags_of_each_kind) {
    std::vector<std::string> values;
    for (unsigned int i = 0; i < 10000; ++i) {
        values.push_back("value " + std::to_string(10000 + i));
    }
    pkcs12_easy_t easy;
    for (const std::string& value : values) {
        easy.plain_bags.push_back(bag_of(1, value, "name"));
        easy.encrypted_bags.push_back(bag_of(0, value));
    }
    const written_t written(easy);
    EXPECT_TRUE(written.reading.accepted);
    EXPECT_TRUE(bags_text(easy.plain_bags) == bags_text(written.reading.easy.plain_bags));
    EXPECT_TRUE(bags_text(easy.encrypted_bags) == bags_text(written.reading.easy.encrypted_bags));
}

TEST(container_round_trip, keeps_bags_and_what_the_cryptography_made) {
    const std::string long_value = counting_bytes(20000, 1);
    const pkcs12_easy_t easy = easy_of({bag_of(1, "c", "name", "id"), bag_of(0, ""), bag_of(1, long_value)},
                                       {bag_of(0, long_value, "name"), bag_of(1, "", "", "id")});
    const written_t written(easy);
    const pkcs12_easy_t& read = written.reading.easy;
    EXPECT_TRUE(written.reading.accepted);
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(read.plain_bags));
    EXPECT_EQ(bags_text(easy.encrypted_bags), bags_text(read.encrypted_bags));
    const scripted_crypto_t& crypto = written.reading.crypto;
    EXPECT_EQ(crypto.digest, chars_of(read.mac.digest));
    EXPECT_EQ(crypto.mac_salt, chars_of(read.mac.salt));
    EXPECT_EQ(crypto.mac_iterations, read.mac.iterations);
    ASSERT_EQ("encrypt make_mac verify_mac decrypt", crypto.operations());
    EXPECT_TRUE(same_bytes(crypto.calls[1].data, crypto.calls[2].data));
    const crypto_call_t& decrypted = crypto.calls[3];
    EXPECT_TRUE(same_bytes(toy_cipher(crypto.calls[0].data), decrypted.data));
    EXPECT_EQ(crypto.pbe_salt, decrypted.salt);
    EXPECT_EQ(crypto.pbe_iterations, decrypted.iterations);
    EXPECT_EQ(crypto.iv, decrypted.iv);
    EXPECT_TRUE(same_bytes(crypto.calls[0].data, read.decrypted_buffers.front()));
}

// A container that was read is written from its views: into the input and into its own plaintexts.
TEST(container_round_trip, writes_what_was_read_byte_for_byte) {
    const std::string input = container_of({data_entry({cert_bag("c", der_set({local_key_id("i")}))}),
                                            written_entry({key_bag("k", der_set({friendly_name("n")}))})});
    container_reading_t reading(input);
    ASSERT_TRUE(asn_read_pkcs12_easy(reading.input.data(), reading.input.size(), &reading.crypto, reading.easy));
    for (const answer_t answer : {answer_t::YES, answer_t::NO}) {
        scripted_crypto_t crypto;
        crypto.make_mac_answer = answer;
        EXPECT_TRUE(same_bytes(input, write(reading.easy, crypto)));
        EXPECT_EQ("no cert[63] id[69] / key[6B] name[6E] (verify_mac decrypt)", reading.text());
        EXPECT_EQ(1U, reading.easy.decrypted_buffers.size());
    }
}

TEST(container_round_trip, turns_a_shrouded_key_into_a_key_of_the_encrypted_entry) {
    const der_t id = der_set({local_key_id("i")});
    container_reading_t reading(container_of({data_entry({shrouded("k", id)})}));
    ASSERT_TRUE(asn_read_pkcs12_easy(reading.input.data(), reading.input.size(), &reading.crypto, reading.easy));
    EXPECT_TRUE(same_bytes(container_of({written_entry({key_bag("k", id)})}), write(reading.easy, reading.crypto)));
}

} // namespace
