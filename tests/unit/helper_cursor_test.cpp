// The cursor for callers does what the library's own does, whatever the input.
#include "derkit/helpers/cursor.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "asn/asn_cursor.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/vectors.h"
#include "testing/views.h"

namespace {

using derkit::cursor;

const char* const INPUTS[] = {
    "",
    "02",
    "02 01 05 04 82 00 02 AA BB 30 03 02 01 05 05 00",
    "30 0B 02 01 05 04 84 FF FF FF FA 05 00 05 00",
    "30 07 02 01 05 04 03 AA BB 05 00 05 00",
    "30 80 02 01 05 00 00",
    "04 81 03 01 02 03",
    "04 85 00 00 00 00 01 AA",
    "04 84 FF FF FF FA",
    "04 84 FF FF FF FF 01 02 03 04 05 06",
};
const asn_tag_t::Type TAGS[] = {asn_tag_t::ANY, asn_tag_t::INTEGER, asn_tag_t::OCTET_STRING, asn_tag_t::SEQUENCE};

void expect_same(const asn_cursor_t& expected, const cursor& actual) {
    EXPECT_EQ(expected.ok(), actual.ok());
    EXPECT_EQ(expected.empty(), actual.empty());
    EXPECT_EQ(expected.rest().size, actual.rest().size);
    EXPECT_EQ(expected.rest().data, actual.rest().data);
    for (const asn_tag_t::Type tag : TAGS) {
        EXPECT_EQ(expected.next_is(tag), actual.next_is(tag));
    }
}

void expect_same(const blob_t& expected, const blob_t& actual) {
    EXPECT_EQ(expected.data, actual.data);
    EXPECT_EQ(expected.size, actual.size);
}

// Tries every step and goes on after it, into the elements too.
void walk(const asn_cursor_t& theirs, const cursor& ours, int depth) {
    expect_same(theirs, ours);
    if (depth == 0) {
        return;
    }
    for (const asn_tag_t::Type tag : TAGS) {
        {
            asn_cursor_t expected = theirs;
            cursor actual = ours;
            expect_same(expected.read(tag), actual.read(tag));
            walk(expected, actual, depth - 1);
        }
        {
            asn_cursor_t expected = theirs;
            cursor actual = ours;
            blob_t element;
            expected.read_element(tag, element);
            expect_same(element, actual.read_element(tag));
            expect_same(expected, actual);
        }
        {
            asn_cursor_t expected = theirs;
            cursor actual = ours;
            const asn_cursor_t inside = expected.enter(tag);
            walk(inside, actual.enter(tag), depth - 1);
            expect_same(expected, actual);
        }
        {
            asn_cursor_t expected = theirs;
            cursor actual = ours;
            expected.skip(tag);
            actual.skip(tag);
            expect_same(expected, actual);
        }
    }
}

TEST(helper_cursor, takes_the_steps_of_the_library_s_cursor) {
    for (const char* const input : INPUTS) {
        for_each_prefix(from_hex(input) + '\x05', [](const exact_bytes_t& bytes) {
            walk(asn_cursor_t(bytes.data(), bytes.size()), cursor(bytes.data(), bytes.size()), 3);
        });
    }
}

TEST(helper_cursor, skips_an_optional_element) {
    const exact_bytes_t bytes(from_hex("A0 01 00 02 01 05 04 7F"));
    cursor in{view_of(bytes.text())};
    EXPECT_FALSE(in.skip_if(asn_tag_t::INTEGER));
    EXPECT_EQ(in.rest().data, bytes.data());
    EXPECT_TRUE(in.skip_if(asn_tag_t::CONTEXT_0));
    EXPECT_EQ(in.rest().data, bytes.data() + 3);
    EXPECT_TRUE(in.skip_if(asn_tag_t::INTEGER));
    EXPECT_TRUE(in.ok());
    EXPECT_FALSE(in.skip_if(asn_tag_t::OCTET_STRING)) << "it is there, but cut";
    EXPECT_FALSE(in.ok());
    EXPECT_FALSE(in.skip_if(asn_tag_t::OCTET_STRING));
}

TEST(element_size, is_that_of_header_and_content) {
    const struct {
        const char* header;
        unsigned long long size;
    } cases[] = {
        {"", 0},
        {"30", 0},
        {"30 00", 2},
        {"30 7F", 129},
        {"30 80", 0},
        {"30 80 00 00 00 00", 0},
        {"30 81", 0},
        {"30 81 FF", 258},
        {"30 82 01", 0},
        {"30 82 01 00", 260},
        {"30 82 01 00 FF FF", 260},
        {"04 83 01 00 00", 0x10005},
        {"04 84 00 00 00", 0},
        {"04 84 00 00 00 01", 7},
        {"04 84 FF FF FF FA", 0x100000000},
        {"04 84 FF FF FF FF", 0x100000005},
        {"04 85 00 00 00 00 01", 0},
        {"04 FF 00 00 00 00 01", 0},
    };
    for (const auto& c : cases) {
        const exact_bytes_t header(from_hex(c.header));
        EXPECT_EQ(derkit::element_size(header.data(), header.size()), c.size) << c.header;
    }
}

} // namespace
