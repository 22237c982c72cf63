#include <gtest/gtest.h>

#include <string>

#include "gost/der.h"
#include "testing/bytes.h"

namespace {

using namespace derkit::gost;

TEST(Der, HeadersAreExactAtEverySize) {
    const struct {
        std::size_t size;
        const char* header;
    } CASES[] = {{0, "04 00"},
                 {1, "04 01"},
                 {127, "04 7F"},
                 {128, "04 81 80"},
                 {255, "04 81 FF"},
                 {256, "04 82 01 00"},
                 {65535, "04 82 FF FF"},
                 {65536, "04 83 01 00 00"},
                 {0x1000000, "04 84 01 00 00 00"}};
    for (const auto& c : CASES) {
        EXPECT_EQ(to_hex(der_header(asn_tag_t::OCTET_STRING, c.size)), c.header);
    }
}

TEST(Der, JoinsParts) {
    EXPECT_EQ(to_hex(der(asn_tag_t::SEQUENCE, {"ab", "", "c"})), "30 03 61 62 63");
    EXPECT_EQ(to_hex(secret_der(asn_tag_t::SEQUENCE, {"ab", "", "c"}).view()), "30 03 61 62 63");
    EXPECT_EQ(to_hex(der(asn_tag_t::NULL_VALUE, {})), "05 00");
}

TEST(Der, IntegersKeepTheirZeroOctets) {
    const struct {
        std::uint64_t value;
        const char* element;
    } CASES[] = {{0, "02 01 00"},
                 {127, "02 01 7F"},
                 {128, "02 02 00 80"},
                 {256, "02 02 01 00"},
                 {2048, "02 02 08 00"},
                 {100'001, "02 03 01 86 A1"},
                 {65'536, "02 03 01 00 00"},
                 {0xFFFFFFFF, "02 05 00 FF FF FF FF"}};
    for (const auto& c : CASES) {
        EXPECT_EQ(to_hex(der_integer(c.value)), c.element);
        const std::string element = der_integer(c.value);
        asn_cursor_t in(element);
        const result<std::uint32_t> read = read_iterations(in);
        ASSERT_TRUE(read) << c.element;
        EXPECT_EQ(*read, c.value);
    }
}

TEST(Der, CountsAreNeitherNegativeNorLargerThan32Bits) {
    const struct {
        const char* element;
        cause why;
    } CASES[] = {{"02 00", cause::malformed_parameters},
                 {"02 01 80", cause::malformed_parameters},
                 {"02 01", cause::malformed_parameters},
                 {"04 01 01", cause::malformed_parameters},
                 {"", cause::malformed_parameters},
                 {"02 05 01 00 00 00 00", cause::too_many_iterations},
                 {"02 09 01 00 00 00 00 00 00 00 00", cause::too_many_iterations},
                 {"02 07 00 00 00 00 00 00 01", cause::none}};
    for (const auto& c : CASES) {
        const std::string element = from_hex(c.element);
        asn_cursor_t in(element);
        EXPECT_EQ(read_iterations(in).why(), c.why) << c.element;
    }
}

TEST(Der, ObjectIdentifiersAreConvertedBothWays) {
    EXPECT_EQ(to_hex(der_oid("1.2.643.7.1.1.5.2.2")), "06 09 2A 85 03 07 01 01 05 02 02");
    EXPECT_EQ(dotted_of(blob_of(from_hex("2A8503070101050202"))), "1.2.643.7.1.1.5.2.2");
    EXPECT_EQ(dotted_of(blob_t()), "");
    EXPECT_EQ(dotted_of(blob_of(from_hex("2A85"))), "");
}

// In 32 bits the last arc is 19: the OID of GOST R 34.10-2001. The second is padded.
TEST(Der, ObjectIdentifiersWithTheTextOfAnotherAreHexadecimal) {
    for (const char* const octets : {"2A850302029080808013", "2A85030202808013"}) {
        const std::string content = from_hex(octets);
        EXPECT_EQ(dotted_of(blob_of(content)), std::string("#") + octets);
        EXPECT_EQ(der_oid(dotted_of(blob_of(content))), der(asn_tag_t::OBJECT_IDENTIFIER, {content}));
    }
}

struct whole_case_t {
    const char* octets;
    bool whole;
};

const whole_case_t WHOLE[] = {
    {"30 00", true},
    {"30 03 02 01 05", true},
    {"", false},
    {"30", false},
    {"31 00", false},
    {"30 00 00", false},          // octets after it
    {"30 03 02 02 05", false},    // an element longer than its SEQUENCE
    {"30 04 02 01 05 02", false}, // half a header
    {"30 04 30 02 02 01", false}, // two levels down
    {"30 04 04 02 30 00", true},  // a SEQUENCE in an OCTET STRING
    {"30 06 04 04 30 02 02 01", false},
    {"30 05 04 03 30 02 01", true}, // octets that only begin like one
    {"30 06 04 04 30 00 30 00", true},
    {"30 04 04 02 31 00", true},
    {"30 02 04 00", true},
    {"30 05 03 03 00 30 00", true}, // in a BIT STRING
    {"30 07 03 05 00 30 02 02 01", false},
    {"30 02 03 00", false}, // without its number of unused bits
    {"30 03 03 01 00", true},
    {"30 04 A0 02 05 00", true},
    {"30 04 A0 02 05 01", false},
    {"30 04 80 02 05 01", true}, // primitive: any octets
    {"30 80 00 00", false},      // indefinite
};

TEST(Der, IsWholeInEveryDepth) {
    for (const whole_case_t& c : WHOLE) {
        EXPECT_EQ(is_whole_der(from_hex(c.octets), asn_tag_t::SEQUENCE), c.whole) << c.octets;
    }
}

TEST(Der, NestedWithoutEndIsReadToADepth) {
    std::string deep = der(asn_tag_t::SEQUENCE, {});
    for (int i = 0; i < 5000; ++i) {
        deep = der(asn_tag_t::SEQUENCE, {deep});
    }
    EXPECT_TRUE(is_whole_der(deep, asn_tag_t::SEQUENCE));
}

} // namespace
