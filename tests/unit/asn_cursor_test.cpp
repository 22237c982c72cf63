// The cursor that every reader walks DER with.
#include "asn/asn_cursor.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

using step_t = void (*)(asn_cursor_t& cursor, asn_tag_t::Type tag);

void expect_failed_and_empty(const asn_cursor_t& cursor) {
    EXPECT_FALSE(cursor.ok());
    EXPECT_TRUE(cursor.empty());
    EXPECT_EQ(cursor.size, 0u);
    EXPECT_EQ(cursor.rest().size, 0u);
    EXPECT_FALSE(cursor.next_is(asn_tag_t::INTEGER));
    EXPECT_FALSE(cursor.next_is(asn_tag_t::ANY));
}

void expect_no_view(const blob_t& view) {
    EXPECT_EQ(view.size, 0u);
    EXPECT_EQ(view.data, nullptr);
}

// A field of a record that already holds something.
const unsigned char USED[] = {0xDE, 0xAD};

blob_t used_field() {
    blob_t field;
    field.data = USED;
    field.size = sizeof USED;
    return field;
}

bool is_untouched(const blob_t& field) {
    return field.data == USED && field.size == sizeof USED;
}

// Each step takes the element; what it hands out must be empty when the cursor has failed, and a field keep its value.
struct step_case_t {
    const char* name;
    step_t take;
};

const step_case_t STEPS[] = {
    {"read",
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         const blob_t content = cursor.read(tag);
         if (!cursor.ok()) {
             expect_no_view(content);
         }
     }},
    {"enter",
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         const asn_cursor_t inside = cursor.enter(tag);
         EXPECT_EQ(inside.ok(), cursor.ok());
         if (!cursor.ok()) {
             expect_failed_and_empty(inside);
         }
     }},
    {"skip", [](asn_cursor_t& cursor, asn_tag_t::Type tag) { cursor.skip(tag); }},
    {"read_into_a_field",
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         blob_t field = used_field();
         cursor.read(tag, field);
         EXPECT_EQ(!cursor.ok(), is_untouched(field));
     }},
    {"read_element",
     [](asn_cursor_t& cursor, asn_tag_t::Type tag) {
         blob_t field = used_field();
         cursor.read_element(tag, field);
         EXPECT_EQ(!cursor.ok(), is_untouched(field));
     }},
};

class cursor_step : public testing::TestWithParam<step_case_t> {};
INSTANTIATE_TEST_SUITE_P(, cursor_step, testing::ValuesIn(STEPS), case_name_t());

TEST_P(cursor_step, moves_past_the_element) {
    const exact_bytes_t input(from_hex("02 01 05 04 82 00 02 AA BB 05 00"));
    asn_cursor_t cursor(input.data(), input.size());
    const struct {
        asn_tag_t::Type tag;
        unsigned int end;
    } elements[] = {{asn_tag_t::INTEGER, 3}, {asn_tag_t::ANY, 9}, {asn_tag_t::NULL_VALUE, 11}};
    for (const auto& element : elements) {
        GetParam().take(cursor, element.tag);
        EXPECT_TRUE(cursor.ok());
        EXPECT_EQ(cursor.p, input.data() + element.end);
        EXPECT_EQ(cursor.size, input.size() - element.end);
    }
    EXPECT_TRUE(cursor.empty());
}

TEST_P(cursor_step, fails_on_another_identifier) {
    const exact_bytes_t input(from_hex("02 01 05"));
    asn_cursor_t cursor(input.data(), input.size());
    GetParam().take(cursor, asn_tag_t::OCTET_STRING);
    expect_failed_and_empty(cursor);
}

TEST_P(cursor_step, fails_on_every_prefix_of_an_element) {
    for (const char* const element : {"04 03 01 02 03", "04 81 03 01 02 03", "04 84 00 00 00 03 01 02 03"}) {
        for_each_prefix(from_hex(element), [](const exact_bytes_t& prefix) {
            asn_cursor_t cursor(prefix.data(), prefix.size());
            GetParam().take(cursor, asn_tag_t::OCTET_STRING);
            expect_failed_and_empty(cursor);
        });
    }
}

TEST_P(cursor_step, fails_past_the_last_element_though_it_was_fine_until_then) {
    const exact_bytes_t input(from_hex("02 01 05"));
    asn_cursor_t cursor(input.data(), input.size());
    cursor.skip(asn_tag_t::INTEGER);
    EXPECT_TRUE(cursor.ok());
    GetParam().take(cursor, asn_tag_t::ANY);
    expect_failed_and_empty(cursor);
}

TEST_P(cursor_step, after_a_failure_stays_failed) {
    const exact_bytes_t input(from_hex("02 01 05 02 01 06"));
    asn_cursor_t cursor(input.data(), input.size());
    cursor.skip(asn_tag_t::NULL_VALUE);
    for (int i = 0; i < 3; ++i) {
        GetParam().take(cursor, asn_tag_t::INTEGER);
        expect_failed_and_empty(cursor);
        GetParam().take(cursor, asn_tag_t::ANY);
        expect_failed_and_empty(cursor);
    }
}

// asn1_read_tag() accepts these: its sum of header and length wraps to at most the six octets of the header.
TEST_P(cursor_step, refuses_a_length_whose_sum_with_the_header_wraps) {
    for (const char* const element :
         {"04 84 FF FF FF FA", "04 84 FF FF FF FB", "04 84 FF FF FF FC", "04 84 FF FF FF FD", "04 84 FF FF FF FE",
          "04 84 FF FF FF FF", "04 84 FF FF FF FF 01 02 03 04 05 06"}) {
        SCOPED_TRACE(element);
        const exact_bytes_t input(from_hex(element));
        unsigned int len = 0;
        ASSERT_NE(asn1_read_tag(asn_tag_t::OCTET_STRING, input.data(), input.size(), &len), nullptr);
        asn_cursor_t cursor(input.data(), input.size());
        GetParam().take(cursor, asn_tag_t::OCTET_STRING);
        expect_failed_and_empty(cursor);
    }
}

// Nothing behind the header is read, so it need not be there.
TEST_P(cursor_step, refuses_a_wrapping_length_in_the_largest_input) {
    for (const char* const header :
         {"04 84 FF FF FF FA", "04 84 FF FF FF FB", "04 84 FF FF FF FE", "04 84 FF FF FF FF"}) {
        SCOPED_TRACE(header);
        const exact_bytes_t input(from_hex(header));
        asn_cursor_t cursor(input.data(), 0xFFFFFFFF);
        GetParam().take(cursor, asn_tag_t::OCTET_STRING);
        expect_failed_and_empty(cursor);
    }
}

TEST_P(cursor_step, refuses_a_wrapping_length_behind_other_elements_and_inside_one) {
    const exact_bytes_t input(from_hex("30 0B 02 01 05 04 84 FF FF FF FA 05 00 05 00"));
    asn_cursor_t outer(input.data(), input.size());
    asn_cursor_t inner = outer.enter(asn_tag_t::SEQUENCE);
    inner.skip(asn_tag_t::INTEGER);
    EXPECT_TRUE(inner.ok());
    GetParam().take(inner, asn_tag_t::OCTET_STRING);
    expect_failed_and_empty(inner);
    EXPECT_TRUE(outer.ok());
    EXPECT_TRUE(outer.next_is(asn_tag_t::NULL_VALUE));
}

TEST(cursor, read_gives_a_view_of_the_content) {
    const exact_bytes_t input(from_hex("04 82 00 03 AA BB CC 05 00"));
    asn_cursor_t cursor(input.data(), input.size());
    const blob_t octets = cursor.read(asn_tag_t::OCTET_STRING);
    EXPECT_EQ(octets.data, input.data() + 4);
    EXPECT_EQ(octets.size, 3u);
    const blob_t nothing = cursor.read(asn_tag_t::NULL_VALUE);
    EXPECT_EQ(nothing.data, input.data() + 9);
    EXPECT_EQ(nothing.size, 0u);
}

TEST(cursor, read_fills_a_field_with_the_content) {
    const exact_bytes_t input(from_hex("04 82 00 03 AA BB CC 05 00"));
    asn_cursor_t cursor(input.data(), input.size());
    blob_t field = used_field();
    cursor.read(asn_tag_t::OCTET_STRING, field);
    EXPECT_EQ(field.data, input.data() + 4);
    EXPECT_EQ(field.size, 3u);
    cursor.read(asn_tag_t::NULL_VALUE, field);
    EXPECT_EQ(field.data, input.data() + 9);
    EXPECT_EQ(field.size, 0u);
}

TEST(cursor, read_element_fills_a_field_with_header_and_content) {
    const exact_bytes_t input(from_hex("04 82 00 03 AA BB CC 05 00"));
    asn_cursor_t cursor(input.data(), input.size());
    blob_t field = used_field();
    cursor.read_element(asn_tag_t::ANY, field);
    EXPECT_EQ(field.data, input.data());
    EXPECT_EQ(field.size, 7u);
    cursor.read_element(asn_tag_t::NULL_VALUE, field);
    EXPECT_EQ(field.data, input.data() + 7);
    EXPECT_EQ(field.size, 2u);
}

TEST(cursor, enter_gives_a_cursor_over_the_content_alone) {
    const exact_bytes_t input(from_hex("30 06 02 01 05 02 01 06 04 00"));
    asn_cursor_t outer(input.data(), input.size());
    asn_cursor_t inner = outer.enter(asn_tag_t::SEQUENCE);
    EXPECT_EQ(inner.p, input.data() + 2);
    EXPECT_EQ(inner.size, 6u);
    inner.skip(asn_tag_t::INTEGER);
    inner.skip(asn_tag_t::INTEGER);
    EXPECT_TRUE(inner.ok());
    EXPECT_TRUE(inner.empty());
    inner.skip(asn_tag_t::ANY);
    expect_failed_and_empty(inner);
    EXPECT_TRUE(outer.ok()) << "a failure inside is not one outside";
    EXPECT_TRUE(outer.next_is(asn_tag_t::OCTET_STRING));
}

TEST(cursor, element_inside_must_not_run_past_the_one_around_it) {
    const exact_bytes_t input(from_hex("30 03 04 02 AA BB CC"));
    asn_cursor_t outer(input.data(), input.size());
    asn_cursor_t inner = outer.enter(asn_tag_t::SEQUENCE);
    expect_no_view(inner.read(asn_tag_t::OCTET_STRING));
    expect_failed_and_empty(inner);
    EXPECT_EQ(outer.size, 2u);
}

TEST(cursor, entering_nothing_and_an_empty_element_differ) {
    const exact_bytes_t input(from_hex("30 00"));
    asn_cursor_t cursor(input.data(), input.size());
    const asn_cursor_t empty = cursor.enter(asn_tag_t::SEQUENCE);
    EXPECT_TRUE(empty.ok());
    EXPECT_TRUE(empty.empty());
    expect_failed_and_empty(cursor.enter(asn_tag_t::SEQUENCE));
}

TEST(cursor, next_is_looks_at_the_identifier_alone_and_moves_nothing) {
    const exact_bytes_t input(from_hex("02"));
    asn_cursor_t cursor(input.data(), input.size());
    EXPECT_TRUE(cursor.next_is(asn_tag_t::INTEGER));
    EXPECT_FALSE(cursor.next_is(asn_tag_t::NULL_VALUE));
    EXPECT_FALSE(cursor.next_is(asn_tag_t::ANY)) << "no wildcard here";
    EXPECT_TRUE(cursor.ok());
    EXPECT_EQ(cursor.p, input.data());
    EXPECT_EQ(cursor.size, 1u);
}

TEST(cursor, rest_gives_what_is_left_and_moves_nothing) {
    const exact_bytes_t input(from_hex("02 01 05 FF FF FF"));
    asn_cursor_t cursor(input.data(), input.size());
    cursor.skip(asn_tag_t::INTEGER);
    EXPECT_EQ(cursor.rest().data, input.data() + 3);
    EXPECT_EQ(cursor.rest().size, 3u);
    EXPECT_TRUE(cursor.ok());
    EXPECT_EQ(cursor.size, 3u);
}

TEST(cursor, nothing_to_read_is_no_failure_until_something_is_read) {
    asn_cursor_t cursor{blob_t()};
    EXPECT_TRUE(cursor.ok());
    EXPECT_TRUE(cursor.empty());
    EXPECT_FALSE(cursor.next_is(asn_tag_t::INTEGER));
    EXPECT_EQ(cursor.rest().size, 0u);
    expect_no_view(cursor.read(asn_tag_t::ANY));
    expect_failed_and_empty(cursor);
}

TEST(cursor, over_a_blob_starts_at_its_first_octet) {
    const exact_bytes_t input(from_hex("02 01 05 00"));
    blob_t blob;
    blob.data = input.data();
    blob.size = 3;
    const asn_cursor_t cursor(blob);
    EXPECT_EQ(cursor.p, input.data());
    EXPECT_EQ(cursor.size, 3u);
}

TEST(cursor, over_a_string_views_it_and_never_a_temporary_one) {
    const std::string bytes = from_hex("04 01 00 00");
    asn_cursor_t cursor(bytes);
    EXPECT_EQ(static_cast<const void*>(cursor.p), bytes.data());
    EXPECT_EQ(cursor.size, 4u);
    cursor.skip(asn_tag_t::OCTET_STRING);
    EXPECT_EQ(cursor.size, 1u) << "zero octets do not end it";
    static_assert(!std::is_constructible_v<asn_cursor_t, std::string>);
}

TEST(cursor, goes_up_to_the_end_of_the_outer_one) {
    const exact_bytes_t input(from_hex("30 03 02 01 05 02 01 06 FF"));
    asn_cursor_t outer(input.data(), input.size());
    asn_cursor_t inner = outer.enter(asn_tag_t::SEQUENCE);
    inner.skip(asn_tag_t::INTEGER);
    EXPECT_TRUE(inner.empty());
    asn_cursor_t longer = inner.up_to_end_of(outer);
    EXPECT_EQ(longer.p, inner.p);
    EXPECT_EQ(longer.size, 4u);
    const blob_t second = longer.read(asn_tag_t::INTEGER);
    EXPECT_TRUE(longer.ok());
    EXPECT_TRUE(same_bytes(from_hex("06"), as_chars(second.data, second.size)));
    EXPECT_TRUE(same_bytes(from_hex("FF"), as_chars(longer.p, longer.size)));
    EXPECT_TRUE(inner.empty()) << "the inner cursor does not move";
}

TEST(cursor, that_failed_does_not_go_on_up_to_the_end_of_the_outer_one) {
    const exact_bytes_t input(from_hex("30 03 02 01 05 02 01 06"));
    asn_cursor_t outer(input.data(), input.size());
    asn_cursor_t inner = outer.enter(asn_tag_t::SEQUENCE);
    inner.skip(asn_tag_t::OCTET_STRING);
    EXPECT_TRUE(outer.ok()) << "a failure does not travel up";
    const asn_cursor_t longer = inner.up_to_end_of(outer);
    EXPECT_FALSE(longer.ok());
    EXPECT_TRUE(longer.empty());
}

TEST(cursor, steps_in_a_straight_line_end_in_one_verdict) {
    const std::string whole = from_hex("30 0E 02 01 00 30 05 06 03 55 04 03 04 02 AA BB");
    const auto read_it = [](const exact_bytes_t& input, blob_t& octets) {
        asn_cursor_t cursor(input.data(), input.size());
        asn_cursor_t outer = cursor.enter(asn_tag_t::SEQUENCE);
        outer.skip(asn_tag_t::INTEGER);
        asn_cursor_t algorithm = outer.enter(asn_tag_t::SEQUENCE);
        algorithm.skip(asn_tag_t::OBJECT_IDENTIFIER);
        octets = outer.read(asn_tag_t::OCTET_STRING);
        return outer.ok() && algorithm.ok();
    };
    blob_t octets;
    const exact_bytes_t input(whole);
    EXPECT_TRUE(read_it(input, octets));
    EXPECT_TRUE(same_bytes(from_hex("AA BB"), as_chars(octets.data, octets.size)));
    for_each_prefix(whole, [&](const exact_bytes_t& prefix) {
        EXPECT_FALSE(read_it(prefix, octets));
        expect_no_view(octets);
    });
}

} // namespace
