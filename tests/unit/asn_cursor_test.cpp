// The cursor that every reader walks DER with.
#include "asn/asn_cursor.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/untouched.h"

namespace {

// A cursor over octets in a block of their own.
struct cursor_input_t {
    explicit cursor_input_t(std::string_view hex) : octets(from_hex(hex)), cursor(octets.data(), octets.size()) {}

    exact_bytes_t octets;
    asn_cursor_t cursor;
};

void expect_view(const blob_t& view, const unsigned char* data, unsigned int size) {
    EXPECT_EQ(view.data, data);
    EXPECT_EQ(view.size, size);
}

// Not moved by looking.
void expect_rest(const asn_cursor_t& cursor, const unsigned char* data, unsigned int size) {
    expect_view(cursor.rest(), data, size);
    EXPECT_TRUE(cursor.ok());
    EXPECT_EQ(cursor.p, data);
    EXPECT_EQ(cursor.size, size);
    EXPECT_EQ(cursor.empty(), size == 0);
}

void expect_failed(const asn_cursor_t& cursor) {
    EXPECT_FALSE(cursor.ok());
    EXPECT_TRUE(cursor.empty());
    EXPECT_EQ(cursor.size, 0u);
    EXPECT_EQ(cursor.rest().size, 0u);
    EXPECT_FALSE(cursor.next_is(asn_tag_t::INTEGER));
    EXPECT_FALSE(cursor.next_is(asn_tag_t::ANY));
}

// ---- every step ----

enum shows_t { NOTHING, CONTENT, ELEMENT };

// `take` returns what the step hands out. A field that was used before keeps its value on failure.
struct step_case_t {
    const char* name;
    shows_t shows;
    bool keeps_field;
    blob_t (*take)(asn_cursor_t& cursor, asn_tag_t::Type tag);
};

const step_case_t STEPS[] = {
    {"read", CONTENT, false, [](asn_cursor_t& cursor, asn_tag_t::Type tag) { return cursor.read(tag); }},
    {"skip", NOTHING, false,
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         cursor.skip(tag);
         return blob_t();
     }},
    {"enter", CONTENT, false,
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         const asn_cursor_t inside = cursor.enter(tag);
         EXPECT_EQ(inside.ok(), cursor.ok());
         if (!cursor.ok()) {
             expect_failed(inside);
         }
         return inside.rest();
     }},
    {"read_into_a_field", CONTENT, true,
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         blob_t field = untouched_view();
         cursor.read(tag, field);
         return field;
     }},
    {"read_element", ELEMENT, true,
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         blob_t field = untouched_view();
         cursor.read_element(tag, field);
         return field;
     }},
};

class cursor_step : public testing::TestWithParam<step_case_t> {
  protected:
    static void expect_failure(asn_cursor_t& cursor, asn_tag_t::Type tag) {
        const blob_t field = GetParam().keeps_field ? untouched_view() : blob_t();
        const blob_t view = GetParam().take(cursor, tag);
        expect_view(view, field.data, field.size);
        expect_failed(cursor);
    }
};
INSTANTIATE_TEST_SUITE_P(, cursor_step, testing::ValuesIn(STEPS), case_name_t());

TEST_P(cursor_step, hands_out_its_part_of_the_element_and_moves_past_it) {
    cursor_input_t in("02 01 05 04 82 00 02 AA BB 30 03 02 01 05 05 00");
    const struct {
        asn_tag_t::Type tag;
        unsigned int header_size;
        unsigned int content_size;
    } elements[] = {
        {asn_tag_t::INTEGER, 2, 1}, {asn_tag_t::ANY, 4, 2}, {asn_tag_t::SEQUENCE, 2, 3}, {asn_tag_t::NULL_VALUE, 2, 0}};
    unsigned int begin = 0;
    for (const auto& element : elements) {
        const blob_t view = GetParam().take(in.cursor, element.tag);
        const unsigned int content = begin + element.header_size;
        const unsigned int end = content + element.content_size;
        switch (GetParam().shows) {
        case NOTHING:
            expect_view(view, nullptr, 0);
            break;
        case CONTENT:
            expect_view(view, in.octets.data() + content, end - content);
            break;
        case ELEMENT:
            expect_view(view, in.octets.data() + begin, end - begin);
            break;
        }
        expect_rest(in.cursor, in.octets.data() + end, in.octets.size() - end);
        begin = end;
    }
    expect_failure(in.cursor, asn_tag_t::ANY);
}

TEST_P(cursor_step, fails_on_another_identifier_and_stays_failed) {
    cursor_input_t in("02 01 05 02 01 06");
    expect_failure(in.cursor, asn_tag_t::OCTET_STRING);
    for (int i = 0; i < 3; ++i) {
        expect_failure(in.cursor, asn_tag_t::INTEGER);
        expect_failure(in.cursor, asn_tag_t::ANY);
    }
}

TEST_P(cursor_step, fails_on_every_prefix_of_an_element) {
    for (const char* const element : {"04 03 01 02 03", "04 81 03 01 02 03", "04 84 00 00 00 03 01 02 03"}) {
        for_each_prefix(from_hex(element), [](const exact_bytes_t& prefix) {
            asn_cursor_t cursor(prefix.data(), prefix.size());
            expect_failure(cursor, asn_tag_t::OCTET_STRING);
        });
    }
}

// asn1_read_tag() accepts these: its sum of header and length wraps to at most the six octets of the header.
TEST_P(cursor_step, fails_on_a_length_whose_sum_with_the_header_wraps) {
    for (const char* const element :
         {"04 84 FF FF FF FA", "04 84 FF FF FF FB", "04 84 FF FF FF FC", "04 84 FF FF FF FD", "04 84 FF FF FF FE",
          "04 84 FF FF FF FF", "04 84 FF FF FF FF 01 02 03 04 05 06"}) {
        SCOPED_TRACE(element);
        cursor_input_t in(element);
        unsigned int len = 0;
        EXPECT_NE(asn1_read_tag(asn_tag_t::OCTET_STRING, in.octets.data(), in.octets.size(), &len), nullptr);
        expect_failure(in.cursor, asn_tag_t::OCTET_STRING);

        // Nothing after the header is read, so the largest input need not be there.
        asn_cursor_t largest(in.octets.data(), 0xFFFFFFFF);
        expect_failure(largest, asn_tag_t::OCTET_STRING);
    }
}

TEST_P(cursor_step, fails_inside_an_element_and_not_outside_it) {
    for (const char* const element : {"30 0B 02 01 05 04 84 FF FF FF FA 05 00 05 00", // wraps
                                      "30 07 02 01 05 04 03 AA BB 05 00 05 00"}) {    // ends outside
        SCOPED_TRACE(element);
        cursor_input_t in(element);
        asn_cursor_t inside = in.cursor.enter(asn_tag_t::SEQUENCE);
        inside.skip(asn_tag_t::INTEGER);
        EXPECT_TRUE(inside.ok());
        expect_failure(inside, asn_tag_t::OCTET_STRING);
        expect_failed(inside.up_to_end_of(in.cursor));
        const unsigned int end = in.octets.data()[1] + 2u;
        expect_rest(in.cursor, in.octets.data() + end, in.octets.size() - end);
        EXPECT_TRUE(in.cursor.next_is(asn_tag_t::NULL_VALUE));
    }
}

// ---- the cursor ----

TEST(cursor, entering_nothing_and_an_empty_element_differ) {
    cursor_input_t in("30 00");
    expect_rest(in.cursor.enter(asn_tag_t::SEQUENCE), in.octets.data() + 2, 0);
    expect_failed(in.cursor.enter(asn_tag_t::SEQUENCE));
}

TEST(cursor, next_is_looks_at_the_identifier_alone) {
    const cursor_input_t in("02");
    EXPECT_TRUE(in.cursor.next_is(asn_tag_t::INTEGER));
    EXPECT_FALSE(in.cursor.next_is(asn_tag_t::NULL_VALUE));
    EXPECT_FALSE(in.cursor.next_is(asn_tag_t::ANY)) << "no wildcard here";
    expect_rest(in.cursor, in.octets.data(), 1);
}

TEST(cursor, over_nothing_fails_only_when_something_is_read) {
    asn_cursor_t cursor{blob_t()};
    expect_rest(cursor, nullptr, 0);
    EXPECT_FALSE(cursor.next_is(asn_tag_t::INTEGER));
    expect_view(cursor.read(asn_tag_t::ANY), nullptr, 0);
    expect_failed(cursor);
}

TEST(cursor, views_a_blob_or_a_string_but_never_a_temporary_one) {
    const std::string bytes = from_hex("04 01 00 00");
    const unsigned char* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    expect_rest(asn_cursor_t(view_of(std::string_view(bytes).substr(0, 3))), data, 3);
    expect_rest(asn_cursor_t(bytes), data, 4); // zero octets do not end it
    static_assert(!std::is_constructible_v<asn_cursor_t, std::string>);
}

TEST(cursor, goes_up_to_the_end_of_the_outer_one) {
    cursor_input_t in("30 03 02 01 05 02 01 06 FF");
    asn_cursor_t inside = in.cursor.enter(asn_tag_t::SEQUENCE);
    inside.skip(asn_tag_t::INTEGER);
    asn_cursor_t longer = inside.up_to_end_of(in.cursor);
    expect_rest(longer, in.octets.data() + 5, 4);
    longer.skip(asn_tag_t::INTEGER);
    expect_rest(longer, in.octets.data() + 8, 1);
    expect_rest(inside, in.octets.data() + 5, 0); // not moved
}

} // namespace
