// Operations on the text of a DN: reversing, fetching an attribute, containment, order of country and common name.
#include <gtest/gtest.h>

#include "derkit/asn_printable.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

exact_bytes_t zero_terminated(std::string_view text) {
    return exact_bytes_t(std::string(text) + '\0');
}

// A text that may be changed in place, in a block of exactly its size.
class writable_text_t {
  public:
    explicit writable_text_t(std::string_view text) : block_(new char[text.size() + 1]), size_(text.size()) {
        std::copy(text.begin(), text.end(), block_.get());
        block_[size_] = '\0';
    }
    char* begin() { return block_.get(); }
    std::string_view text() const { return std::string_view(block_.get(), size_); }
    bool still_terminated() const { return block_[size_] == '\0'; }

  private:
    std::unique_ptr<char[]> block_;
    std::size_t size_;
};

// Reversing

struct dn_reverse_case_t {
    const char* name;
    const char* dn;
    const char* reversed; // null: does not parse
};

class dn_reverse : public testing::TestWithParam<dn_reverse_case_t> {};

TEST_P(dn_reverse, works_in_place) {
    const dn_reverse_case_t& c = GetParam();
    writable_text_t dn(c.dn);
    char* const result = printable_dn_reverse(dn.begin());
    EXPECT_EQ(c.reversed == nullptr ? nullptr : dn.begin(), result);
    EXPECT_TRUE(same_bytes(c.reversed == nullptr ? c.dn : c.reversed, dn.text())) << "\"" << dn.text() << '"';
    EXPECT_TRUE(dn.still_terminated());
}

const dn_reverse_case_t REVERSED[] = {
    {"empty_text_stays", "", ""},
    {"blanks_stay", "   ", "   "},
    {"one_attribute_stays", "CN=a", "CN=a"},
    {"one_attribute_keeps_its_blanks", " \tCN = a ", " \tCN = a "},
    {"one_rdn_of_two_attributes_stays", "CN=a+OU=b", "CN=a+OU=b"},
    {"one_rdn_with_blanks_stays", "  CN=a +\tOU= b ", "  CN=a +\tOU= b "},
    {"two_rdns_change_places", "CN=a,O=b", "O=b,CN=a"},
    {"rdns_of_different_sizes", "CN=abcdef,O=b,C=ru", "C=ru,O=b,CN=abcdef"},
    {"last_becomes_first_of_five", "CN=1,OU=2,O=3,L=4,C=5", "C=5,L=4,O=3,OU=2,CN=1"},
    {"joined_attributes_keep_their_order", "CN=a+OU=b,O=c", "O=c,CN=a+OU=b"},
    {"several_joined_rdns", "CN=a+OU=b+L=c,O=d+T=e,C=f", "C=f,O=d+T=e,CN=a+OU=b+L=c"},
    {"joined_rdn_in_the_last_place", "O=c,CN=a+OU=b", "CN=a+OU=b,O=c"},
    {"blank_behind_a_comma_travels_with_its_rdn", "CN=a, O=b", " O=b,CN=a"},
    {"all_blanks_behind_a_comma_travel", "CN=a, \t O=b,  C=c", "  C=c, \t O=b,CN=a"},
    {"leading_blanks_travel_with_the_first_rdn", "  CN=a,O=b", "O=b,  CN=a"},
    {"blanks_behind_a_plus_stay_inside", "CN=a+ OU=b, O=c", " O=c,CN=a+ OU=b"},
    {"trailing_blanks_belong_to_the_value", "CN=a ,O=b  ", "O=b  ,CN=a "},
    {"blanks_around_equals_stay", "CN = a,O\t=\tb", "O\t=\tb,CN = a"},
    {"empty_values", "CN=,O=,C=", "C=,O=,CN="},
    {"quoted_comma_does_not_separate", "CN=\"a,b\",O=c", "O=c,CN=\"a,b\""},
    {"escaped_comma_does_not_separate", "CN=a\\,b,O=c", "O=c,CN=a\\,b"},
    {"comma_behind_an_escaped_backslash_separates", "CN=a\\\\,O=c", "O=c,CN=a\\\\"},
    {"type_that_starts_with_a_comma", "CN=a,,O=b", ",O=b,CN=a"},
    {"backslash_at_the_end_travels", "CN=a,O=b\\", "O=b\\,CN=a"},
    {"utf8_characters_stay_whole", "CN=\xD0\x98\xD1\x8F,O=\xE2\x82\xAC", "O=\xE2\x82\xAC,CN=\xD0\x98\xD1\x8F"},
    {"text_that_does_not_parse_is_untouched", "CN=a,O=b,", nullptr},
    {"open_quote_leaves_the_text_untouched", "CN=a,O=\"b", nullptr},
    {"type_alone_leaves_the_text_untouched", "CN=a,O=b,C", nullptr},
    {"empty_type_leaves_the_text_untouched", "=x,O=b", nullptr},
};

INSTANTIATE_TEST_SUITE_P(text, dn_reverse, testing::ValuesIn(REVERSED), case_name_t());

TEST(dn_reverse_law, twice_is_the_text_again) {
    for (const dn_reverse_case_t& c : REVERSED) {
        const bool meaning_changes = std::string_view(c.dn).ends_with('\\'); // a comma gets behind the backslash
        if (c.reversed == nullptr || meaning_changes) {
            continue;
        }
        writable_text_t dn(c.dn);
        ASSERT_NE(nullptr, printable_dn_reverse(dn.begin())) << c.name;
        ASSERT_NE(nullptr, printable_dn_reverse(dn.begin())) << c.name;
        EXPECT_TRUE(same_bytes(c.dn, dn.text())) << c.name;
    }
}

TEST(dn_reverse_law, holds_for_many_rdns) {
    std::string dn;
    std::string expected;
    const int num_rdns = 20000;
    for (int i = 0; i < num_rdns; ++i) {
        const int mirrored = num_rdns - 1 - i;
        const char* const comma = i == 0 ? "" : ",";
        dn += comma + ("CN=" + std::to_string(i) + "+OU=x" + std::to_string(i));
        expected += comma + ("CN=" + std::to_string(mirrored) + "+OU=x" + std::to_string(mirrored));
    }
    writable_text_t text(dn);
    ASSERT_EQ(text.begin(), printable_dn_reverse(text.begin()));
    EXPECT_TRUE(expected == text.text());
}

// Fetching an attribute

struct dn_get_attr_case_t {
    const char* name;
    const char* dn;
    const char* type;
    const char* pair;  // null: none
    const char* value; // null: none
};

class dn_get_attr : public testing::TestWithParam<dn_get_attr_case_t> {};

TEST_P(dn_get_attr, appends_pair_or_value) {
    const dn_get_attr_case_t& c = GetParam();
    const exact_bytes_t dn = zero_terminated(c.dn);
    const exact_bytes_t type = zero_terminated(c.type);
    const struct {
        int what;
        const char* expected;
    } forms[] = {
        {PDN_GET_ATTR_PAIR, c.pair}, {PDN_GET_ATTR_VALUE, c.value}, {2, c.pair}, {-1, c.pair}, {0x101, c.pair}};
    for (const auto& form : forms) {
        std::string out = "held;";
        const bool found =
            printable_dn_get_attr(dn.chars(), type.chars(), out, static_cast<PrintableDnGetAttr>(form.what));
        EXPECT_EQ(form.expected != nullptr, found) << "what is " << form.what;
        EXPECT_TRUE(same_bytes("held;" + std::string(form.expected == nullptr ? "" : form.expected), out))
            << "what is " << form.what << ", got \"" << out << '"';
    }
}

const dn_get_attr_case_t FETCHED[] = {
    {"only_attribute", "CN=x", "CN", "CN=x", "x"},
    {"attribute_of_the_last_rdn", "CN=x,O=y", "O", "O=y", "y"},
    {"first_of_two_of_one_type", "O=y,CN=a,CN=b", "CN", "CN=a", "a"},
    {"member_of_a_joined_rdn", "CN=a+OU=b+L=c,O=d", "OU", "OU=b", "b"},
    {"dotted_type", "2.5.4.3=x", "2.5.4.3", "2.5.4.3=x", "x"},
    {"pair_keeps_blanks_around_equals", "CN \t = x ", "CN", "CN \t = x ", " x "},
    {"pair_starts_at_the_type", "O=y,  CN=x", "CN", "CN=x", "x"},
    {"empty_value", "CN=,O=y", "CN", "CN=", ""},
    {"quotes_stay", "CN=\"a,b\",O=y", "CN", "CN=\"a,b\"", "\"a,b\""},
    {"backslashes_stay", "CN=a\\,b\\2C,O=y", "CN", "CN=a\\,b\\2C", "a\\,b\\2C"},
    {"attribute_in_quotes_is_none", "CN=\"O=a,O=b\",O=c", "O", "O=c", "c"},
    {"type_with_a_comma_in_front", ",O=x", ",O", ",O=x", "x"},
    {"letter_case_differs", "CN=x", "cn", nullptr, nullptr},
    {"letter_case_of_the_text_differs", "cn=x", "CN", nullptr, nullptr},
    {"searched_type_is_shorter", "CN=x", "C", nullptr, nullptr},
    {"searched_type_is_longer", "C=x", "CN", nullptr, nullptr},
    {"longer_type_is_passed_over", "CN=x,C=y", "C", "C=y", "y"},
    {"short_name_does_not_find_the_dotted_type", "2.5.4.3=x", "CN", nullptr, nullptr},
    {"blank_in_the_searched_type", "CN =x", "CN ", nullptr, nullptr},
    {"empty_type_finds_none", "CN=x", "", nullptr, nullptr},
    {"value_is_not_searched", "CN=O=y", "O", nullptr, nullptr},
    {"empty_text", "", "CN", nullptr, nullptr},
    {"blank_text", "   ", "CN", nullptr, nullptr},
    {"error_behind_the_attribute", "CN=x,", "CN", nullptr, nullptr},
    {"text_without_equals", "CN", "CN", nullptr, nullptr},
};

INSTANTIATE_TEST_SUITE_P(text, dn_get_attr, testing::ValuesIn(FETCHED), case_name_t());

// Containment

struct dn_contain_case_t {
    const char* name;
    const char* dn;
    const char* rdns;
    bool contained;
};

class dn_contain_attrs : public testing::TestWithParam<dn_contain_case_t> {};

TEST_P(dn_contain_attrs, compares_rdn_texts) {
    const exact_bytes_t dn = zero_terminated(GetParam().dn);
    const exact_bytes_t rdns = zero_terminated(GetParam().rdns);
    EXPECT_EQ(GetParam().contained, printable_dn_contain_attrs(dn.chars(), rdns.chars()))
        << GetParam().dn << " and " << GetParam().rdns;
}

const dn_contain_case_t CONTAINMENT[] = {
    {"itself", "CN=a,O=b,C=RU", "CN=a,O=b,C=RU", true},
    {"first_rdn", "CN=a,O=b,C=RU", "CN=a", true},
    {"inner_rdn", "CN=a,O=b,C=RU", "O=b", true},
    {"last_rdn", "CN=a,O=b,C=RU", "C=RU", true},
    {"neighbours", "CN=a,O=b,C=RU", "O=b,C=RU", true},
    {"rdns_with_another_between_them", "CN=a,O=b,C=RU", "CN=a,C=RU", true},
    {"rdns_with_several_between_them", "CN=a,O=b,L=c,T=d,C=RU", "CN=a,C=RU", true},
    {"search_goes_on_behind_a_partial_match", "CN=a,O=x,O=b", "CN=a,O=b", true},
    {"joined_rdn_as_a_whole", "CN=a+OU=b,O=c", "CN=a+OU=b", true},
    {"member_of_a_joined_rdn", "CN=a+OU=b,O=c", "CN=a", false},
    {"last_member_of_a_joined_rdn", "CN=a+OU=b,O=c", "OU=b", false},
    {"other_order", "CN=a,O=b", "O=b,CN=a", false},
    {"absent_rdn", "CN=a,O=b", "C=RU", false},
    {"one_of_two_absent", "CN=a,O=b", "CN=a,C=RU", false},
    {"rdn_twice_where_the_text_has_it_once", "CN=a,O=b", "CN=a,CN=a", false},
    {"rdn_twice", "CN=a,O=b,CN=a", "CN=a,CN=a", true},
    {"letter_case_differs", "CN=a,O=b", "cn=a", false},
    {"blank_behind_the_comma_is_part_of_the_rdn", "CN=a, O=b", "O=b", false},
    {"blank_in_the_pattern_matches_itself", "CN=a, O=b", " O=b", true},
    {"rdn_longer_than_the_pattern", "CN=ab,O=c", "CN=a", false},
    {"last_rdn_longer_than_the_pattern", "O=c,CN=ab", "CN=a", false},
    {"rdn_shorter_than_the_pattern", "O=c,CN=a", "CN=ab", false},
    {"rdn_whose_end_matches", "OU=b,CN=x", "U=b", false},
    // A longer RDN on which the pattern ran out ends the search.
    {"match_behind_a_longer_rdn_is_not_seen", "CN=ab,CN=a", "CN=a", false},
    // A mismatch on a comma of the text passes over the RDN behind it, and that one only.
    {"rdn_behind_its_own_prefix_is_not_tried", "CN=a,CN=ab", "CN=ab", false},
    {"second_rdn_behind_a_prefix_is_tried", "CN=a,O=x,CN=ab", "CN=ab", true},
    {"rdn_behind_an_empty_one_is_not_tried", ",CN=a", "CN=a", false},
    {"second_rdn_behind_an_empty_one_is_tried", ",O=x,CN=a", "CN=a", true},
    {"prefix_in_the_second_component", "CN=a,O=b,O=bc,O=bc", "CN=a,O=bc", true},
    // The empty pattern.
    {"empty_in_empty", "", "", true},
    {"empty_before_a_comma", ",CN=a", "", true},
    {"empty_in_text", "CN=a", "", false},
    {"empty_in_text_with_commas", "CN=a,,O=b", "", false},
    {"empty_before_a_quote", "\",\"", "", false},
    {"rdn_in_empty_text", "", "CN=a", false},
    // Nothing is parsed.
    {"text_without_equals", "a,b,c", "a,c", true},
    {"comma_behind_the_last_component_of_the_text", "CN=a,O=b,", "O=b", true},
    {"comma_behind_the_pattern_needs_one_in_the_text", "CN=a,O=b", "CN=a,O=b,", false},
    {"comma_behind_the_pattern_matches_one_at_the_end", "CN=a,O=b,", "CN=a,O=b,", true},
    {"quote_open_to_the_end", "CN=a,O=\"b", "O=\"b", true},
    // Quotes of the text.
    {"quoted_comma_is_no_boundary", "CN=\"a,O=b\",C=RU", "O=b\"", false},
    {"comma_behind_quotes_is_a_boundary", "CN=\"a,O=b\",C=RU", "C=RU", true},
    {"quoted_rdn", "L=x,CN=\"a,b\",O=c", "CN=\"a,b\"", true},
    {"pattern_that_ends_at_a_quoted_comma", "CN=\"a,b\"", "CN=\"a", false},
    {"component_does_not_start_behind_a_quoted_comma", "CN=\"a,x\",CN=\"a,b\"", "CN=\"a,b\"", true},
    {"rest_of_a_quoted_value_is_no_component", "CN=\"a,x\",b\"", "CN=\"a,b\"", false},
    {"escaped_quote_opens_nothing", "CN=a\\\",O=b", "O=b", true},
    {"escaped_quote_closes_nothing", "CN=\"a\\\",O=b\",C=c", "O=b\"", false},
    {"rdn_behind_an_escaped_quote_in_quotes", "CN=\"a\\\",O=b\",C=c", "C=c", true},
    // Escapes: one character is looked back on.
    {"escaped_comma_is_no_boundary", "CN=a\\,O=b", "O=b", false},
    {"rdn_with_an_escaped_comma", "L=x,CN=a\\,b,O=c", "CN=a\\,b", true},
    {"comma_behind_two_backslashes_is_no_boundary", "CN=a\\\\,O=b", "O=b", false},
    {"comma_behind_two_backslashes_is_one_for_a_match", "CN=a\\\\,O=b", "CN=a\\\\,O=b", true},
    {"quote_behind_two_backslashes_toggles_nothing", "CN=a\\\\\",O=b", "O=b", true},
    {"escaped_comma_ends_the_last_component", "CN=a\\,b", "CN=a\\", true},
    {"matched_escaped_comma_starts_a_component", "CN=a\\,x,b", "CN=a\\,b", true},
};

INSTANTIATE_TEST_SUITE_P(text, dn_contain_attrs, testing::ValuesIn(CONTAINMENT), case_name_t());

// Country before common name

struct dn_order_case_t {
    const char* name;
    const char* dn;
    bool in_order;
};

class dn_C_before_CN : public testing::TestWithParam<dn_order_case_t> {};

TEST_P(dn_C_before_CN, looks_at_the_first_C) {
    const exact_bytes_t dn = zero_terminated(GetParam().dn);
    EXPECT_EQ(GetParam().in_order, printable_dn_C_before_CN(dn.chars())) << GetParam().dn;
}

const dn_order_case_t ORDERS[] = {
    {"C_then_CN", "C=RU,CN=x", true},
    {"CN_then_C", "CN=x,C=RU", false},
    {"CN_then_others_then_C", "CN=x,O=y,L=z,C=RU", false},
    {"others_then_C_then_CN", "O=y,C=RU,L=z,CN=x", true},
    {"C_alone", "C=RU", true},
    {"CN_alone", "CN=x", true},
    {"neither", "O=x", true},
    {"no_attributes", "", true},
    {"blanks_alone", "   ", true},
    {"CN_between_two_Cs", "C=RU,CN=x,C=US", true},
    {"CN_before_two_Cs", "CN=x,C=RU,C=US", false},
    {"C_joined_behind_CN", "CN=x+C=RU", false},
    {"C_joined_before_CN", "C=RU+CN=x", true},
    {"lower_case_c_is_another_type", "CN=x,c=RU", true},
    {"lower_case_cn_is_another_type", "cn=x,C=RU", true},
    {"dotted_types_are_other_types", "2.5.4.3=x,C=RU", true},
    {"longer_type_is_another_type", "CNX=x,C=RU", true},
    {"types_in_values_do_not_count", "O=\"CN=x,\",C=RU", true},
    {"trailing_comma_does_not_parse", "C=RU,CN=x,", false},
    {"text_alone_does_not_parse", "C", false},
    {"open_quote_does_not_parse", "O=\"x", false},
};

INSTANTIATE_TEST_SUITE_P(text, dn_C_before_CN, testing::ValuesIn(ORDERS), case_name_t());

} // namespace
