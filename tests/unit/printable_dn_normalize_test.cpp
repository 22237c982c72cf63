// Canonical text of names, and the way from DER to text and back.
#include "support/names.h"
#include "support/vectors.h"
#include "testing/parsed_map.h"

using namespace std::string_view_literals;

namespace {

// A result replaces what the strings hold. Without a string for the DER the text is the same.
void expect_normalized(const std::string& dn, oid_map_handle_t map, std::string_view canonical, std::string_view der) {
    std::string out = "held;";
    EXPECT_TRUE(printable_dn_normalize(dn, out, nullptr, map)) << dn;
    EXPECT_TRUE(same_bytes(canonical, out)) << out;
    out = "held;";
    std::string out_der = "held;";
    EXPECT_TRUE(printable_dn_normalize(dn, out, &out_der, map)) << dn;
    EXPECT_TRUE(same_bytes(canonical, out)) << out;
    EXPECT_TRUE(same_bytes(der, out_der)) << dn;
}

// A name in the text of a case, its canonical text and its DER.
void check_normalized(const std::string& dn, const std::string& canonical, std::string_view der, oid_map_handle_t map) {
    expect_normalized(dn, map, canonical, der);
    if (canonical.find('\0') != std::string::npos) { // ends there the next time
        return;
    }
    std::string again_der;
    ASSERT_TRUE(printable_to_asn_dn(canonical.c_str(), again_der, map));
    expect_normalized(canonical, map, canonical, again_der); // the second time changes nothing
    std::string reversed = canonical;
    ASSERT_EQ(reversed.data(), printable_dn_reverse(reversed.data()));
    std::string out;
    EXPECT_TRUE(printable_dn_normalize(reversed, out, nullptr, map));
    EXPECT_TRUE(same_bytes(reversed, out));
    if (!canonical.empty()) {
        EXPECT_TRUE(printable_dn_contain_attrs(zero_terminated(canonical).chars(), canonical.c_str()));
    }
}

TEST(dn_normalize, names) {
    for_each_vector("names.txt", [](const vector_t& vector) {
        if (vector.field("way") == "both" || vector.field("way") == "encode") {
            const std::string text = vector.text("text");
            check_normalized(text, vector.text_or("canonical", text), vector.bytes("DER"), map_of(vector));
        }
    });
}

// Also between other RDNs, where no blank must be taken for one around a separator.
TEST(dn_normalize, values) {
    for_each_vector("values.txt", [](const vector_t& vector) {
        const bool encodes = vector.field("way") == "both" || vector.field("way") == "encode";
        if (!encodes || vector.field("canonical") == "-") {
            return;
        }
        const std::string text = vector.text("text");
        const std::string canonical = vector.text_or("canonical", text);
        const std::string value = vector.bytes("element");
        check_normalized("CN=" + text, "CN=" + canonical, name_of(value), OID_MAP_HANDLE_DEFAULT);
        check_normalized("C=RU,CN=" + text + ",C=RU", "C=RU,CN=" + canonical + ",C=RU",
                         element(0x30, COUNTRY_RU + rdn_of(value) + COUNTRY_RU), OID_MAP_HANDLE_DEFAULT);
        std::string fetched;
        if (canonical.find('\0') == std::string::npos) {
            EXPECT_TRUE(printable_dn_get_attr(zero_terminated("C=RU,CN=" + canonical).chars(), "CN", fetched,
                                              PDN_GET_ATTR_VALUE));
            EXPECT_EQ(canonical, fetched);
        }
    });
}

// What prints, in either order, encodes again and prints the same.
void expect_comes_back(const std::string& der, bool same_der) {
    for (const oid_map_handle_t map : {NO_MAP, OID_MAP_HANDLE_DEFAULT}) {
        for (const PrintableDnOrder order : DN_ORDERS) {
            const std::string text = print(der, order, map).text;
            std::string again;
            ASSERT_TRUE(printable_to_asn_dn(zero_terminated(text).chars(), again, map)) << text;
            expect_printed(again, PDN_ORDER_AS_ENCODED, map, true, text);
            if (order == PDN_ORDER_AS_ENCODED && same_der) {
                EXPECT_TRUE(same_bytes(der, again)) << text;
            }
        }
    }
}

TEST(dn_round_trip, printed_names_and_values_come_back) {
    for_each_vector("names.txt", [](const vector_t& vector) {
        if (vector.field("way") == "both" || vector.field("way") == "print") {
            expect_comes_back(vector.bytes("DER"), vector.field("way") == "both");
        }
    });
    for_each_vector("values.txt", [](const vector_t& vector) {
        if (vector.field("way") == "both" || vector.field("way") == "print") {
            expect_comes_back(name_of(vector.bytes("element")), vector.field("way") == "both");
        }
    });
}

// Failures

TEST(dn_normalize_failure, text_that_does_not_encode_leaves_both_strings) {
    for_each_vector("texts-refused.txt", [](const vector_t& vector) {
        std::string out = "held;";
        std::string der = "kept;";
        EXPECT_FALSE(printable_dn_normalize(vector.text("text"), out, &der, map_of(vector)));
        EXPECT_FALSE(printable_dn_normalize(vector.text("text"), out, nullptr, map_of(vector)));
        EXPECT_EQ("held;", out);
        EXPECT_EQ("kept;", der);
    });
}

// A '#' value can bring an element that encodes but does not print.
TEST(dn_normalize_failure, der_that_does_not_print_is_returned_all_the_same) {
    unsigned int num_cases = 0;
    for_each_vector("values.txt", [&](const vector_t& vector) {
        if (vector.field("canonical") != "-") {
            return;
        }
        ++num_cases;
        std::string out = "held;";
        std::string der = "held;";
        EXPECT_FALSE(printable_dn_normalize("CN=" + vector.text("text"), out, &der, OID_MAP_HANDLE_DEFAULT));
        EXPECT_TRUE(same_bytes(name_of(vector.bytes("element")), der));
        EXPECT_EQ(std::string::npos, out.find("held;"));
    });
    EXPECT_LE(5u, num_cases);
}

// Texts of their own

TEST(dn_normalize_text, ends_at_its_first_zero) {
    expect_normalized(std::string("CN=a\0,O="sv), OID_MAP_HANDLE_DEFAULT, "CN=a", name_of(from_hex("13 01 61")));
}

TEST(dn_normalize_text, may_be_the_string_that_receives) {
    std::string text = "cn=\"a,b\"";
    EXPECT_TRUE(printable_dn_normalize(text, text, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("CN=a\\,b", text);
}

// Two texts that normalising a second time changes or refuses.

TEST(dn_normalize_text, zero_octet_is_printed_bare_and_ends_the_text_the_next_time) {
    std::string once;
    ASSERT_TRUE(printable_dn_normalize("CN=a\\00b,C=RU", once, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(same_bytes("CN=a\0b,C=RU"sv, once));
    std::string twice;
    EXPECT_TRUE(printable_dn_normalize(once, twice, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("CN=a", twice);
}

TEST(dn_normalize_text, oid_from_2_40_on_is_printed_with_a_first_arc_that_does_not_encode) {
    std::string once;
    ASSERT_TRUE(printable_dn_normalize("2.40=x,2.999.3=y", once, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("3.0=x,26.39.3=y", once);
    EXPECT_FALSE(printable_dn_normalize(once, once, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("3.0=x,26.39.3=y", once);
}

TEST(dn_normalize_text, map_serves_both_directions) {
    const parsed_map_t owner("2.5.4.3 = Name\n2.5.4.3 = Other\n");
    std::string out;
    EXPECT_TRUE(printable_dn_normalize("name=a,other=b,2.5.4.3=c,2.5.4.6=d", out, nullptr, owner.handle()));
    EXPECT_EQ("NAME=a,NAME=b,NAME=c,2.5.4.6=d", out);
    EXPECT_FALSE(printable_dn_normalize("CN=a", out, nullptr, owner.handle()));
}

TEST(dn_normalize_text, of_tens_of_thousands_of_rdns) {
    std::string dn;
    std::string canonical;
    for (int i = 0; i < 40000; ++i) {
        const std::string number = std::to_string(i);
        dn += (i == 0 ? "" : ", ") + ("2.5.4.3=\"common, name " + number + "\"");
        canonical += (i == 0 ? "" : ",") + ("CN=common\\, name " + number);
    }
    std::string out;
    EXPECT_TRUE(printable_dn_normalize(dn, out, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(canonical == out);
}

// From DER to text and back

// The last octet makes a UTF8String of every text.
void expect_utf8_string_comes_back(const std::string& content) {
    const std::string der = name_of(element(0x0C, content + '\xE9'));
    const printed_t printed = print(der, PDN_ORDER_REVERSED);
    ASSERT_TRUE(printed.done);
    expect_encoded(printed.text, NO_MAP, der);
}

TEST(dn_round_trip, every_octet_but_zero_comes_back) {
    for (unsigned int c = 1; c < 256; ++c) {
        expect_utf8_string_comes_back(std::string("a") + static_cast<char>(c) + "b");
    }
}

TEST(dn_round_trip, every_pair_of_special_characters_comes_back) {
    const std::string_view specials = "\"#+,;<=>\\ a0F";
    for (const char first : specials) {
        for (const char second : specials) {
            expect_utf8_string_comes_back({first, second});
        }
    }
}

} // namespace
