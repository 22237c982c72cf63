// How the text of a DN is taken apart into attributes.
#include "asn/asn_printable_syntax.h"

#include <gtest/gtest.h>

#include "support/expect.h"
#include "testing/bytes.h"

namespace {

// "(CN)(a)+(OU)(b),(O)(c)": type and value in parentheses, '+' or ',' in front by the flag.
std::string show(const std::vector<RDNdescr_t>& attributes) {
    std::string shown;
    for (const RDNdescr_t& attribute : attributes) {
        const bool first = shown.empty();
        if (!first || attribute.plus_joined) {
            shown += attribute.plus_joined ? '+' : ',';
        }
        shown += '(' + std::string(attribute.type_begin, attribute.type_end) + ")(" +
                 std::string(attribute.value_begin, attribute.value_end) + ')';
    }
    return shown;
}

// The text with its final zero in a block of exactly that size.
exact_bytes_t zero_terminated(std::string_view text) {
    return exact_bytes_t(std::string(text) + '\0');
}

struct dn_syntax_case_t {
    const char* name;
    const char* dn;
    bool parses;
    const char* attributes; // of a text that does not parse: those before the error
};

class dn_syntax : public testing::TestWithParam<dn_syntax_case_t> {};

TEST_P(dn_syntax, gives_these_attributes) {
    const exact_bytes_t dn = zero_terminated(GetParam().dn);
    std::vector<RDNdescr_t> attributes;
    EXPECT_EQ(GetParam().parses, printable_dn_parse(dn.chars(), attributes) != 0) << GetParam().dn;
    EXPECT_TRUE(same_bytes(GetParam().attributes, show(attributes))) << show(attributes);
}

const dn_syntax_case_t ACCEPTED[] = {
    // No attributes.
    {"empty_text", "", true, ""},
    {"blanks_alone", "   ", true, ""},
    {"tabs_alone", "\t \t", true, ""},
    // One attribute.
    {"type_and_value", "CN=x", true, "(CN)(x)"},
    {"dotted_type", "2.5.4.3=x", true, "(2.5.4.3)(x)"},
    {"leading_blanks_are_skipped", " \t CN=x", true, "(CN)(x)"},
    {"blanks_before_equals_belong_to_nothing", "CN \t =x", true, "(CN)(x)"},
    {"blanks_after_equals_belong_to_the_value", "CN=  x", true, "(CN)(  x)"},
    {"blank_on_both_sides_of_equals", "CN = x", true, "(CN)( x)"},
    {"tab_after_equals_belongs_to_the_value", "CN=\tx", true, "(CN)(\tx)"},
    {"trailing_blanks_belong_to_the_value", "CN=x \t", true, "(CN)(x \t)"},
    {"empty_value", "CN=", true, "(CN)()"},
    {"blank_value", "CN= ", true, "(CN)( )"},
    {"further_equals_signs_belong_to_the_value", "CN=a=b==", true, "(CN)(a=b==)"},
    {"utf8_is_text_like_any_other", "\xD0\xA4=\xD0\x98", true, "(\xD0\xA4)(\xD0\x98)"},
    {"newlines_are_not_blanks", "\nCN\r=\v", true, "(\nCN\r)(\v)"},
    // Types are any text.
    {"backslash_in_type_escapes_nothing", "C\\=N=x", true, "(C\\)(N=x)"},
    {"quotes_in_type_quote_nothing", "\"C=N\"=x\"", true, "(\"C)(N\"=x\")"},
    {"comma_inside_type", "a,b=x", true, "(a,b)(x)"},
    {"plus_inside_type", "a+b=x", true, "(a+b)(x)"},
    {"comma_before_type_is_part_of_it", ",O=x", true, "(,O)(x)"},
    {"plus_before_type_is_part_of_it", "+O=x", true, "(+O)(x)"},
    {"second_comma_is_part_of_the_type", "CN=a,,O=b", true, "(CN)(a),(,O)(b)"},
    {"plus_behind_comma_is_part_of_the_type", "CN=a,+O=b", true, "(CN)(a),(+O)(b)"},
    {"comma_behind_plus_is_part_of_the_type", "CN=a+,O=b", true, "(CN)(a)+(,O)(b)"},
    // Several attributes.
    {"comma_separates_rdns", "CN=a,O=b", true, "(CN)(a),(O)(b)"},
    {"plus_joins_attributes_of_one_rdn", "CN=a+OU=b", true, "(CN)(a)+(OU)(b)"},
    {"comma_ends_a_joined_rdn", "CN=a+OU=b+L=c,O=d", true, "(CN)(a)+(OU)(b)+(L)(c),(O)(d)"},
    {"plus_behind_a_comma", "O=a,CN=b+OU=c", true, "(O)(a),(CN)(b)+(OU)(c)"},
    {"blanks_behind_separators_are_skipped", "CN=a, O=b+\t OU=c", true, "(CN)(a),(O)(b)+(OU)(c)"},
    {"blanks_before_separators_belong_to_the_value", "CN=a , O=b\t+ OU=c", true, "(CN)(a ),(O)(b\t)+(OU)(c)"},
    {"empty_values_between_separators", "CN=,O=+OU=", true, "(CN)(),(O)()+(OU)()"},
    {"semicolon_does_not_separate", "CN=a;O=b,C=c", true, "(CN)(a;O=b),(C)(c)"},
    {"same_type_twice", "CN=a,CN=a", true, "(CN)(a),(CN)(a)"},
    // Double quotes.
    {"separators_in_quotes_are_text", "CN=\"a,b+c\",O=d", true, "(CN)(\"a,b+c\"),(O)(d)"},
    {"quotes_stay_in_the_value", "CN=\"\"", true, "(CN)(\"\")"},
    {"quotes_open_anywhere_in_a_value", "CN=a\"b,c\"d,O=e", true, "(CN)(a\"b,c\"d),(O)(e)"},
    {"quotes_open_more_than_once", "CN=\"a,\"b\",c\",O=d", true, "(CN)(\"a,\"b\",c\"),(O)(d)"},
    {"quotes_close_before_a_separator", "CN=\"a\"+OU=\"b\",O=\"c\"", true, "(CN)(\"a\")+(OU)(\"b\"),(O)(\"c\")"},
    // Backslashes.
    {"escaped_comma_is_text", "CN=a\\,b", true, "(CN)(a\\,b)"},
    {"escaped_plus_is_text", "CN=a\\+b", true, "(CN)(a\\+b)"},
    {"escaped_quote_opens_nothing", "CN=a\\\"b,O=c", true, "(CN)(a\\\"b),(O)(c)"},
    {"escaped_quote_closes_nothing", "CN=\"a\\\"b,c\",O=d", true, "(CN)(\"a\\\"b,c\"),(O)(d)"},
    {"escaped_backslash_escapes_nothing", "CN=a\\\\,O=b", true, "(CN)(a\\\\),(O)(b)"},
    {"third_backslash_escapes_again", "CN=a\\\\\\,O=b", true, "(CN)(a\\\\\\,O=b)"},
    {"escaped_backslash_in_quotes", "CN=\"a\\\\\",O=b", true, "(CN)(\"a\\\\\"),(O)(b)"},
    {"hexadecimal_escape_takes_one_character", "CN=\\2C,O=b", true, "(CN)(\\2C),(O)(b)"},
    {"backslash_at_the_very_end", "CN=a\\", true, "(CN)(a\\)"},
    {"backslash_as_the_whole_value", "CN=\\", true, "(CN)(\\)"},
};

const dn_syntax_case_t REFUSED[] = {
    {"type_alone", "CN", false, ""},
    {"type_and_blanks_alone", "CN  ", false, ""},
    {"text_behind_the_blanks_of_a_type", "C N=x", false, ""},
    {"empty_type", "=x", false, ""},
    {"empty_type_behind_blanks", "  =x", false, ""},
    {"comma_alone_as_type", ",=x", false, ""},
    {"plus_alone_as_type", "+=x", false, ""},
    {"separators_alone_as_type", ",+,=x", false, ""},
    {"separator_alone_as_type_before_blanks", ", =x", false, ""},
    {"comma_alone", ",", false, ""},
    {"separator_and_blank_before_a_type", ", CN=x", false, ""},
    {"open_quote", "CN=\"", false, ""},
    {"quote_open_at_the_end", "CN=\"a,O=b", false, ""},
    {"quote_open_behind_a_closed_one", "CN=\"a\"\"", false, ""},
    {"quote_left_open_by_an_escaped_one", "CN=\"a\\\"", false, ""},
    {"quote_open_and_backslash_at_the_end", "CN=\"a\\", false, ""},
    // What came before the error stays.
    {"trailing_comma", "CN=x,", false, "(CN)(x)"},
    {"trailing_plus", "CN=x+", false, "(CN)(x)"},
    {"trailing_comma_and_blanks", "CN=x, \t", false, "(CN)(x)"},
    {"trailing_plus_and_blank", "CN=x+ ", false, "(CN)(x)"},
    {"two_trailing_commas", "CN=x,,", false, "(CN)(x)"},
    {"comma_behind_an_escaped_backslash_at_the_end", "CN=x\\\\,", false, "(CN)(x\\\\)"},
    {"second_type_empty", "CN=a,=b", false, "(CN)(a)"},
    {"second_type_empty_behind_plus", "CN=a+=b", false, "(CN)(a)"},
    {"second_type_of_a_separator_alone", "CN=a,,=b", false, "(CN)(a)"},
    {"second_type_alone", "CN=a,O", false, "(CN)(a)"},
    {"second_type_in_two_words", "CN=a,O U=b", false, "(CN)(a)"},
    {"second_quote_open", "CN=\"a\",O=\"b", false, "(CN)(\"a\")"},
    {"text_behind_an_escaped_quote_is_not_quoted", "CN=\\\"a,b\"", false, "(CN)(\\\"a)"},
    {"third_attribute_broken", "CN=a+OU=b,O", false, "(CN)(a)+(OU)(b)"},
};

INSTANTIATE_TEST_SUITE_P(accepts, dn_syntax, testing::ValuesIn(ACCEPTED), case_name_t());
INSTANTIATE_TEST_SUITE_P(refuses, dn_syntax, testing::ValuesIn(REFUSED), case_name_t());

TEST(dn_syntax_result, views_the_callers_text) {
    const exact_bytes_t dn = zero_terminated(" CN =a, OU=bc");
    std::vector<RDNdescr_t> attributes;
    ASSERT_NE(0, printable_dn_parse(dn.chars(), attributes));
    ASSERT_EQ(2u, attributes.size());
    EXPECT_EQ(1, attributes[0].type_begin - dn.chars());
    EXPECT_EQ(3, attributes[0].type_end - dn.chars());
    EXPECT_EQ(5, attributes[0].value_begin - dn.chars());
    EXPECT_EQ(6, attributes[0].value_end - dn.chars());
    EXPECT_EQ(8, attributes[1].type_begin - dn.chars());
    EXPECT_EQ(10, attributes[1].type_end - dn.chars());
    EXPECT_EQ(11, attributes[1].value_begin - dn.chars());
    EXPECT_EQ(13, attributes[1].value_end - dn.chars());
    EXPECT_EQ('\0', *attributes[1].value_end);
}

TEST(dn_syntax_result, is_appended_to_what_the_caller_holds) {
    std::vector<RDNdescr_t> attributes;
    ASSERT_NE(0, printable_dn_parse("CN=a", attributes));
    ASSERT_NE(0, printable_dn_parse("", attributes));
    ASSERT_NE(0, printable_dn_parse("O=b+OU=c", attributes));
    ASSERT_EQ(0, printable_dn_parse("L=d,", attributes));
    EXPECT_EQ("(CN)(a),(O)(b)+(OU)(c),(L)(d)", show(attributes));
}

TEST(dn_syntax_result, holds_more_attributes_than_callers_reserve_for) {
    std::string dn;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        const bool joined = i % 3 == 1;
        dn += (i == 0 ? "" : joined ? "+" : ",") + ("T" + number + "=v" + number);
        expected += (i == 0 ? "" : joined ? "+" : ",") + ("(T" + number + ")(v" + number + ")");
    }
    std::vector<RDNdescr_t> attributes;
    ASSERT_NE(0, printable_dn_parse(dn.c_str(), attributes));
    EXPECT_EQ(1000u, attributes.size());
    EXPECT_TRUE(same_bytes(expected, show(attributes)));
}

} // namespace
