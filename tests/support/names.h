// Distinguished names in tests: DER of names, printing and encoding them, and the checks that name what failed.
#ifndef DERKIT_TESTS_NAMES_H
#define DERKIT_TESTS_NAMES_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "derkit/asn_printable.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/vectors.h"

inline constexpr oid_map_handle_t NO_MAP = {};
inline constexpr PrintableDnOrder DN_ORDERS[] = {PDN_ORDER_AS_ENCODED, PDN_ORDER_REVERSED};

// The characters that are escaped in the text of a value.
inline constexpr std::string_view DN_SPECIALS = "\"#+,;<=>\\";

// The map that a case names.
inline oid_map_handle_t map_of(const vector_t& vector) {
    return vector.field("map") == "built-in" ? OID_MAP_HANDLE_DEFAULT : NO_MAP;
}

inline std::string element(unsigned char tag, std::string_view content) {
    return encode(der_element(tag, content));
}

// An attribute, an RDN and a name of this value element, all of type 2.5.4.3.
inline std::string attribute_of(std::string_view value) {
    return element(0x30, from_hex("06 03 55 04 03") + std::string(value));
}
inline std::string rdn_of(std::string_view value) {
    return element(0x31, attribute_of(value));
}
inline std::string name_of(std::string_view value) {
    return element(0x30, rdn_of(value));
}

inline const std::string COUNTRY_RU = from_hex("31 0B 30 09 06 03 55 04 06 13 02 52 55");

inline exact_bytes_t zero_terminated(std::string_view text) {
    return exact_bytes_t(std::string(text) + '\0');
}

// Printing

struct printed_t {
    bool done = false;
    std::string text;
};

// Appends to a string that holds a text already, and takes that off again.
inline printed_t print(std::string_view der, PrintableDnOrder order, oid_map_handle_t map = NO_MAP) {
    const std::string held = "held;";
    const exact_bytes_t block(der);
    printed_t printed;
    printed.text = held;
    printed.done = asn_dn_to_printable(block.data(), block.size(), printed.text, order, map);
    EXPECT_TRUE(same_bytes(held, std::string_view(printed.text).substr(0, held.size())));
    printed.text.erase(0, held.size());
    return printed;
}

inline const char* order_name(PrintableDnOrder order) {
    return order == PDN_ORDER_REVERSED ? "reversed" : "as encoded";
}

inline void expect_printed(std::string_view der, PrintableDnOrder order, oid_map_handle_t map, bool done,
                           std::string_view text) {
    const printed_t printed = print(der, order, map);
    EXPECT_EQ(done, printed.done) << order_name(order) << ", " << to_hex(der);
    EXPECT_TRUE(same_bytes(text, printed.text)) << order_name(order) << ", got \"" << printed.text << '"';
}

inline void expect_printed(std::string_view der, oid_map_handle_t map, std::string_view as_encoded,
                           std::string_view reversed) {
    expect_printed(der, PDN_ORDER_AS_ENCODED, map, true, as_encoded);
    expect_printed(der, PDN_ORDER_REVERSED, map, true, reversed);
}

inline void expect_not_printed(std::string_view der) {
    for (const PrintableDnOrder order : DN_ORDERS) {
        EXPECT_FALSE(print(der, order).done) << order_name(order) << ", " << to_hex(der);
    }
}

// Encoding

inline void expect_encoded(std::string_view dn, oid_map_handle_t map, std::string_view expected) {
    std::string der = "held;";
    EXPECT_TRUE(printable_to_asn_dn(zero_terminated(dn).chars(), der, map)) << dn;
    EXPECT_TRUE(same_bytes(expected, der)) << dn;
}

// The string that was to receive keeps what it holds.
inline void expect_not_encoded(std::string_view dn, oid_map_handle_t map) {
    std::string der = "held;";
    EXPECT_FALSE(printable_to_asn_dn(zero_terminated(dn).chars(), der, map)) << dn;
    EXPECT_TRUE(same_bytes("held;", der)) << dn;
}

#endif
