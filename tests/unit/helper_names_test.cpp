// The helpers for names and OIDs return what the exported functions write; OID maps release themselves.
#include "derkit/helpers/names.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "support/expect.h"
#include "support/oid_maps.h"
#include "testing/bytes.h"
#include "testing/views.h"

namespace {

using derkit::maybe_string;
using derkit::oid_map;

const oid_map_handle_t NO_MAP = oid_map_handle_t();

std::string show(const maybe_string& text) {
    return text ? *text : "nothing";
}

struct maybe_case_t {
    const char* name;
    maybe_string got;
    std::string expected;
};

// CN=a,O=b
const std::string DER = from_hex("3018 310A 3008 0603550403 130161 310A 3008 060355040A 130162");

TEST(helper_names, are_returned) {
    const std::string with_zero("CN=a\0,O=b", 9);
    const maybe_case_t cases[] = {
        {"as encoded", derkit::name_to_text(view_of(DER)), "CN=a,O=b"},
        {"reversed", derkit::name_to_text(view_of(DER), PDN_ORDER_REVERSED), "O=b,CN=a"},
        {"dotted", derkit::name_to_text(view_of(DER), PDN_ORDER_AS_ENCODED, NO_MAP), "2.5.4.3=a,2.5.4.10=b"},
        {"empty name", derkit::name_to_text(view_of(from_hex("3000"))), ""},
        {"cut", derkit::name_to_text(view_of(DER.substr(0, DER.size() - 1))), "nothing"},
        {"no name", derkit::name_to_text(blob_t()), "nothing"},
        {"encoded", derkit::text_to_name("cn=a, O=b"), DER},
        {"encoded without a map", derkit::text_to_name("2.5.4.3=a,2.5.4.10=b", NO_MAP), DER},
        {"unknown type", derkit::text_to_name("CN=a", NO_MAP), "nothing"},
        {"no zero in text", derkit::text_to_name(with_zero), "nothing"},
        {"canonical", derkit::canonical_name("cn=a, O=\"b,c\""), "CN=a,O=b\\,c"},
        {"canonical without a map", derkit::canonical_name("02.5.4.3=a", NO_MAP), "2.5.4.3=a"},
        {"canonical of no name", derkit::canonical_name("a"), "nothing"},
        {"no zero in canonical text", derkit::canonical_name(with_zero), "nothing"},
        {"attribute", derkit::attribute_of("CN=a,O=b\\,c,O=d", "O"), "b\\,c"},
        {"empty attribute", derkit::attribute_of("CN=", "CN"), ""},
        {"no such attribute", derkit::attribute_of("CN=a", "cn"), "nothing"},
        {"reversed text", derkit::reversed_name("CN=a,O=b"), "O=b,CN=a"},
        {"reversed empty text", derkit::reversed_name(""), ""},
        {"reversed no name", derkit::reversed_name("a,b"), "nothing"},
        {"reversed with a zero", derkit::reversed_name(with_zero), "nothing"},
        {"OID to text", derkit::oid_to_text(view_of("\x55\x04\x03")), "2.5.4.3"},
        {"no OID to text", derkit::oid_to_text(blob_t()), "nothing"},
        {"cut OID to text", derkit::oid_to_text(view_of("\x55\x84")), "nothing"},
        {"text to OID", derkit::text_to_oid("2.5.4.3"), "\x55\x04\x03"},
        {"one arc to OID", derkit::text_to_oid("2"), "nothing"},
        {"no text to OID", derkit::text_to_oid(""), "nothing"},
    };
    for (const maybe_case_t& c : cases) {
        EXPECT_TRUE(same_bytes(c.expected, show(c.got))) << c.name;
    }
}

TEST(helper_oid_map, finds_by_every_key) {
    const oid_map map("1.2.643.100.1 = OGRN, main number\n");
    const std::string entry = "2A 85 03 64 01|1.2.643.100.1|OGRN|main number";
    EXPECT_EQ(show(map.find("OGRN")), entry);
    EXPECT_EQ(show(map.find("ogrn")), entry);
    EXPECT_EQ(show(map.find("1.2.643.100.1")), entry);
    EXPECT_EQ(show(map.find(view_of("\x2A\x85\x03\x64\x01"))), entry);
    EXPECT_EQ(show(map.find("CN")), "none");
    EXPECT_EQ(show(map.find("main number")), "none");
    EXPECT_EQ(show(map.find(blob_t())), "none");
    EXPECT_EQ(*derkit::canonical_name("ogrn=5", map), "OGRN=5");
}

TEST(helper_oid_map, grows) {
    oid_map map;
    EXPECT_EQ(show(map.find("A")), "none");
    map.add("1.2.3 = A\n1.2.4 = B");
    map.add("1.2.3 = C");
    EXPECT_EQ(show(map.find("1.2.3")), "2A 03|1.2.3|A|");
    EXPECT_EQ(show(map.find("B")), "2A 04|1.2.4|B|");
}

TEST(helper_oid_map, moves_and_does_not_copy) {
    static_assert(!std::is_copy_constructible_v<oid_map> && !std::is_copy_assignable_v<oid_map>);
    static_assert(std::is_nothrow_move_constructible_v<oid_map> && std::is_nothrow_move_assignable_v<oid_map>);
    oid_map first("1.2.3 = A");
    const OIDmaps_t* const place = first.handle().map;
    oid_map second(std::move(first));
    EXPECT_EQ(second.handle().map, place);
    EXPECT_EQ(first.handle().map, nullptr); // NOLINT(bugprone-use-after-move): documented
    EXPECT_EQ(first.find("A"), nullptr);
    EXPECT_EQ(first.find(view_of("\x2A\x03")), nullptr);
    first.add("1.2.4 = B"); // does nothing

    oid_map third("1.2.5 = C");
    third = std::move(second);
    EXPECT_EQ(show(third.find("A")), "2A 03|1.2.3|A|");
    EXPECT_EQ(show(second.find("C")), "2A 05|1.2.5|C|"); // NOLINT(bugprone-use-after-move): documented
}

} // namespace
