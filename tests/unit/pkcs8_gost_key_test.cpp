// PrivateKeyInfo: the generic reader, and GOST keys read and written.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "derkit/pkcs8_helper.h"
#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

const char* const OID_2001 = "1.2.643.2.2.19";
const char* const OID_2012_256 = "1.2.643.7.1.1.1.1";
const char* const OID_2012_512 = "1.2.643.7.1.1.1.2";

der_t key_info(const std::string& algorithm, const der_t& private_key) {
    return der_sequence({der_integer("00"),
                         der_sequence({der_oid(algorithm), der_sequence({der_oid("1.2.643.2.2.36.0")})}),
                         der_octet_string(private_key)});
}

struct generic_read_t {
    bool accepted;
    std::string algorithm;
    std::string private_key;
};

// Into an untouched record.
generic_read_t read_generic(std::string_view input) {
    const exact_bytes_t bytes(input);
    asn_pkcs8_priv_key_info_t info = {untouched_view(), untouched_view()};
    const bool accepted = asn_read_pkcs8_priv_key_info(bytes.data(), bytes.size(), info);
    EXPECT_TRUE(is_untouched_or_lies_in(info.algorithm, bytes));
    EXPECT_TRUE(is_untouched_or_lies_in(info.private_key, bytes));
    return {accepted, std::string(chars_of(info.algorithm)), std::string(chars_of(info.private_key))};
}

struct gost_read_t {
    bool accepted;
    unsigned int key_type;
    std::string private_key;
};

// Into an untouched record.
gost_read_t read_gost(std::string_view input) {
    const exact_bytes_t bytes(input);
    pkcs8_pki_gost_t key;
    key.key_type = UNTOUCHED_NUMBER;
    key.private_key = untouched_view();
    const bool accepted = asn_read_pkcs8_pki_gost(bytes.data(), bytes.size(), key);
    EXPECT_TRUE(is_untouched_or_lies_in(key.private_key, bytes));
    return {accepted, key.key_type, std::string(chars_of(key.private_key))};
}

void expect_untouched(const gost_read_t& read) {
    EXPECT_FALSE(read.accepted);
    EXPECT_EQ(UNTOUCHED_NUMBER, read.key_type);
    EXPECT_EQ(UNTOUCHED_BYTES, read.private_key);
}

std::string write_gost(unsigned int key_type, std::string_view private_key) {
    pkcs8_pki_gost_t key;
    key.key_type = key_type;
    key.private_key = view_of(private_key);
    std::string out = "what was there before";
    asn_write_pkcs8_pki_gost(key, out);
    return out;
}

// Any key

struct generic_case_t {
    const char* name;
    const char* input;
    bool accepted;
    const char* algorithm;
    const char* private_key;
};
class priv_key_info_reader : public testing::TestWithParam<generic_case_t> {};

TEST_P(priv_key_info_reader, gives_algorithm_and_key) {
    const generic_case_t& c = GetParam();
    const generic_read_t read = read_generic(from_hex(c.input));
    EXPECT_EQ(c.accepted, read.accepted);
    EXPECT_TRUE(same_bytes(bytes_or_untouched(c.algorithm), read.algorithm));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(c.private_key), read.private_key));
}

const generic_case_t ANY_VERSION[] = {
    {"version_0", "30 0E 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB", true, "2A", "AA BB"},
    {"version_1", "30 0E 02 01 01 30 05 06 01 2A 05 00 04 02 AA BB", true, "2A", "AA BB"},
    {"negative_version", "30 0E 02 01 FF 30 05 06 01 2A 05 00 04 02 AA BB", true, "2A", "AA BB"},
    {"empty_version", "30 0D 02 00 30 05 06 01 2A 05 00 04 02 AA BB", true, "2A", "AA BB"},
    {"long_version", "30 13 02 06 FF FF FF FF FF FF 30 05 06 01 2A 05 00 04 02 AA BB", true, "2A", "AA BB"},
};
INSTANTIATE_TEST_SUITE_P(accepts_any_version, priv_key_info_reader, testing::ValuesIn(ANY_VERSION), case_name_t());

const generic_case_t ANY_PARAMETERS[] = {
    {"octets", "30 10 02 01 00 30 07 06 01 2A 04 02 01 02 04 02 AA BB", true, "2A", "AA BB"},
    {"sequence_of_anything", "30 10 02 01 00 30 07 06 01 2A 30 02 FF FF 04 02 AA BB", true, "2A", "AA BB"},
    {"tag_zero", "30 0E 02 01 00 30 05 06 01 2A 00 00 04 02 AA BB", true, "2A", "AA BB"},
    {"more_behind_them", "30 12 02 01 00 30 09 06 01 2A 05 00 FF FF FF FF 04 02 AA BB", true, "2A", "AA BB"},
};
INSTANTIATE_TEST_SUITE_P(accepts_any_parameters, priv_key_info_reader, testing::ValuesIn(ANY_PARAMETERS),
                         case_name_t());

const generic_case_t ANY_CONTENT[] = {
    {"empty_oid", "30 0D 02 01 00 30 04 06 00 05 00 04 02 AA BB", true, "", "AA BB"},
    {"empty_key", "30 0C 02 01 00 30 05 06 01 2A 05 00 04 00", true, "2A", ""},
    {"integer_inside_the_key", "30 0F 02 01 00 30 05 06 01 2A 05 00 04 03 02 01 09", true, "2A", "02 01 09"},
};
INSTANTIATE_TEST_SUITE_P(accepts_any_content, priv_key_info_reader, testing::ValuesIn(ANY_CONTENT), case_name_t());

const generic_case_t IGNORED[] = {
    {"attributes", "30 10 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB A0 00", true, "2A", "AA BB"},
    {"public_key", "30 12 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB 81 02 00 FF", true, "2A", "AA BB"},
    {"what_is_no_element", "30 10 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB A0 7F", true, "2A", "AA BB"},
    {"bytes_behind_it_all", "30 0E 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB FF", true, "2A", "AA BB"},
};
INSTANTIATE_TEST_SUITE_P(ignores, priv_key_info_reader, testing::ValuesIn(IGNORED), case_name_t());

const generic_case_t REFUSED[] = {
    {"nothing", "", false, "-", "-"},
    {"empty_sequence", "30 00", false, "-", "-"},
    {"set", "31 0E 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB", false, "-", "-"},
    {"no_version", "30 0B 30 05 06 01 2A 05 00 04 02 AA BB", false, "-", "-"},
    {"version_of_another_type", "30 0E 0A 01 00 30 05 06 01 2A 05 00 04 02 AA BB", false, "-", "-"},
    {"no_algorithm", "30 07 02 01 00 04 02 AA BB", false, "-", "-"},
    {"algorithm_without_oid", "30 0B 02 01 00 30 02 05 00 04 02 AA BB", false, "-", "-"},
    {"empty_algorithm", "30 09 02 01 00 30 00 04 02 AA BB", false, "-", "-"},
};
INSTANTIATE_TEST_SUITE_P(refuses, priv_key_info_reader, testing::ValuesIn(REFUSED), case_name_t());

const generic_case_t REFUSED_WITH_ALGORITHM[] = {
    {"no_parameters", "30 0C 02 01 00 30 03 06 01 2A 04 02 AA BB", false, "2A", "-"},
    {"parameters_cut_short", "30 0E 02 01 00 30 05 06 01 2A 05 01 04 02 AA BB", false, "2A", "-"},
    {"half_a_header_for_parameters", "30 0D 02 01 00 30 04 06 01 2A 05 04 02 AA BB", false, "2A", "-"},
    {"no_key", "30 0A 02 01 00 30 05 06 01 2A 05 00", false, "2A", "-"},
    {"key_behind_the_sequence", "30 0A 02 01 00 30 05 06 01 2A 05 00 04 02 AA BB", false, "2A", "-"},
    {"key_in_a_bit_string", "30 0E 02 01 00 30 05 06 01 2A 05 00 03 02 AA BB", false, "2A", "-"},
    {"key_in_a_constructed_octet_string", "30 0F 02 01 00 30 05 06 01 2A 05 00 24 03 04 01 AA", false, "2A", "-"},
    {"attributes_before_the_key", "30 10 02 01 00 30 05 06 01 2A 05 00 A0 00 04 02 AA BB", false, "2A", "-"},
};
INSTANTIATE_TEST_SUITE_P(refuses_but_gives_the_algorithm, priv_key_info_reader,
                         testing::ValuesIn(REFUSED_WITH_ALGORITHM), case_name_t());

// GOST keys, read

struct family_case_t {
    const char* name;
    const char* algorithm;
    unsigned int key_type;
};
class gost_key_family : public testing::TestWithParam<family_case_t> {};

const family_case_t FAMILIES[] = {
    {"gost_2001", OID_2001, 0},
    {"gost_2012_256", OID_2012_256, 1},
    {"gost_2012_512", OID_2012_512, 2},
};
INSTANTIATE_TEST_SUITE_P(, gost_key_family, testing::ValuesIn(FAMILIES), case_name_t());

// The parameters name sets that the writer never writes, so they cannot be compared.
TEST_P(gost_key_family, is_told_whatever_the_parameter_sets) {
    for (const char* const parameters :
         {"05 00", "00 00", "30 00", "30 09 06 07 2A 85 03 02 02 24 00", "30 02 FF FF"}) {
        SCOPED_TRACE(parameters);
        const gost_read_t read = read_gost(
            encode(der_sequence({der_integer("00"), der_sequence({der_oid(GetParam().algorithm), der_raw(parameters)}),
                                 der_octet_string(der_octet_string("key"))})));
        EXPECT_TRUE(read.accepted);
        EXPECT_EQ(GetParam().key_type, read.key_type);
        EXPECT_EQ("key", read.private_key);
    }
}

TEST_P(gost_key_family, imposes_no_length_on_the_key) {
    for (const std::size_t size : sizes_t{0, 1, 31, 32, 33, 64, 127, 128, 255, 256, 70000}) {
        const std::string private_key = counting_bytes(size, 7);
        const gost_read_t read = read_gost(encode(key_info(GetParam().algorithm, der_octet_string(private_key))));
        EXPECT_TRUE(read.accepted) << size;
        EXPECT_TRUE(same_bytes(private_key, read.private_key)) << size;
    }
}

TEST_P(gost_key_family, is_told_even_when_there_is_no_octet_string_inside) {
    for (const char* const private_key : {"", "02 01 09", "24 04 04 02 01 02", "04", "04 01", "04 80 00 00", "FF FF"}) {
        SCOPED_TRACE(private_key);
        const std::string input = encode(key_info(GetParam().algorithm, der_raw(private_key)));
        const gost_read_t read = read_gost(input);
        EXPECT_FALSE(read.accepted);
        EXPECT_EQ(GetParam().key_type, read.key_type);
        EXPECT_EQ(UNTOUCHED_BYTES, read.private_key);
        EXPECT_TRUE(read_generic(input).accepted);
    }
}

// The inner OCTET STRING must lie inside the outer one, however much follows that.
TEST(gost_key_reader, does_not_look_behind_the_outer_octet_string) {
    EXPECT_FALSE(read_gost(encode(key_info(OID_2001, der_raw("04 02 AA"))) + ROOM_BEHIND).accepted);
}

TEST(gost_key_reader, ignores_bytes_behind_the_inner_octet_string) {
    for (const char* const behind : {"00", "04 01 FF", "FF"}) {
        const gost_read_t read = read_gost(encode(key_info(OID_2001, der_raw(std::string("04 01 AA ") + behind))));
        EXPECT_TRUE(read.accepted) << behind;
        EXPECT_TRUE(same_bytes(from_hex("AA"), read.private_key)) << behind;
    }
}

TEST(gost_key_reader, accepts_versions_attributes_and_bytes_behind) {
    der_t whole = key_info(OID_2012_256, der_octet_string("key"));
    whole.members[0] = der_integer("01");
    whole.members.push_back(der_context_0({der_sequence({der_oid("1.2.3"), der_set({der_null()})})}));
    const gost_read_t read = read_gost(encode(whole) + "behind");
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ(1U, read.key_type);
    EXPECT_EQ("key", read.private_key);
}

TEST(gost_key_reader, refuses_other_algorithms_and_touches_nothing) {
    for (const char* const oid : {
             "06 00",                            // nothing
             "06 05 2A 85 03 02 02",             // an octet short
             "06 06 2A 85 03 02 02 14",          // GOST R 34.10-94
             "06 06 2A 85 03 02 02 12",          //
             "06 07 2A 85 03 02 02 13 00",       // GOST R 34.10-2001 and an octet
             "06 07 2A 85 03 07 01 01 01",       // an octet short
             "06 08 2A 85 03 07 01 01 01 00",    //
             "06 08 2A 85 03 07 01 01 01 03",    //
             "06 08 2A 85 03 07 01 01 03 02",    // a signature of GOST R 34.10-2012
             "06 08 2A 85 03 02 02 13 00 00",    //
             "06 09 2A 85 03 07 01 01 01 01 00", // GOST R 34.10-2012 and an octet
             "06 09 2A 86 48 86 F7 0D 01 01 01", // RSA
         }) {
        SCOPED_TRACE(oid);
        const std::string input = encode(der_sequence(
            {der_integer("00"), der_sequence({der_raw(oid), der_null()}), der_octet_string(der_octet_string("key"))}));
        expect_untouched(read_gost(input));
        EXPECT_TRUE(read_generic(input).accepted);
    }
}

TEST(gost_key_reader, touches_nothing_when_the_generic_reader_fails) {
    for (const generic_case_t& c : REFUSED) {
        SCOPED_TRACE(c.name);
        expect_untouched(read_gost(from_hex(c.input)));
    }
    for_each_element_left_out(key_info(OID_2001, der_octet_string("key")),
                              [](const der_t& whole, const der_t& element) {
                                  const bool is_inner_octet_string = element.tag == 0x04 && element.octets == "key";
                                  const bool is_parameter_set = encode(element) == encode(der_oid("1.2.643.2.2.36.0"));
                                  if (!is_inner_octet_string && !is_parameter_set) {
                                      expect_untouched(read_gost(encode(whole)));
                                  }
                              });
}

TEST(gost_key_reader, refuses_every_prefix_and_touches_nothing) {
    for_each_prefix(encode(key_info(OID_2001, der_octet_string("key"))), [](const exact_bytes_t& prefix) {
        expect_untouched(read_gost(std::string_view(prefix.chars(), prefix.size())));
        EXPECT_FALSE(read_generic(std::string_view(prefix.chars(), prefix.size())).accepted);
    });
}

// What the parameters hold is not walked: their own header is the last that is looked at.
der_t walked_key_info() {
    return der_sequence({der_integer("00"), der_sequence({der_oid(OID_2012_512), der_element(0x30, "param")}),
                         der_octet_string(der_octet_string("key"))});
}

TEST(gost_key_reader, refuses_lengths_that_lead_outside) {
    for_each_bad_length(walked_key_info(), [](const der_t& whole, const der_t&) {
        EXPECT_FALSE(read_gost(encode(whole)).accepted);
        EXPECT_FALSE(read_gost(encode(whole) + ROOM_BEHIND).accepted);
    });
}

TEST(gost_key_reader, accepts_lengths_of_more_octets_than_needed) {
    for_each_long_length(walked_key_info(), [](const der_t& whole) {
        const gost_read_t read = read_gost(encode(whole));
        EXPECT_TRUE(read.accepted);
        EXPECT_EQ(2U, read.key_type);
        EXPECT_EQ("key", read.private_key);
    });
}

TEST(gost_key_reader, tells_primitive_from_constructed) {
    for_each_element(walked_key_info(), [](der_t& whole, der_t& element) {
        element.tag ^= 0x20;
        const bool are_parameters = element.octets == "param"; // those may be of any type
        EXPECT_EQ(are_parameters, read_gost(encode(whole)).accepted);
    });
}

// GOST keys, written

struct written_case_t {
    const char* name;
    unsigned int key_type;
    std::string private_key;
    const char* header; // all that stands in front of the key
};
class gost_key_encoding : public testing::TestWithParam<written_case_t> {};

TEST_P(gost_key_encoding, is) {
    const written_case_t& c = GetParam();
    EXPECT_TRUE(same_bytes(from_hex(c.header) + c.private_key, write_gost(c.key_type, c.private_key)));
}

const written_case_t WRITTEN[] = {
    {"gost_2001_of_32_bytes", 0, counting_bytes(32, 1),
     "30 45 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 "
     "04 22 04 20"},
    {"gost_2012_256_of_32_bytes", 1, counting_bytes(32, 1),
     "30 49 02 01 00 30 20 06 08 2A 85 03 07 01 01 01 01 30 14 06 09 2A 85 03 07 01 02 01 01 01 "
     "06 07 2A 85 03 02 02 1E 01 04 22 04 20"},
    {"gost_2012_512_of_64_bytes", 2, counting_bytes(64, 1),
     "30 69 02 01 00 30 20 06 08 2A 85 03 07 01 01 01 02 30 14 06 09 2A 85 03 07 01 02 01 02 01 "
     "06 07 2A 85 03 02 02 1E 01 04 42 04 40"},
    {"key_type_5", 5, counting_bytes(3, 1),
     "30 1B 02 01 00 30 0F 06 00 30 0B 06 00 06 07 2A 85 03 02 02 1E 01 04 05 04 03"},
    {"highest_key_type", 0xFFFFFFFF, "",
     "30 18 02 01 00 30 0F 06 00 30 0B 06 00 06 07 2A 85 03 02 02 1E 01 04 02 04 00"},
    {"empty_key", 0, "",
     "30 25 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 "
     "04 02 04 00"},
    {"key_of_200_bytes", 0, counting_bytes(200, 1),
     "30 81 EF 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 "
     "04 81 CB 04 81 C8"},
    {"key_of_1000_bytes", 0, counting_bytes(1000, 1),
     "30 82 04 11 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 "
     "04 82 03 EC 04 82 03 E8"},
};
INSTANTIATE_TEST_SUITE_P(, gost_key_encoding, testing::ValuesIn(WRITTEN), case_name_t());

TEST(gost_key_writer, writes_an_unknown_type_that_the_reader_refuses) {
    const std::string written = write_gost(5, "key");
    expect_untouched(read_gost(written));
    EXPECT_TRUE(read_generic(written).accepted);
}

TEST(gost_key_writer, leaves_the_output_alone_when_there_is_no_memory) {
    pkcs8_pki_gost_t key;
    key.private_key = view_of("k");
    key.private_key.size = 0xFFFFFFFF;
    std::string out = "what was there before";
    EXPECT_THROW(asn_write_pkcs8_pki_gost(key, out), std::bad_alloc);
    EXPECT_EQ("what was there before", out);
}

TEST(gost_key_round_trip, gives_family_and_key_back) {
    for (unsigned int key_type = 0; key_type < 3; ++key_type) {
        for (const std::size_t size : sizes_t{0, 1, 32, 33, 64, 95, 96, 120, 128, 250, 256, 500, 65000}) {
            SCOPED_TRACE(std::to_string(key_type) + ", " + std::to_string(size) + " bytes");
            const std::string private_key = counting_bytes(size, key_type);
            const gost_read_t read = read_gost(write_gost(key_type, private_key));
            EXPECT_TRUE(read.accepted);
            EXPECT_EQ(key_type, read.key_type);
            EXPECT_TRUE(same_bytes(private_key, read.private_key));
        }
    }
}

} // namespace
