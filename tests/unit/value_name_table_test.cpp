// Value-name tables: the lookups, and every row of the two tables that the library has.
#include <gtest/gtest.h>

#include <cctype>
#include <iterator>
#include <string>

#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "support/algorithms.h"
#include "testing/algorithm_code.h"

namespace {

std::string in_case(std::string text, int (*change)(int)) {
    for (char& c : text) {
        c = static_cast<char>(change(static_cast<unsigned char>(c)));
    }
    return text;
}

void expect_row(const IntToString* table, std::size_t index, unsigned int value, const std::string& name) {
    SCOPED_TRACE(name);
    ASSERT_NE(nullptr, table[index].name) << "the table ends here";
    EXPECT_EQ(code_text(value), code_text(table[index].value));
    EXPECT_EQ(name, table[index].name);
    EXPECT_EQ(name, table->getString(value, "?"));
    for (const std::string& text : {name, in_case(name, std::toupper), in_case(name, std::tolower)}) {
        EXPECT_EQ(code_text(value), code_text(table->getInt(text.c_str(), 99))) << text;
    }
}

void expect_end(const IntToString& row) {
    EXPECT_EQ(nullptr, row.name);
    EXPECT_EQ(0U, row.value);
}

TEST(log_levels, have_these_rows) {
    const char* const names[] = {"DISABLED", "EVENTS", "DETAILS", "VERBOSE"};
    for (unsigned int level = 0; level < 4; ++level) {
        expect_row(I2S_LOG_LEVEL, level, level, names[level]);
    }
    expect_end(I2S_LOG_LEVEL[4]);
}

TEST(log_levels, have_a_default_for_what_is_unknown) {
    EXPECT_STREQ("?", I2S_LOG_LEVEL->getString(7, "?"));
    EXPECT_STREQ("?", I2S_LOG_LEVEL->getString(0xFFFFFFFF, "?"));
    for (const char* const name : {"", "VERBOS", "VERBOSE ", " VERBOSE", "VERBOSEX", "3"}) {
        EXPECT_EQ(77U, I2S_LOG_LEVEL->getInt(name, 77)) << '"' << name << '"';
    }
}

TEST(algorithm_names, have_these_rows) {
    static_assert(std::size(algorithms::ROWS) == 62);
    for (std::size_t i = 0; i < std::size(algorithms::ROWS); ++i) {
        const algorithms::row_t& row = algorithms::ROWS[i];
        expect_row(I2S_PKI_ALG_T, i, row.code, row.name);
        EXPECT_EQ(code_text(row.code), code_text(row.enumerator)) << row.name;
    }
    expect_end(I2S_PKI_ALG_T[62]);
}

// The row that ends the table has the value 0 too.
TEST(algorithm_names, have_none_for_unknown_algorithms) {
    EXPECT_STREQ("?", I2S_PKI_ALG_T->getString(PKI_ALG_UNKNOWN, "?"));
    EXPECT_STREQ("?", I2S_PKI_ALG_T->getString(0x0000000D, "?"));
}

TEST(value_name_table, returns_the_first_of_equal_values) {
    const IntToString table[] = {{1, "one"}, {2, "two"}, {2, "zwei"}, {0, nullptr}};
    EXPECT_STREQ("two", table->getString(2, "?"));
}

TEST(value_name_table, returns_the_first_of_equal_names) {
    const IntToString table[] = {{1, "one"}, {2, "Two"}, {3, "tWO"}, {0, nullptr}};
    EXPECT_EQ(2U, table->getInt("tWO", 9));
}

TEST(value_name_table, starts_at_the_row_it_is_called_on) {
    const IntToString table[] = {{1, "one"}, {2, "two"}, {0, nullptr}};
    EXPECT_STREQ("?", table[1].getString(1, "?"));
    EXPECT_EQ(9U, table[1].getInt("one", 9));
}

TEST(value_name_table, ends_at_the_first_row_without_a_name) {
    const IntToString table[] = {{1, "one"}, {0, nullptr}, {2, "two"}, {0, nullptr}};
    EXPECT_STREQ("?", table->getString(2, "?"));
    EXPECT_STREQ("?", table->getString(0, "?"));
    EXPECT_EQ(9U, table->getInt("two", 9));
}

TEST(value_name_table, returns_the_default_as_it_was_passed_in) {
    const IntToString empty[] = {{0, nullptr}};
    const char dflt[] = "default";
    EXPECT_EQ(dflt, empty->getString(0, dflt));
    EXPECT_EQ(nullptr, empty->getString(0, nullptr));
    EXPECT_EQ(0xFFFFFFFFU, empty->getInt("", 0xFFFFFFFF));
    EXPECT_EQ(dflt, I2S_LOG_LEVEL->getString(7, dflt));
    EXPECT_EQ(nullptr, I2S_LOG_LEVEL->getString(7, nullptr));
}

TEST(value_name_table, returns_its_own_name_and_no_copy) {
    const IntToString table[] = {{1, "one"}, {0, nullptr}};
    EXPECT_EQ(table[0].name, table->getString(1, "?"));
}

TEST(value_name_table, may_have_an_empty_name) {
    const IntToString table[] = {{1, "one"}, {2, ""}, {0, nullptr}};
    EXPECT_EQ(2U, table->getInt("", 9));
    EXPECT_STREQ("", table->getString(2, "?"));
}

// Only the case of ASCII letters is ignored.
TEST(value_name_table, compares_other_characters_exactly) {
    const IntToString table[] = {{1, "@[\\]^_"}, {2, "\xC0"}, {3, "Az"}, {0, nullptr}};
    EXPECT_EQ(1U, table->getInt("@[\\]^_", 9));
    EXPECT_EQ(9U, table->getInt("`{|}~\x7F", 9));
    EXPECT_EQ(2U, table->getInt("\xC0", 9));
    EXPECT_EQ(9U, table->getInt("\xE0", 9));
    EXPECT_EQ(3U, table->getInt("aZ", 9));
}

} // namespace
