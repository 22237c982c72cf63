// MacData, the integrity block of a container.
#include <gtest/gtest.h>

#include <string>

#include "asn/asn_builder.h"
#include "derkit/pkcs12_helper.h"
#include "pkcs/pkcs12_mac.h"
#include "support/der_reader.h"
#include "testing/pkcs_der.h"

namespace {

// "yes digest algorithm, digest, salt, iterations"
std::string read_mac(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    pkcs12_mac_t mac;
    mac.digest_alg = mac.digest = mac.salt = untouched_view();
    mac.iterations = UNTOUCHED_NUMBER;
    const bool accepted = asn_read_pkcs12_MacData(input.data(), input.size(), mac);
    return read_text(accepted, {field_text(mac.digest_alg, input), field_text(mac.digest, input),
                                field_text(mac.salt, input), field_text(mac.iterations)});
}

// What follows the salt is read as these iterations.
std::string read_count(std::string_view after_the_salt) {
    const std::string text = read_mac(from_hex("30 07 30 02 05 00 04 01 DD 04 01 AA") + std::string(after_the_salt));
    const std::string fields = "05 00, DD, AA, ";
    const std::size_t start = text.find(fields);
    return start == std::string::npos ? text : text.substr(0, start) + text.substr(start + fields.size());
}

pkcs12_mac_t mac_of(std::string_view digest, std::string_view salt, unsigned int iterations) {
    pkcs12_mac_t mac;
    mac.digest = view_of(digest);
    mac.salt = view_of(salt);
    mac.iterations = iterations;
    return mac;
}

// A SEQUENCE with 02 01 03 to which the MAC was appended.
std::string write_mac(const pkcs12_mac_t& mac) {
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    out.add_bytes("\x02\x01\x03", 3);
    asn_write_pkcs12_MacData(mac, out);
    return std::string(as_chars(out.encoding(), out.encoding_size()));
}

std::string expected_mac(std::string_view digest, std::string_view salt, std::string_view count) {
    mac_data_t mac_data;
    mac_data.digest = der_octet_string(digest);
    mac_data.salt = der_octet_string(salt);
    mac_data.iterations = der_raw(count);
    return encode(der_sequence({der_integer("03"), mac_data.whole()}));
}

// Reading

TEST(mac_data, follows_the_rules_of_readers) {
    mac_data_t mac_data;
    mac_data.algorithm = der_element(0x30, "not looked at");
    expect_rules_of_readers(
        read_mac, mac_data.whole(),
        {.takes_content = true, .optional = {mac_data.iterations}, .any_type = {mac_data.iterations}});
    EXPECT_FALSE(is_accepted(read_mac(encode(mac_data_t().whole())))) << "it takes the content";
}

TEST(mac_data, has_its_count_read_as_the_cases_say) {
    expect_reads(read_count, "mac-data-count.txt");
}

TEST(mac_data, is_read_as_the_cases_say) {
    expect_reads(read_mac, "mac-data.txt");
}

// Writing

TEST(mac_data, is_written_byte_for_byte) {
    EXPECT_TRUE(same_bytes(from_hex("30 1C 02 01 03 30 17 30 0F 30 0A 06 06 2A 85 03 02 02 09 05 00 04 01 64 04 01 73 "
                                    "02 01 01"),
                           write_mac(mac_of("d", "s", 1))));
    EXPECT_TRUE(same_bytes(from_hex("30 1A 02 01 03 30 15 30 0E 30 0A 06 06 2A 85 03 02 02 09 05 00 04 00 04 00 "
                                    "02 01 00"),
                           write_mac(pkcs12_mac_t())));
}

// Every zero octet of the count is left out, so some counts come back as others.
TEST(mac_data, is_written_without_the_zero_octets_of_its_count) {
    const struct {
        unsigned int iterations;
        const char* integer;
    } counts[] = {
        {0, "02 01 00"},
        {1, "02 01 01"},
        {128, "02 02 00 80"},
        {256, "02 01 01"},
        {2048, "02 01 08"},
        {2000, "02 02 07 D0"},
        {0xFFFFFFFF, "02 05 00 FF FF FF FF"},
    };
    for (const auto& c : counts) {
        EXPECT_TRUE(same_bytes(expected_mac("d", "s", c.integer), write_mac(mac_of("d", "s", c.iterations))));
    }
}

TEST(mac_data, is_written_with_gost_3411_94_whatever_was_read) {
    const exact_bytes_t input(from_hex("30 0C 30 07 06 05 2B 0E 03 02 1A 04 01 DD 04 01 AA"));
    pkcs12_mac_t mac;
    ASSERT_TRUE(asn_read_pkcs12_MacData(input.data(), input.size(), mac));
    EXPECT_TRUE(same_bytes(expected_mac("\xDD", "\xAA", "02 01 01"), write_mac(mac)));
}

TEST(mac_data, reads_back) {
    for (const std::size_t size : sizes_t{0, 1, 8, 20, 32, 34, 58, 59, 64, 127, 128, 250, 256, 30000}) {
        SCOPED_TRACE(size);
        const std::string digest = counting_bytes(size, 1);
        const std::string salt = counting_bytes(size, 2);
        const std::string written = write_mac(mac_of(digest, salt, 65535));
        const std::string expected = expected_mac(digest, salt, "02 03 00 FF FF");
        EXPECT_TRUE(same_bytes(expected, written));
        mac_data_t mac_data;
        mac_data.digest = der_octet_string(digest);
        mac_data.salt = der_octet_string(salt);
        mac_data.iterations = der_integer("00 FF FF");
        const std::size_t content_size = encode_content(mac_data.whole()).size();
        const exact_bytes_t input(std::string_view(written).substr(written.size() - content_size));
        pkcs12_mac_t mac;
        EXPECT_TRUE(asn_read_pkcs12_MacData(input.data(), input.size(), mac));
        EXPECT_TRUE(same_bytes(digest, chars_of(mac.digest)));
        EXPECT_TRUE(same_bytes(salt, chars_of(mac.salt)));
        EXPECT_EQ(65535U, mac.iterations);
    }
}

} // namespace
