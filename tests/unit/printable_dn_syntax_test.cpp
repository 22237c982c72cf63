// How the text of a DN is taken apart into attributes.
#include "asn/asn_printable_syntax.h"

#include "support/names.h"
#include "support/vectors.h"

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

TEST(dn_syntax, texts) {
    for_each_vector("dn-syntax.txt", [](const vector_t& vector) {
        const exact_bytes_t dn = zero_terminated(vector.text("text"));
        std::vector<RDNdescr_t> attributes;
        EXPECT_EQ(vector.field("parses") == "yes", printable_dn_parse(dn.chars(), attributes) != 0);
        EXPECT_TRUE(same_bytes(vector.text("attributes"), show(attributes))) << show(attributes);
    });
}

TEST(dn_syntax, views_the_callers_text) {
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

TEST(dn_syntax, appends_to_what_the_caller_holds) {
    std::vector<RDNdescr_t> attributes;
    ASSERT_NE(0, printable_dn_parse("CN=a", attributes));
    ASSERT_NE(0, printable_dn_parse("", attributes));
    ASSERT_NE(0, printable_dn_parse("O=b+OU=c", attributes));
    ASSERT_EQ(0, printable_dn_parse("L=d,", attributes));
    EXPECT_EQ("(CN)(a),(O)(b)+(OU)(c),(L)(d)", show(attributes));
}

TEST(dn_syntax, holds_more_attributes_than_callers_reserve_for) {
    std::string dn;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        const char* const separator = i == 0 ? "" : i % 3 == 1 ? "+" : ",";
        dn += separator + ("T" + number + "=v" + number);
        expected += separator + ("(T" + number + ")(v" + number + ")");
    }
    std::vector<RDNdescr_t> attributes;
    ASSERT_NE(0, printable_dn_parse(dn.c_str(), attributes));
    EXPECT_EQ(1000u, attributes.size());
    EXPECT_TRUE(same_bytes(expected, show(attributes)));
}

} // namespace
