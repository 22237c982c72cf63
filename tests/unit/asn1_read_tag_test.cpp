// The header of one element: identifier octet and length octets (X.690 8.1.2, 8.1.3).
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "support/vectors.h"
#include "testing/bytes.h"

namespace {

constexpr unsigned int UNTOUCHED_LEN = 0x5EEDF00D;

struct outcome_t {
    long offset; // of the content; -1 for the null pointer
    unsigned int len;

    bool operator==(const outcome_t&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const outcome_t& outcome) {
        return out << "offset " << outcome.offset << ", length " << outcome.len;
    }
};

outcome_t refused(unsigned int len = UNTOUCHED_LEN) {
    return {-1, len};
}

outcome_t read_tag(unsigned int tag, const unsigned char* p, unsigned int size) {
    outcome_t outcome = refused();
    const unsigned char* const content = asn1_read_tag(static_cast<asn_tag_t::Type>(tag), p, size, &outcome.len);
    if (content != nullptr) {
        outcome.offset = static_cast<long>(content - p);
    }
    return outcome;
}

outcome_t read_tag(unsigned int tag, const std::string& bytes) {
    const exact_bytes_t input(bytes);
    return read_tag(tag, input.data(), input.size());
}

// The content of these starts after the header, whatever follows; without their last octet they are refused, and the
// length is stored as soon as the header is whole.
TEST(asn1_read_tag, accepts_whole_elements) {
    for_each_vector("tags.txt", [](const vector_t& vector) {
        const unsigned int tag = vector.number("tag", 16);
        const unsigned int content_size = vector.number("content size");
        const std::string header = vector.bytes("header");
        const std::string whole = header + std::string(content_size, '\x5A');
        const outcome_t expected = {static_cast<long>(header.size()), content_size};
        EXPECT_EQ(expected, read_tag(tag, whole));
        EXPECT_EQ(expected, read_tag(tag, whole + "\xFF\xFF\xFF"));
        EXPECT_EQ(-1, read_tag(tag, whole.substr(0, whole.size() - 1)).offset);
        for_each_prefix(whole.substr(0, header.size() + 4), [&](const exact_bytes_t& prefix) {
            const bool header_is_whole = prefix.size() >= header.size();
            EXPECT_EQ(refused(header_is_whole ? content_size : UNTOUCHED_LEN),
                      read_tag(tag, prefix.data(), prefix.size()));
        });
    });
}

TEST(asn1_read_tag, refuses_headers) {
    for_each_vector("tags-refused.txt", [](const vector_t& vector) {
        EXPECT_EQ(refused(vector.has("stored size") ? vector.number("stored size") : UNTOUCHED_LEN),
                  read_tag(vector.number("tag", 16), vector.bytes("input")));
    });
}

TEST(asn1_read_tag, does_not_look_at_fewer_than_two_octets) {
    EXPECT_EQ(refused(), read_tag(0x00, nullptr, 0));
    EXPECT_EQ(refused(), read_tag(0x30, nullptr, 1));
}

TEST(asn1_read_tag, takes_any_identifier_for_the_wildcard_and_otherwise_the_one_asked_for) {
    for (unsigned int identifier = 0; identifier < 256; ++identifier) {
        const exact_bytes_t input(std::string(1, static_cast<char>(identifier)) + from_hex("01 AA"));
        EXPECT_EQ(2, read_tag(0, input.data(), input.size()).offset) << identifier;
        for (unsigned int tag = 1; tag < 256; ++tag) {
            EXPECT_EQ(tag == identifier ? 2 : -1, read_tag(tag, input.data(), input.size()).offset)
                << "tag " << tag << ", identifier " << identifier;
        }
    }
}

// The content is not read, so it need not be there.
TEST(asn1_read_tag, checks_the_end_by_a_sum_of_32_bits) {
    const struct {
        const char* name;
        const char* header;
        unsigned int claimed_size;
        outcome_t expected;
    } bounds[] = {
        {"lengths are unsigned", "04 84 80 00 00 00", 0x80000006, {6, 0x80000000}},
        {"one octet short of 2^31", "04 84 80 00 00 00", 0x80000005, refused(0x80000000)},
        {"last sum that does not wrap", "04 84 FF FF FF F9", 0xFFFFFFFF, {6, 0xFFFFFFF9}},
        {"the same, an octet short", "04 84 FF FF FF F9", 0xFFFFFFFE, refused(0xFFFFFFF9)},
        {"the same of a small input", "04 84 FF FF FF F9", 6, refused(0xFFFFFFF9)},
        {"sum wraps to 0", "04 84 FF FF FF FA", 6, {6, 0xFFFFFFFA}},
        {"sum wraps to 1", "04 84 FF FF FF FB", 6, {6, 0xFFFFFFFB}},
        {"sum wraps to 5", "04 84 FF FF FF FF", 6, {6, 0xFFFFFFFF}},
        {"sum wraps but the header is cut short", "04 84 FF FF FF", 5, refused()},
    };
    for (const auto& b : bounds) {
        const exact_bytes_t input(from_hex(b.header));
        EXPECT_EQ(b.expected, read_tag(0x04, input.data(), b.claimed_size)) << b.name;
    }
}

} // namespace
