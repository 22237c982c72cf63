// Content octets of small INTEGERs (X.690 8.3), and OID content compared with a constant.
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "support/vectors.h"
#include "testing/bytes.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

constexpr unsigned int NO_BOUND = 0xFFFFFFFF;

TEST(asn_read_INTEGER, decodes_content) {
    for_each_vector("integers.txt", [](const vector_t& vector) {
        const exact_bytes_t content(vector.bytes("content"));
        unsigned int value = UNTOUCHED_NUMBER;
        EXPECT_EQ(vector.yes("accepted"),
                  asn_read_INTEGER(content.data(), content.size(), value, vector.number("bound", 16)));
        EXPECT_EQ(vector.has("value") ? vector.number("value", 16) : UNTOUCHED_NUMBER, value);
    });
}

TEST(asn_read_INTEGER, does_not_look_at_empty_content) {
    unsigned int value = UNTOUCHED_NUMBER;
    EXPECT_TRUE(asn_read_INTEGER(nullptr, 0, value, NO_BOUND));
    EXPECT_EQ(UNTOUCHED_NUMBER, value);
}

TEST(asn_write_INTEGER, appends_content_without_zero_octets) {
    for_each_vector("integers-written.txt", [](const vector_t& vector) {
        std::string out("\x30\x00", 2);
        asn_write_INTEGER(vector.number("case", 16), out);
        EXPECT_TRUE(same_bytes(from_hex("30 00") + vector.bytes("content"), out));
    });
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
            unsigned int read_back = UNTOUCHED_NUMBER;
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
