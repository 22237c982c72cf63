// Display names of single OIDs.
#include "support/names.h"
#include "support/vectors.h"
#include "testing/parsed_map.h"

namespace {

bool print_oid(std::string_view der, std::string& out, bool with_oid, oid_map_handle_t map) {
    const exact_bytes_t block(der);
    return asn_oid_to_printable(block.data(), block.size(), out, with_oid, map);
}

// Whether the OID of an element is printed, and what is appended to the string.
void expect_appended(std::string_view der, oid_map_handle_t map, bool done, const std::string& text) {
    for (const bool with_oid : {false, true}) {
        std::string out = "held;";
        EXPECT_EQ(done, print_oid(der, out, with_oid, map)) << to_hex(der);
        EXPECT_EQ("held;" + text, out) << to_hex(der);
    }
}

// What the string holds is replaced.
void expect_assigned(std::string_view der, bool with_oid, oid_map_handle_t map, const std::string& text) {
    std::string out = "held;";
    EXPECT_TRUE(print_oid(der, out, with_oid, map)) << to_hex(der);
    EXPECT_EQ(text, out) << to_hex(der);
}

// Algorithms have names, with and without a map that does not know them; other OIDs have none without a map.
TEST(oid_to_printable, algorithms_and_other_oids) {
    for_each_vector("oids.txt", [](const vector_t& vector) {
        const std::string der = element(0x06, vector.bytes("content"));
        const std::string dotted = vector.text_or("canonical", vector.text("text"));
        if (!vector.has("algorithm")) {
            expect_appended(der, NO_MAP, vector.field("way") != "cut", dotted);
            return;
        }
        for (const oid_map_handle_t map : {NO_MAP, OID_MAP_HANDLE_DEFAULT}) {
            const std::string name = vector.text("algorithm");
            expect_assigned(der, false, map, name);
            expect_assigned(der, true, map, name + "(" + dotted + ")");
        }
    });
}

TEST(oid_to_printable, algorithm_changed_in_its_last_arcs_is_none) {
    expect_appended(from_hex("06 0A 2A 86 48 86 F7 0D 01 01 01 01"), NO_MAP, true, "1.2.840.113549.1.1.1.1");
    expect_appended(from_hex("06 08 2A 86 48 86 F7 0D 01 01"), NO_MAP, true, "1.2.840.113549.1.1");
    expect_appended(from_hex("06 0A 2A 86 48 86 F7 0D 01 01 80 01"), NO_MAP, true, "1.2.840.113549.1.1.1");
}

TEST(oid_to_printable, name_of_the_map_is_assigned_without_the_oid) {
    for (const bool with_oid : {false, true}) {
        expect_assigned(from_hex("06 03 55 04 03"), with_oid, OID_MAP_HANDLE_DEFAULT, "CN");
        expect_assigned(from_hex("06 03 55 04 08"), with_oid, OID_MAP_HANDLE_DEFAULT, "ST");
        expect_assigned(from_hex("06 09 2A 86 48 86 F7 0D 01 09 01"), with_oid, OID_MAP_HANDLE_DEFAULT, "E");
    }
}

TEST(oid_to_printable, name_of_the_map_goes_before_the_algorithms) {
    const parsed_map_t map("1.2.840.113549.1.1.1 = rsaKey, a key\n1.3.14.3.2.26 = , empty\n");
    expect_assigned(from_hex("06 09 2A 86 48 86 F7 0D 01 01 01"), true, map.handle(), "RSAKEY");
    expect_assigned(from_hex("06 05 2B 0E 03 02 1A"), true, map.handle(), "");
    expect_assigned(from_hex("06 08 2A 86 48 86 F7 0D 02 05"), false, map.handle(), "MD5");
}

TEST(oid_to_printable, map_without_the_oid_changes_nothing) {
    expect_appended(from_hex("06 02 2A 03"), OID_MAP_HANDLE_DEFAULT, true, "1.2.3");
    expect_appended(from_hex("06 00"), OID_MAP_HANDLE_DEFAULT, false, "");
}

TEST(oid_to_printable, long_length_and_bytes_after_the_element_are_accepted) {
    expect_appended(from_hex("06 84 00 00 00 02 2A 03"), NO_MAP, true, "1.2.3");
    expect_appended(from_hex("06 02 2A 03 05 00 FF"), NO_MAP, true, "1.2.3");
}

TEST(oid_to_printable, what_is_no_oid_is_refused) {
    for (const char* const der :
         {"", "06", "06 00", "04 03 55 04 03", "0D 03 55 04 03", "00 03 55 04 03", "55 04 03", "06 04 55 04 03",
          "06 80 55 04 03 00 00", "06 84 FF FF FF FA", "06 84 FF FF FF FB 55", "06 84 FF FF FF FE 55 04 03"}) {
        expect_appended(from_hex(der), NO_MAP, false, "");
    }
    for (const char* const der : {"06 03 55 04 03", "06 09 2A 86 48 86 F7 0D 01 01 0B", "06 81 03 55 04 03"}) {
        for_each_prefix(from_hex(der), [](const exact_bytes_t& prefix) {
            expect_appended(as_chars(prefix.data(), prefix.size()), OID_MAP_HANDLE_DEFAULT, false, "");
        });
    }
}

} // namespace
