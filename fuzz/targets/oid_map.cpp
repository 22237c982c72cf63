// Maps of OIDs: parsing, the three indexes, and adding lines to a map.
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>

#include "asn/oid_map.h"
#include "support/input.h"

namespace {

// Every lookup is compared with a search through all entries; larger maps would take too long.
constexpr std::ptrdiff_t MAX_ENTRIES_SEARCHED = 40;

std::string_view der_of(const OIDdescr_t& entry) {
    return std::string_view(reinterpret_cast<const char*>(entry.oid_asn), entry.oid_asn_size);
}

std::string_view dotted_of(const OIDdescr_t& entry) {
    return std::string_view(entry.oid_str, entry.oid_str_size);
}

std::string_view short_name_of(const OIDdescr_t& entry) {
    return std::string_view(entry.oid_sn, entry.oid_sn_size);
}

std::string_view long_name_of(const OIDdescr_t& entry) {
    return std::string_view(entry.oid_ln, entry.oid_ln_size);
}

bool same_but_for_case(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

template <typename IS_EQUAL> const OIDdescr_t* first_entry(const OIDmaps_t& map, IS_EQUAL is_equal) {
    const auto found = std::find_if(map.entries.begin(), map.entries.end(), is_equal);
    return found == map.entries.end() ? nullptr : &*found;
}

void check_finds(oid_map_handle_t handle, const OIDdescr_t& entry) {
    const OIDmaps_t& map = *handle.map;
    const auto same_der = [&entry](const OIDdescr_t& other) { return der_of(other) == der_of(entry); };
    const auto same_dotted = [&entry](const OIDdescr_t& other) { return dotted_of(other) == dotted_of(entry); };
    const auto same_name = [&entry](const OIDdescr_t& other) {
        return same_but_for_case(short_name_of(other), short_name_of(entry));
    };
    const exact_bytes_t der(der_of(entry));
    const exact_bytes_t dotted(dotted_of(entry));
    std::string lower(short_name_of(entry));
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const exact_bytes_t name(lower);
    require(oid_map_find_asn(handle, der.data(), der.size()) == first_entry(map, same_der),
            "the first line wins by DER");
    require(oid_map_find_str(handle, dotted.chars(), dotted.size()) == first_entry(map, same_dotted),
            "the first line wins by dotted text");
    require(oid_map_find_sn(handle, name.chars(), name.size()) == first_entry(map, same_name),
            "the first line wins by short name");
}

void check_entry(const OIDdescr_t& entry) {
    unsigned char der[512];
    const unsigned int size = oid_str_to_asn_(entry.oid_str, entry.oid_str + entry.oid_str_size, der);
    require_same(std::string_view(reinterpret_cast<const char*>(der), size), der_of(entry),
                 "DER and dotted text agree");
    require(size != 0, "an entry has an OID");
    require(entry.oid_str[entry.oid_str_size] == '\0' && entry.oid_sn[entry.oid_sn_size] == '\0' &&
                entry.oid_ln[entry.oid_ln_size] == '\0',
            "texts end with a zero");
    require(std::none_of(short_name_of(entry).begin(), short_name_of(entry).end(),
                         [](char c) { return c >= 'a' && c <= 'z'; }),
            "short names are kept in upper case");
}

// The map as a text of its own, one line an entry.
std::string write(const OIDmaps_t& map) {
    std::string text;
    for (const OIDdescr_t& entry : map.entries) {
        check_entry(entry);
        text.append(dotted_of(entry)).append(" = ").append(short_name_of(entry)).append(", ");
        text.append(long_name_of(entry)).append("\n");
    }
    return text;
}

std::string parse_and_write(const exact_bytes_t& text) {
    const oid_map_handle_t handle = oid_map_parse(text.chars(), text.size());
    require(handle.map != nullptr, "a handle is never empty");
    const std::string written = write(*handle.map);
    const std::ptrdiff_t num_entries = std::distance(handle.map->entries.begin(), handle.map->entries.end());
    std::for_each_n(handle.map->entries.begin(), std::min(num_entries, MAX_ENTRIES_SEARCHED),
                    [handle](const OIDdescr_t& entry) { check_finds(handle, entry); });
    oid_map_release(handle);
    return written;
}

// Arbitrary lookups, in the ready-made maps and in an empty one.
void check_strange_keys(std::string_view key) {
    const exact_bytes_t in(key);
    const oid_map_handle_t empty = oid_map_parse(nullptr, 0);
    for (const oid_map_handle_t map : {OID_MAP_HANDLE_DEFAULT, OID_MAP_HANDLE_DEFAULT_FILE, empty}) {
        const OIDdescr_t* const by_der = oid_map_find_asn(map, in.data(), in.size());
        const OIDdescr_t* const by_dotted = oid_map_find_str(map, in.chars(), in.size());
        const OIDdescr_t* const by_name = oid_map_find_sn(map, in.chars(), in.size());
        require(by_der == nullptr || der_of(*by_der) == key, "an entry that is found has the DER");
        require(by_dotted == nullptr || dotted_of(*by_dotted) == key, "an entry that is found has the dotted text");
        require(by_name == nullptr || same_but_for_case(short_name_of(*by_name), key),
                "an entry that is found has the short name");
        require(map.map != empty.map || (by_der == nullptr && by_dotted == nullptr && by_name == nullptr),
                "nothing is found in an empty map");
    }
    oid_map_release(empty);
}

// Lines that are added in two steps make the same map, when a line ends where the first step does.
void check_two_steps(std::string_view text, const std::string& expected) {
    const std::size_t line_end = text.find_first_of("\r\n", text.size() / 2);
    if (line_end == std::string_view::npos) {
        return;
    }
    const exact_bytes_t first(text.substr(0, line_end));
    const exact_bytes_t second(text.substr(line_end));
    const oid_map_handle_t handle = oid_map_parse(first.chars(), first.size());
    oid_map_parse_(*handle.map, second.chars(), second.size());
    require_same(expected, write(*handle.map), "lines can be added in two steps");
    oid_map_release(handle);
}

} // namespace

void check_input(std::string_view input) {
    const std::string written = answer_of(parse_and_write, input);
    require_same(written, parse_and_write(exact_bytes_t(written)), "a map that is written parses the same");
    check_two_steps(input, written);
    check_strange_keys(input);
}
