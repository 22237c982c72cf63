// Operations on the text of a DN: reversing, fetching an attribute, containment, order of country and common name.
#include <memory>
#include <optional>
#include <string>

#include "support/names.h"
#include "support/vectors.h"

namespace {

// Reversing

// Reverses in a block of exactly the size of the text; nothing if that returns a null pointer.
std::optional<std::string> reversed(const std::string& text) {
    const std::unique_ptr<char[]> block(new char[text.size() + 1]);
    std::copy_n(text.c_str(), text.size() + 1, block.get());
    char* const result = printable_dn_reverse(block.get());
    EXPECT_EQ('\0', block[text.size()]);
    if (result == nullptr) {
        EXPECT_EQ(text, block.get()); // untouched
        return std::nullopt;
    }
    EXPECT_EQ(block.get(), result);
    return block.get();
}

TEST(dn_reverse, texts) {
    for_each_vector("dn-reversal.txt", [](const vector_t& vector) {
        const std::string text = vector.text("text");
        if (!vector.has("reversed")) {
            EXPECT_EQ(std::nullopt, reversed(text));
            return;
        }
        EXPECT_EQ(vector.text("reversed"), reversed(text));
        const bool meaning_changes = text.ends_with('\\'); // a comma follows the backslash
        if (!meaning_changes) {
            EXPECT_EQ(text, reversed(vector.text("reversed")));
        }
    });
}

TEST(dn_reverse, many_rdns) {
    std::string dn;
    std::string expected;
    const int num_rdns = 20000;
    for (int i = 0; i < num_rdns; ++i) {
        const int mirrored = num_rdns - 1 - i;
        const char* const comma = i == 0 ? "" : ",";
        dn += comma + ("CN=" + std::to_string(i) + "+OU=x" + std::to_string(i));
        expected += comma + ("CN=" + std::to_string(mirrored) + "+OU=x" + std::to_string(mirrored));
    }
    EXPECT_TRUE(expected == reversed(dn));
}

// Fetching an attribute

TEST(dn_get_attr, pair_or_value_is_appended) {
    for_each_vector("dn-attribute.txt", [](const vector_t& vector) {
        const exact_bytes_t dn = zero_terminated(vector.text("text"));
        const exact_bytes_t type = zero_terminated(vector.text("type"));
        const struct {
            int what;
            const char* form;
        } forms[] = {
            {PDN_GET_ATTR_PAIR, "pair"}, {PDN_GET_ATTR_VALUE, "value"}, {2, "pair"}, {-1, "pair"}, {0x101, "pair"}};
        for (const auto& form : forms) {
            std::string out = "held;";
            const bool found =
                printable_dn_get_attr(dn.chars(), type.chars(), out, static_cast<PrintableDnGetAttr>(form.what));
            EXPECT_EQ(vector.has(form.form), found) << form.what;
            EXPECT_EQ("held;" + (found ? vector.text(form.form) : ""), out) << form.what;
        }
    });
}

// All of them

TEST(dn_operations, refuse_what_does_not_parse) {
    for_each_vector("dn-syntax.txt", [](const vector_t& vector) {
        const std::string text = vector.text("text");
        const bool parses = vector.field("parses") == "yes";
        EXPECT_EQ(parses, reversed(text).has_value());
        const exact_bytes_t dn = zero_terminated(text);
        std::string value;
        const std::string attributes = vector.text("attributes");
        const std::size_t name = attributes.find("(CN)");
        const std::size_t country = attributes.find("(C)");
        EXPECT_EQ(parses && name != std::string::npos,
                  printable_dn_get_attr(dn.chars(), "CN", value, PDN_GET_ATTR_VALUE));
        const bool in_order = country == std::string::npos || country < name;
        EXPECT_EQ(parses && in_order, printable_dn_C_before_CN(dn.chars()));
        EXPECT_TRUE(printable_dn_contain_attrs(dn.chars(), dn.chars())); // which does not parse
    });
}

// Comparing

TEST(dn_contain_attrs, texts) {
    for_each_vector("dn-containment.txt", [](const vector_t& vector) {
        const exact_bytes_t dn = zero_terminated(vector.text("text"));
        const exact_bytes_t rdns = zero_terminated(vector.text("RDNs"));
        EXPECT_EQ(vector.field("contained") == "yes", printable_dn_contain_attrs(dn.chars(), rdns.chars()));
    });
}

TEST(dn_C_before_CN, texts) {
    for_each_vector("dn-country-first.txt", [](const vector_t& vector) {
        const exact_bytes_t dn = zero_terminated(vector.text("text"));
        EXPECT_EQ(vector.field("in order") == "yes", printable_dn_C_before_CN(dn.chars()));
    });
}

} // namespace
