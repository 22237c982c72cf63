// Value-name tables: the lookups, and every row of the two tables that the library has.
#include <gtest/gtest.h>

#include <cctype>
#include <iterator>
#include <string>

#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "testing/algorithm_code.h"

namespace {

struct row_t {
    unsigned int value;
    const char* name;
    unsigned int enumerator; // the value under its name in C++
};

std::string in_case(std::string text, int (*change)(int)) {
    for (char& c : text) {
        c = static_cast<char>(change(static_cast<unsigned char>(c)));
    }
    return text;
}

template <std::size_t N> void expect_rows(const row_t (&rows)[N], const IntToString* table) {
    const char* const dflt = "?";
    for (std::size_t i = 0; i < N; ++i) {
        const row_t& row = rows[i];
        ASSERT_NE(nullptr, table[i].name) << "the table ends before " << row.name;
        EXPECT_EQ(code_text(row.value), code_text(table[i].value)) << row.name;
        EXPECT_STREQ(row.name, table[i].name) << code_text(row.value);
        EXPECT_EQ(code_text(row.value), code_text(row.enumerator)) << row.name;
        EXPECT_STREQ(row.name, table->getString(row.value, dflt)) << code_text(row.value);
        EXPECT_EQ(code_text(row.value), code_text(table->getInt(row.name, 99))) << row.name;
        EXPECT_EQ(code_text(row.value), code_text(table->getInt(in_case(row.name, std::toupper).c_str(), 99)))
            << row.name;
        EXPECT_EQ(code_text(row.value), code_text(table->getInt(in_case(row.name, std::tolower).c_str(), 99)))
            << row.name;
    }
    EXPECT_EQ(nullptr, table[N].name);
    EXPECT_EQ(0U, table[N].value);
}

TEST(log_levels, rows) {
    const row_t rows[] = {{0, "DISABLED", 0}, {1, "EVENTS", 1}, {2, "DETAILS", 2}, {3, "VERBOSE", 3}};
    expect_rows(rows, I2S_LOG_LEVEL);
}

TEST(log_levels, unknown_value_gives_the_default) {
    EXPECT_STREQ("?", I2S_LOG_LEVEL->getString(7, "?"));
    EXPECT_STREQ("?", I2S_LOG_LEVEL->getString(0xFFFFFFFF, "?"));
}

TEST(log_levels, unknown_name_gives_the_default) {
    for (const char* const name : {"", "VERBOS", "VERBOSE ", " VERBOSE", "VERBOSEX", "3"}) {
        EXPECT_EQ(77U, I2S_LOG_LEVEL->getInt(name, 77)) << '"' << name << '"';
    }
}

TEST(algorithm_names, rows) {
    const row_t rows[] = {
        {0x00000001, "RSA", PKI_ALG_RSA},
        {0x00000003, "DSA", PKI_ALG_DSA},
        {0x00000004, "DHKA", PKI_ALG_DHKA},
        {0x00000005, "OLD DSA", PKI_ALG_OLD_DSA},
        {0x00000006, "DHPN", PKI_ALG_DHPN},
        {0x00000007, "RC2", PKI_ALG_RC2},
        {0x00000008, "RC4", PKI_ALG_RC4},
        {0x00000009, "RC5", PKI_ALG_RC5},
        {0x0000000A, "DES", PKI_ALG_DES},
        {0x0000000B, "2KEY 3DES", PKI_ALG_2KEY_3DES},
        {0x0000000C, "3KEY 3DES", PKI_ALG_3KEY_3DES},
        {0x0000000E, "GOST R 34.10-94", PKI_ALG_GOST_R_3410_94},
        {0x0000010E, "GOST R 34.10-2001", PKI_ALG_GOST_R_3410_2001},
        {0x0000010F, "GOST R 34.10-2012 256", PKI_ALG_GOST_R_3410_2012_256},
        {0x00000110, "GOST R 34.10-2012 512", PKI_ALG_GOST_R_3410_2012_512},
        {0x0100000E, "GOST R 34.10-94 (QEV)", PKI_ALG_GOST_R_3410_94_QEV},
        {0x0200000E, "GOST R 34.10-94 (CPRO)", PKI_ALG_GOST_R_3410_94_CPRO},
        {0x0200010E, "GOST R 34.10-2001 (CPRO)", PKI_ALG_GOST_R_3410_2001_CPRO},
        {0x0400000E, "GOST R 34.10-94 (SignalCOM)", PKI_ALG_GOST_R_3410_94_SIGNALCOM},
        {0x0400010E, "GOST R 34.10-2001 (SignalCOM)", PKI_ALG_GOST_R_3410_2001_SIGNALCOM},
        {0x00010000, "SHA", PKI_ALG_SHA},
        {0x00020000, "SHA1", PKI_ALG_SHA1},
        {0x00030000, "SHA224", PKI_ALG_SHA224},
        {0x00040000, "SHA256", PKI_ALG_SHA256},
        {0x00050000, "SHA384", PKI_ALG_SHA384},
        {0x00060000, "SHA512", PKI_ALG_SHA512},
        {0x00070000, "MD2", PKI_ALG_MD2},
        {0x00080000, "MD5", PKI_ALG_MD5},
        {0x00090000, "GOST 34.11-94", PKI_ALG_GOST_3411_94},
        {0x000A0000, "GOST 34.11-2012 256", PKI_ALG_GOST_3411_2012_256},
        {0x000B0000, "GOST 34.11-2012 512", PKI_ALG_GOST_3411_2012_512},
        {0x01090000, "GOST 34.11-94 (QEV)", PKI_ALG_GOST_3411_94_QEV},
        {0x02090000, "GOST 34.11-94 (CPRO)", PKI_ALG_GOST_3411_94_CPRO},
        {0x04090000, "GOST 34.11-94 (SignalCOM)", PKI_ALG_GOST_3411_94_SIGNALCOM},
        {0x00010001, "shaRSA", PKI_ALG_SHA_RSA},
        {0x00020001, "sha1RSA", PKI_ALG_SHA1_RSA},
        {0x00030001, "sha224RSA", PKI_ALG_SHA224_RSA},
        {0x00040001, "sha256RSA", PKI_ALG_SHA256_RSA},
        {0x00050001, "sha384RSA", PKI_ALG_SHA384_RSA},
        {0x00060001, "sha512RSA", PKI_ALG_SHA512_RSA},
        {0x00000002, "RSASSA-PSS", PKI_ALG_RSASSA_PSS},
        {0x00020002, "sha1RSASSA-PSS", PKI_ALG_SHA1_RSASSA_PSS},
        {0x00030002, "sha224RSASSA-PSS", PKI_ALG_SHA224_RSASSA_PSS},
        {0x00040002, "sha256RSASSA-PSS", PKI_ALG_SHA256_RSASSA_PSS},
        {0x00050002, "sha384RSASSA-PSS", PKI_ALG_SHA384_RSASSA_PSS},
        {0x00060002, "sha512RSASSA-PSS", PKI_ALG_SHA512_RSASSA_PSS},
        {0x00070001, "md2RSA", PKI_ALG_MD2_RSA},
        {0x00080001, "md5RSA", PKI_ALG_MD5_RSA},
        {0x00010003, "shaDSA", PKI_ALG_SHA_DSA},
        {0x00020003, "sha1DSA", PKI_ALG_SHA1_DSA},
        {0x0002000B, "2KEY 3DES SHA1", PKI_ALG_2KEY_3DES_SHA1},
        {0x0002000C, "3KEY 3DES SHA1", PKI_ALG_3KEY_3DES_SHA1},
        {0x0002000D, "sha1HMAC", PKI_ALG_SHA1_HMAC},
        {0x0009000E, "GOST R 34.11/34.10-94", PKI_ALG_GOST_R_3411_3410_94},
        {0x0009010E, "GOST R 34.11/34.10-2001", PKI_ALG_GOST_R_3411_3410_2001},
        {0x000A010F, "GOST R 34.11-2012/34.10-2012 256", PKI_ALG_GOST_R_3411_3410_2012_256},
        {0x000B0110, "GOST R 34.11-2012/34.10-2012 512", PKI_ALG_GOST_R_3411_3410_2012_512},
        {0x0109000E, "GOST R 34.11/34.10-94 (QEV)", PKI_ALG_GOST_R_3411_3410_94_QEV},
        {0x0209000E, "GOST R 34.11/34.10-94 (CryptoPro)", PKI_ALG_GOST_R_3411_3410_94_CRYPTOPRO},
        {0x0209010E, "GOST R 34.11/34.10-2001 (CryptoPro)", PKI_ALG_GOST_R_3411_3410_2001_CRYPTOPRO},
        {0x0409000E, "GOST R 34.11/34.10-94 (SignalCOM)", PKI_ALG_GOST_R_3411_3410_94_SIGNALCOM},
        {0x0409010E, "GOST R 34.11/34.10-2001 (SignalCOM)", PKI_ALG_GOST_R_3411_3410_2001_SIGNALCOM},
    };
    static_assert(std::size(rows) == 62);
    expect_rows(rows, I2S_PKI_ALG_T);
}

// The row that ends the table has the value 0, too.
TEST(algorithm_names, unknown_algorithm_has_none) {
    EXPECT_STREQ("?", I2S_PKI_ALG_T->getString(PKI_ALG_UNKNOWN, "?"));
    EXPECT_STREQ("?", I2S_PKI_ALG_T->getString(0x0000000D, "?"));
}

TEST(value_name_table, gives_the_first_of_equal_values) {
    const IntToString table[] = {{1, "one"}, {2, "two"}, {2, "zwei"}, {0, nullptr}};
    EXPECT_STREQ("two", table->getString(2, "?"));
}

TEST(value_name_table, gives_the_first_of_equal_names) {
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

TEST(value_name_table, gives_the_default_as_it_was_passed_in) {
    const IntToString empty[] = {{0, nullptr}};
    const char dflt[] = "default";
    EXPECT_EQ(dflt, empty->getString(0, dflt));
    EXPECT_EQ(nullptr, empty->getString(0, nullptr));
    EXPECT_EQ(0xFFFFFFFFU, empty->getInt("", 0xFFFFFFFF));
    EXPECT_EQ(dflt, I2S_LOG_LEVEL->getString(7, dflt));
    EXPECT_EQ(nullptr, I2S_LOG_LEVEL->getString(7, nullptr));
}

TEST(value_name_table, gives_its_own_name_and_no_copy) {
    const IntToString table[] = {{1, "one"}, {0, nullptr}};
    EXPECT_EQ(table[0].name, table->getString(1, "?"));
}

TEST(value_name_table, may_have_an_empty_name) {
    const IntToString table[] = {{1, "one"}, {2, ""}, {0, nullptr}};
    EXPECT_EQ(2U, table->getInt("", 9));
    EXPECT_STREQ("", table->getString(2, "?"));
}

// The case of ASCII letters alone does not count.
TEST(value_name_table, compares_other_characters_exactly) {
    const IntToString table[] = {{1, "@[\\]^_"}, {2, "\xC0"}, {3, "Az"}, {0, nullptr}};
    EXPECT_EQ(1U, table->getInt("@[\\]^_", 9));
    EXPECT_EQ(9U, table->getInt("`{|}~\x7F", 9));
    EXPECT_EQ(2U, table->getInt("\xC0", 9));
    EXPECT_EQ(9U, table->getInt("\xE0", 9));
    EXPECT_EQ(3U, table->getInt("aZ", 9));
}

} // namespace
