// OID maps in tests: entries as lines of text, lookups as tables.
#ifndef DERKIT_TESTS_OID_MAPS_H
#define DERKIT_TESTS_OID_MAPS_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "asn/oid_map.h"
#include "support/expect.h"
#include "testing/bytes.h"

using lines_t = std::vector<std::string>;

inline const OIDdescr_t* find_asn(oid_map_handle_t map, std::string_view octets) {
    const exact_bytes_t der(octets);
    return oid_map_find_asn(map, der.data(), der.size());
}

inline const OIDdescr_t* find_str(oid_map_handle_t map, std::string_view text) {
    const exact_bytes_t key(text);
    return oid_map_find_str(map, key.chars(), key.size());
}

inline const OIDdescr_t* find_sn(oid_map_handle_t map, std::string_view name) {
    const exact_bytes_t key(name);
    return oid_map_find_sn(map, key.chars(), key.size());
}

// "asn 55 04 03", "str 2.5.4.3" or "sn CN".
inline const OIDdescr_t* find(oid_map_handle_t map, std::string_view question) {
    const std::string_view key = question.substr(0, question.find(' '));
    const std::string_view wanted = question.substr(key.size() + 1);
    return key == "asn" ? find_asn(map, from_hex(wanted)) : key == "str" ? find_str(map, wanted) : find_sn(map, wanted);
}

// "55 04 03|2.5.4.3|CN|commonName"
inline std::string show(const OIDdescr_t& entry) {
    return to_hex(entry.oid_asn, entry.oid_asn_size) + "|" + std::string(entry.oid_str, entry.oid_str_size) + "|" +
           std::string(entry.oid_sn, entry.oid_sn_size) + "|" + std::string(entry.oid_ln, entry.oid_ln_size);
}

inline std::string show(const OIDdescr_t* entry) {
    return entry == nullptr ? "none" : show(*entry);
}

// The list of entries, or an index.
template <typename ENTRIES> lines_t show_all(const ENTRIES& entries) {
    lines_t lines;
    for (const auto& entry : entries) {
        lines.push_back(show(entry));
    }
    return lines;
}

// `entry` is what every question finds, "none" that nothing is found.
inline void expect_found(oid_map_handle_t map, std::string_view entry,
                         std::initializer_list<std::string_view> questions) {
    for (const std::string_view question : questions) {
        EXPECT_TRUE(same_bytes(entry, show(find(map, question)))) << question;
    }
}

#endif
