// MacData, the integrity block of a container.
#include <gtest/gtest.h>

#include <string>

#include "asn/asn_builder.h"
#include "derkit/pkcs12_helper.h"
#include "pkcs/pkcs12_mac.h"
#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

struct mac_read_t {
    bool accepted;
    std::string digest_alg;
    std::string digest;
    std::string salt;
    unsigned int iterations;
};

// Into an untouched record.
mac_read_t read_mac(std::string_view input) {
    const exact_bytes_t bytes(input);
    pkcs12_mac_t mac;
    mac.digest_alg = mac.digest = mac.salt = untouched_view();
    mac.iterations = UNTOUCHED_NUMBER;
    const bool accepted = asn_read_pkcs12_MacData(bytes.data(), bytes.size(), mac);
    for (const blob_t& view : {mac.digest_alg, mac.digest, mac.salt}) {
        EXPECT_TRUE(is_untouched_or_lies_in(view, bytes));
    }
    return {accepted, std::string(chars_of(mac.digest_alg)), std::string(chars_of(mac.digest)),
            std::string(chars_of(mac.salt)), mac.iterations};
}

mac_read_t read_mac(const mac_data_t& mac_data) {
    return read_mac(encode_content(mac_data.whole()));
}

void expect_read(const mac_read_t& read, unsigned int iterations = 2000) {
    EXPECT_TRUE(read.accepted);
    EXPECT_TRUE(same_bytes(from_hex("06 06 2A 85 03 02 02 09 05 00"), read.digest_alg));
    EXPECT_EQ("digest", read.digest);
    EXPECT_EQ("macsalt", read.salt);
    EXPECT_EQ(iterations, read.iterations);
}

// The content of a SEQUENCE to which the MAC was appended.
std::string write_mac(const pkcs12_mac_t& mac) {
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    asn_write_pkcs12_MacData(mac, out);
    return std::string(as_chars(out.encoding(), out.encoding_size()).substr(out.encoding_size() - out.content_size));
}

pkcs12_mac_t mac_of(std::string_view digest, std::string_view salt, unsigned int iterations) {
    pkcs12_mac_t mac;
    mac.digest = view_of(digest);
    mac.salt = view_of(salt);
    mac.iterations = iterations;
    return mac;
}

// Reading

struct mac_count_case_t {
    const char* name;
    const char* behind_the_salt;
    bool accepted;
    unsigned int iterations;
};
class mac_iterations : public testing::TestWithParam<mac_count_case_t> {};

TEST_P(mac_iterations, are_read) {
    mac_data_t mac_data;
    mac_data.iterations = der_raw(GetParam().behind_the_salt);
    const mac_read_t read = read_mac(mac_data);
    EXPECT_EQ(GetParam().accepted, read.accepted);
    EXPECT_EQ(GetParam().iterations, read.iterations);
    EXPECT_EQ("digest", read.digest);
    EXPECT_EQ("macsalt", read.salt);
}

const mac_count_case_t DEFAULT_COUNTS[] = {
    {"absent", "", true, 1},
    {"empty", "02 00", true, 1},
    {"something_else", "05 00", true, 1},
    {"an_enumerated", "0A 01 05", true, 1},
    {"a_byte_that_is_no_element", "FF", true, 1},
    {"an_integer_behind_something_else", "05 00 02 01 05", true, 1},
};
INSTANTIATE_TEST_SUITE_P(default_to_one, mac_iterations, testing::ValuesIn(DEFAULT_COUNTS), case_name_t());

// Bounds hold for all octets but the last, so a fifth drops out at the top.
const mac_count_case_t COUNTS[] = {
    {"zero", "02 01 00", true, 0},
    {"one", "02 01 01", true, 1},
    {"sign_octet", "02 02 00 80", true, 128},
    {"two_octets", "02 02 07 D0", true, 2000},
    {"leading_zeros", "02 07 00 00 00 00 00 07 D0", true, 2000},
    {"all_bits", "02 05 00 FF FF FF FF", true, 0xFFFFFFFF},
    {"five_octets_without_their_first", "02 05 01 00 00 00 00", true, 0},
    {"bytes_behind", "02 01 05 FF", true, 5},
    {"a_second_integer_behind", "02 01 05 02 01 06", true, 5},
};
INSTANTIATE_TEST_SUITE_P(count, mac_iterations, testing::ValuesIn(COUNTS), case_name_t());

const mac_count_case_t BAD_COUNTS[] = {
    {"negative", "02 01 80", false, UNTOUCHED_NUMBER},
    {"negative_of_four_octets", "02 04 FF FF FF FF", false, UNTOUCHED_NUMBER},
    {"too_wide", "02 06 01 00 00 00 00 00", false, UNTOUCHED_NUMBER},
    {"half_a_header", "02", false, UNTOUCHED_NUMBER},
    {"past_the_end", "02 02 05", false, UNTOUCHED_NUMBER},
    {"indefinite", "02 80 05 00 00", false, UNTOUCHED_NUMBER},
    {"wrapping", "02 84 FF FF FF FA", false, UNTOUCHED_NUMBER},
};
INSTANTIATE_TEST_SUITE_P(refused, mac_iterations, testing::ValuesIn(BAD_COUNTS), case_name_t());

TEST(mac_reader, takes_the_content_and_not_the_element) {
    const der_t whole = mac_data_t().whole();
    expect_read(read_mac(encode_content(whole)));
    EXPECT_FALSE(read_mac(encode(whole)).accepted);
}

TEST(mac_reader, judges_no_algorithm) {
    for (const char* const algorithm :
         {"06 05 2B 0E 03 02 1A 05 00", "06 05 2B 0E 03 02 1A", "", "05 00", "FF FF FF"}) {
        SCOPED_TRACE(algorithm);
        mac_data_t mac_data;
        mac_data.algorithm = der_element(0x30, from_hex(algorithm));
        const mac_read_t read = read_mac(mac_data);
        EXPECT_TRUE(read.accepted);
        EXPECT_TRUE(same_bytes(from_hex(algorithm), read.digest_alg));
        EXPECT_EQ("digest", read.digest);
    }
}

TEST(mac_reader, takes_digest_and_salt_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 8, 20, 32, 64, 127, 128, 70000}) {
        SCOPED_TRACE(size);
        mac_data_t mac_data;
        mac_data.digest = der_octet_string(counting_bytes(size, 1));
        mac_data.salt = der_octet_string(counting_bytes(size, 2));
        const mac_read_t read = read_mac(mac_data);
        EXPECT_TRUE(read.accepted);
        EXPECT_TRUE(same_bytes(counting_bytes(size, 1), read.digest));
        EXPECT_TRUE(same_bytes(counting_bytes(size, 2), read.salt));
    }
}

TEST(mac_reader, ignores_what_follows_the_digest) {
    for (const char* const behind : {"05 00", "FF", "04 7F"}) {
        der_t whole = mac_data_t().whole();
        whole.members[0].members.push_back(der_raw(behind));
        expect_read(read_mac(encode_content(whole)));
    }
}

struct mac_refused_case_t {
    const char* name;
    const char* input;
    const char* digest_alg;
    const char* digest;
};
class mac_refused : public testing::TestWithParam<mac_refused_case_t> {};

TEST_P(mac_refused, leaves_these_filled) {
    const mac_read_t read = read_mac(from_hex(GetParam().input));
    EXPECT_FALSE(read.accepted);
    EXPECT_TRUE(same_bytes(bytes_or_untouched(GetParam().digest_alg), read.digest_alg));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(GetParam().digest), read.digest));
    EXPECT_EQ(UNTOUCHED_BYTES, read.salt);
    EXPECT_EQ(UNTOUCHED_NUMBER, read.iterations);
}

const mac_refused_case_t REFUSED[] = {
    {"nothing", "", "-", "-"},
    {"no_digest_info", "04 01 AA 02 01 05", "-", "-"},
    {"empty_digest_info", "30 00 04 01 AA", "-", "-"},
    {"no_algorithm", "30 03 04 01 DD 04 01 AA", "-", "-"},
    {"algorithm_past_the_digest_info", "30 05 30 0A 05 00 04 01 DD 04 01 AA", "-", "-"},
    {"no_digest", "30 04 30 02 05 00 04 01 AA", "05 00", "-"},
    {"digest_behind_the_digest_info", "30 04 30 02 05 00 04 01 DD 04 01 AA", "05 00", "-"},
    {"constructed_digest", "30 09 30 02 05 00 24 03 04 01 DD 04 01 AA", "05 00", "-"},
    {"wrapping_digest", "30 0A 30 02 05 00 04 84 FF FF FF FA 04 01 AA", "05 00", "-"},
    {"no_salt", "30 07 30 02 05 00 04 01 DD", "05 00", "DD"},
    {"count_instead_of_a_salt", "30 07 30 02 05 00 04 01 DD 02 01 05", "05 00", "DD"},
    {"constructed_salt", "30 07 30 02 05 00 04 01 DD 24 03 04 01 AA", "05 00", "DD"},
    {"salt_past_the_end", "30 07 30 02 05 00 04 01 DD 04 02 AA", "05 00", "DD"},
    {"wrapping_salt", "30 07 30 02 05 00 04 01 DD 04 84 FF FF FF FF AA", "05 00", "DD"},
};
INSTANTIATE_TEST_SUITE_P(, mac_refused, testing::ValuesIn(REFUSED), case_name_t());

TEST(mac_reader, refuses_lengths_that_lead_outside) {
    mac_data_t mac_data;
    mac_data.algorithm = der_element(0x30, "not looked at");
    for_each_bad_length(mac_data.whole(), [](const der_t& whole, const der_t& element) {
        if (&element == &whole) {
            return;
        }
        EXPECT_FALSE(read_mac(encode_content(whole)).accepted);
        const bool has_something_around_it =
            &element == &whole.members[0].members[0] || &element == &whole.members[0].members[1];
        if (has_something_around_it) {
            EXPECT_FALSE(read_mac(encode_content(whole) + ROOM_BEHIND).accepted);
        }
    });
}

TEST(mac_reader, accepts_lengths_of_more_octets_than_needed) {
    mac_data_t mac_data;
    mac_data.algorithm = der_element(0x30, encode_content(mac_data.algorithm));
    for_each_long_length(mac_data.whole(), [](const der_t& whole) { expect_read(read_mac(encode_content(whole))); });
}

// The count is optional, so what ends behind the salt is whole.
TEST(mac_reader, refuses_every_prefix_but_the_one_without_a_count) {
    const std::string whole = encode_content(mac_data_t().whole());
    const std::size_t without_count = whole.size() - encode(mac_data_t().iterations).size();
    for_each_prefix(whole, [&](const exact_bytes_t& prefix) {
        const mac_read_t read = read_mac(std::string_view(prefix.chars(), prefix.size()));
        if (prefix.size() == without_count) {
            expect_read(read, 1);
        } else {
            EXPECT_FALSE(read.accepted);
        }
    });
}

// Writing

// Every zero octet of the count is left out; so some counts come back as others.
struct mac_written_case_t {
    const char* name;
    unsigned int iterations;
    const char* integer;
    unsigned int read_back;
};
class mac_count : public testing::TestWithParam<mac_written_case_t> {};

TEST_P(mac_count, is_written_and_comes_back) {
    const mac_written_case_t& c = GetParam();
    mac_data_t expected;
    expected.iterations = der_raw(c.integer);
    const std::string written = write_mac(mac_of("digest", "macsalt", c.iterations));
    EXPECT_TRUE(same_bytes(encode(expected.whole()), written));
    expect_read(read_mac(std::string_view(written).substr(2)), c.read_back);
}

const mac_written_case_t WRITTEN[] = {
    {"of_0", 0, "02 01 00", 0},
    {"of_1", 1, "02 01 01", 1},
    {"of_128", 128, "02 02 00 80", 128},
    {"of_256", 256, "02 01 01", 1},
    {"of_2000", 2000, "02 02 07 D0", 2000},
    {"of_2048", 2048, "02 01 08", 8},
    {"of_all_bits", 0xFFFFFFFF, "02 05 00 FF FF FF FF", 0xFFFFFFFF},
};
INSTANTIATE_TEST_SUITE_P(, mac_count, testing::ValuesIn(WRITTEN), case_name_t());

TEST(mac_writer, names_gost_3411_94_whatever_was_read) {
    mac_data_t with_sha_1;
    with_sha_1.algorithm = der_sequence({der_oid("1.3.14.3.2.26")});
    const exact_bytes_t input(encode_content(with_sha_1.whole()));
    pkcs12_mac_t mac;
    ASSERT_TRUE(asn_read_pkcs12_MacData(input.data(), input.size(), mac));
    EXPECT_TRUE(same_bytes(from_hex("30 23 30 14 30 0A 06 06 2A 85 03 02 02 09 05 00 04 06 64 69 67 65 73 74 "
                                    "04 07 6D 61 63 73 61 6C 74 02 02 07 D0"),
                           write_mac(mac)));
}

TEST(mac_writer, writes_an_empty_record_too) {
    EXPECT_TRUE(same_bytes(from_hex("30 15 30 0E 30 0A 06 06 2A 85 03 02 02 09 05 00 04 00 04 00 02 01 00"),
                           write_mac(pkcs12_mac_t())));
}

TEST(mac_writer, appends_to_its_parent) {
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    out.add_element(asn_tag_t::INTEGER, from_hex("03"));
    asn_write_pkcs12_MacData(mac_of("d", "s", 1), out);
    EXPECT_TRUE(same_bytes(from_hex("30 1C 02 01 03 30 17 30 0F 30 0A 06 06 2A 85 03 02 02 09 05 00 04 01 64 04 01 73 "
                                    "02 01 01"),
                           as_chars(out.encoding(), out.encoding_size())));
}

TEST(mac_round_trip, gives_digest_salt_and_count_back) {
    for (const std::size_t size : sizes_t{0, 1, 8, 20, 32, 34, 58, 59, 64, 127, 128, 250, 256, 30000}) {
        SCOPED_TRACE(size);
        const std::string digest = counting_bytes(size, 1);
        const std::string salt = counting_bytes(size, 2);
        const std::string written = write_mac(mac_of(digest, salt, 65535));
        mac_data_t expected;
        expected.digest = der_octet_string(digest);
        expected.salt = der_octet_string(salt);
        expected.iterations = der_integer("00 FF FF");
        EXPECT_TRUE(same_bytes(encode(expected.whole()), written));
        const std::size_t content_size = encode_content(expected.whole()).size();
        const mac_read_t read = read_mac(std::string_view(written).substr(written.size() - content_size));
        EXPECT_TRUE(read.accepted);
        EXPECT_TRUE(same_bytes(digest, read.digest));
        EXPECT_TRUE(same_bytes(salt, read.salt));
        EXPECT_EQ(65535U, read.iterations);
    }
}

} // namespace
