// Content octets of small INTEGERs (X.690 8.3), and OID content compared with a constant.
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/views.h"

namespace {

constexpr unsigned int UNTOUCHED = 0x5EEDF00D;
constexpr unsigned int NO_BOUND = 0xFFFFFFFF;

TEST(asn_read_INTEGER, decodes_content) {
    const struct {
        const char* name;
        const char* content;
        unsigned int max;
        bool accepted;
        unsigned int value;
    } cases[] = {
        {"zero", "00", NO_BOUND, true, 0},
        {"one", "01", NO_BOUND, true, 1},
        {"largest of one octet", "7F", NO_BOUND, true, 127},
        {"sign pad", "00 80", NO_BOUND, true, 128},
        {"big-endian", "01 02 03 04", NO_BOUND, true, 0x01020304},
        {"largest of four octets", "7F FF FF FF", NO_BOUND, true, 0x7FFFFFFF},
        {"largest of 32 bits", "00 FF FF FF FF", NO_BOUND, true, 0xFFFFFFFF},
        {"needless pad", "00 00 05", NO_BOUND, true, 5},
        {"any number of pads", "00 00 00 00 00 00 00 00 00 00 00 05", NO_BOUND, true, 5},
        {"top bit in the second octet", "01 80", NO_BOUND, true, 0x180},
        {"empty succeeds and says nothing", "", NO_BOUND, true, UNTOUCHED},
        {"empty passes every bound", "", 0, true, UNTOUCHED},
        {"-128", "80", NO_BOUND, false, UNTOUCHED},
        {"-1", "FF", NO_BOUND, false, UNTOUCHED},
        {"negative of several octets", "80 00 00 01", NO_BOUND, false, UNTOUCHED},
        // The last octet escapes the check of 32 bits.
        {"2^32", "01 00 00 00 00", NO_BOUND, true, 0},
        {"low 32 bits", "12 34 56 78 9A", NO_BOUND, true, 0x3456789A},
        {"largest of five octets", "7F FF FF FF FF", NO_BOUND, true, 0xFFFFFFFF},
        {"pad and five octets", "00 FF FF FF FF 01", NO_BOUND, true, 0xFFFFFF01},
        {"prefix of 2^32", "01 00 00 00 00 00", NO_BOUND, false, UNTOUCHED},
        {"pad and prefix of 2^32", "00 01 00 00 00 00 00", NO_BOUND, false, UNTOUCHED},
        {"prefix past 64 bits", "01 00 00 00 00 00 00 00 00 05", NO_BOUND, false, UNTOUCHED},
        // The bound applies to all octets but the last.
        {"one octet is never bounded", "7F", 0, true, 127},
        {"sign pad is a prefix of zero", "00 FF", 0, true, 255},
        {"prefix at the bound", "05 FF", 5, true, 0x5FF},
        {"prefix past the bound", "06 00", 5, false, UNTOUCHED},
        {"prefix past a bound of zero", "01 00", 0, false, UNTOUCHED},
        {"longer prefix at the bound", "01 02 FF", 0x102, true, 0x102FF},
        {"longer prefix past the bound", "01 03 00", 0x102, false, UNTOUCHED},
        {"bound of all bits but one", "00 FF FF FF FF 00", 0xFFFFFFFE, false, UNTOUCHED},
    };
    for (const auto& c : cases) {
        const exact_bytes_t content(from_hex(c.content));
        unsigned int value = UNTOUCHED;
        EXPECT_EQ(c.accepted, asn_read_INTEGER(content.data(), content.size(), value, c.max)) << c.name;
        EXPECT_EQ(c.value, value) << c.name;
    }
}

TEST(asn_read_INTEGER, does_not_look_at_empty_content) {
    unsigned int value = UNTOUCHED;
    EXPECT_TRUE(asn_read_INTEGER(nullptr, 0, value, NO_BOUND));
    EXPECT_EQ(UNTOUCHED, value);
}

TEST(asn_write_INTEGER, appends_content_without_zero_octets) {
    const struct {
        unsigned int value;
        const char* content;
    } cases[] = {
        {0, "00"},
        {1, "01"},
        {127, "7F"},
        {128, "00 80"},
        {255, "00 FF"},
        {2000, "07 D0"},
        {2001, "07 D1"},
        {0x8001, "00 80 01"},
        {0x123456, "12 34 56"},
        {0x12345678, "12 34 56 78"},
        {0x01FF80FF, "01 FF 80 FF"}, // no pad before a later octet
        {0xFFFFFFFF, "00 FF FF FF FF"},
        {0x100, "01"},
        {1024, "04"},
        {0x10000, "01"},
        {0x01000000, "01"},
        {0x80000000, "00 80"},
        {0x10080, "01 80"},
        {0xFF00FF, "00 FF FF"},
        {0x01000080, "01 80"},
        {0x12003400, "12 34"},
    };
    for (const auto& c : cases) {
        std::string out("\x30\x00", 2);
        asn_write_INTEGER(c.value, out);
        EXPECT_TRUE(same_bytes(from_hex("30 00") + from_hex(c.content), out)) << c.value;
    }
}

TEST(asn_write_INTEGER, writes_what_reads_back_when_no_octet_after_the_first_is_zero) {
    const unsigned int octets[] = {0x01, 0x7F, 0x80, 0xFF};
    for (unsigned int num_octets = 1; num_octets <= 4; ++num_octets) {
        for (unsigned int choice = 0; choice < 1u << (2 * num_octets); ++choice) {
            unsigned int value = 0;
            for (unsigned int i = 0; i < num_octets; ++i) {
                value = value << 8 | octets[choice >> (2 * i) & 3];
            }
            std::string content;
            asn_write_INTEGER(value, content);
            unsigned int read_back = UNTOUCHED;
            EXPECT_TRUE(
                asn_read_INTEGER(content.data(), static_cast<unsigned int>(content.size()), read_back, NO_BOUND));
            EXPECT_EQ(value, read_back) << to_hex(content);
        }
    }
}

// OID content against a constant

constexpr unsigned char SIX[6] = {0x2A, 0x85, 0x03, 0x02, 0x02, 0x13};
constexpr unsigned char NINE[9] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
constexpr unsigned char ELEVEN[11] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x0C, 0x0A, 0x01, 0x02};
constexpr unsigned char WITH_ZERO[4] = {0x2A, 0x00, 0x01, 0x02}; // which must not end the comparison

template <unsigned int N> bool is_equal(const std::string& content, const unsigned char (&der)[N]) {
    const exact_bytes_t block(content);
    return asn_oid_equal_(view_of(std::string_view(block.chars(), block.size())), der);
}

template <unsigned int N> void expect_equal_to_itself_alone(const unsigned char (&der)[N]) {
    const std::string own(as_chars(der, N));
    SCOPED_TRACE(to_hex(own));
    EXPECT_TRUE(is_equal(own, der));
    EXPECT_FALSE(is_equal(own + '\x01', der));
    for (unsigned int i = 0; i < N; ++i) {
        std::string other = own;
        other[i] = static_cast<char>(other[i] ^ 1);
        EXPECT_FALSE(is_equal(other, der)) << to_hex(other);
        EXPECT_FALSE(is_equal(own.substr(0, i), der)) << i << " octets";
    }
}

TEST(asn_oid_equal, compares_size_and_every_octet) {
    expect_equal_to_itself_alone(SIX);
    expect_equal_to_itself_alone(NINE);
    expect_equal_to_itself_alone(ELEVEN);
    expect_equal_to_itself_alone(WITH_ZERO);
}

TEST(asn_oid_equal, does_not_look_at_octets_of_another_size) {
    blob_t blob;
    EXPECT_FALSE(asn_oid_equal_(blob, SIX));
    blob.size = 7;
    EXPECT_FALSE(asn_oid_equal_(blob, SIX));
}

} // namespace
