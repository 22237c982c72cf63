// OID maps: their text format, their entries and indexes, the built-in table, the lookups.
#include "asn/oid_map.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "support/expect.h"
#include "support/oid_maps.h"
#include "support/vectors.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/parsed_map.h"
#include "testing/views.h"

#if defined(__SANITIZE_ADDRESS__)
#define DERKIT_TESTS_EXACT_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DERKIT_TESTS_EXACT_HEAP 1
#endif
#endif

namespace {

using namespace std::string_view_literals;

// Found by a static initialiser of ordinary priority: the ready-made maps must be complete by then.
const OIDdescr_t* const FOUND_AT_START = oid_map_find_sn(OID_MAP_HANDLE_DEFAULT, "SUNIP", 5);
const OIDdescr_t* const FOUND_IN_FILE_MAP_AT_START = oid_map_find_sn(OID_MAP_HANDLE_DEFAULT_FILE, "SUNIP", 5);

lines_t entries_of(std::string_view text) {
    return show_all(parsed_map_t(text).map().entries);
}

// ---- layout ----

#ifdef __GLIBCXX__ // other C++ libraries have containers of other sizes
TEST(oid_map_layout, map_begins_with_its_list_and_three_indexes_in_that_order) {
    const OIDmaps_t map;
    const char* const start = reinterpret_cast<const char*>(&map);
    constexpr bool IS_32_BIT = sizeof(void*) == 4;
    EXPECT_EQ(reinterpret_cast<const char*>(&map.entries) - start, 0);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.by_asn) - start, IS_32_BIT ? 12 : 24);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.by_str) - start, IS_32_BIT ? 36 : 72);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.by_sn) - start, IS_32_BIT ? 60 : 120);
    static_assert(std::is_base_of_v<OIDmaps_t, default_oid_map_t>);
    static_assert(std::is_base_of_v<default_oid_map_t, default_file_oid_map_t>);
}
#endif

TEST(oid_map_layout, texts_of_an_entry_lie_in_one_block) {
    const parsed_map_t map("2.005.4.3 = Cn, the common name\n1.2.3 =");
    const std::string_view blocks[] = {"\x55\x04\x03"
                                       "2.005.4.3\0"
                                       "CN\0"
                                       "the common name\0"sv,
                                       "\x2A\x03"
                                       "1.2.3\0\0\0"sv};
    EXPECT_EQ(show_all(map.map().entries), (lines_t{"55 04 03|2.005.4.3|CN|the common name", "2A 03|1.2.3||"}));
    const std::string_view* block = blocks;
    for (const OIDdescr_t& entry : map.map().entries) {
        EXPECT_TRUE(same_bytes(*block, as_chars(entry.oid_asn, block->size())));
        const char* const start = reinterpret_cast<const char*>(entry.oid_asn);
        EXPECT_EQ(entry.oid_str, start + entry.oid_asn_size);
        EXPECT_EQ(entry.oid_sn, entry.oid_str + entry.oid_str_size + 1);
        EXPECT_EQ(entry.oid_ln, entry.oid_sn + entry.oid_sn_size + 1);
        EXPECT_GE(malloc_usable_size(entry.oid_asn), block->size());
#ifdef DERKIT_TESTS_EXACT_HEAP // only a sanitizer's heap knows the exact size of a block
        EXPECT_EQ(malloc_usable_size(entry.oid_asn), block->size());
#endif
        ++block;
    }
}

TEST(oid_map_layout, fresh_entry_is_empty_and_a_released_one_loses_its_block_alone) {
    OIDdescr_t entry;
    EXPECT_TRUE(entry.oid_asn == nullptr && entry.oid_str == nullptr);
    EXPECT_TRUE(entry.oid_sn == nullptr && entry.oid_ln == nullptr);
    EXPECT_EQ(entry.oid_asn_size + entry.oid_str_size + entry.oid_sn_size + entry.oid_ln_size, 0u);
    EXPECT_EQ(oid_map_handle_t().map, nullptr);

    // These texts are not on the heap: freeing anything but the block would end the process.
    char texts[] = "1.2.3";
    entry.oid_asn = new unsigned char[2];
    entry.oid_str = entry.oid_sn = entry.oid_ln = texts;
    OIDmaps_t::release_oid_(entry);
    EXPECT_STREQ(texts, "1.2.3");
}

// ---- one line ----

// Comments: lines that begin with another character, or whose OID is invalid or not followed by "=".
const char* const IGNORED_LINES =
    "# comment\n#1.2.3 = X\n  # 1.2.3 = X\n; 1.2.3 = X\ncomment\n\n \t \n\xEF\xBB\xBF\x31.2.3 = X\n"
    "\v1.2.3 = X\n1.2.3\f= X\n1.2.3\xA0= X\nabc = X\n-1.2.3 = X\n1.2.3a = X\n1.2.3 a = X\n"
    "1.2.3 1.2.4 = X\n1.2.3\n1.2.3 \t\n1.2.3, X\n= X\n  \t= X, name\n3.1 = X\n1 = X\n"
    "1.2.4294967296 = X\n.1.2 = X\n1.2. = X\n1..2 = X\n... = X";

// Alone with every line end, and between others.
void expect_entry(const std::string& line, const lines_t& entry) {
    for (const char* const line_end : {"", "\n", "\r", "\r\n", "\n\r", "\n\n\n", "\r\r\n"}) {
        EXPECT_EQ(entries_of(line + line_end), entry) << line;
    }
    lines_t expected = {"2A 01|1.2.1|FIRST|first"};
    expected.insert(expected.end(), entry.begin(), entry.end());
    expected.push_back("2A 63|1.2.99|LAST|last");
    EXPECT_EQ(entries_of("1.2.1 = FIRST, first\n" + line + "\n1.2.99 = LAST, last"), expected) << line;
}

TEST(oid_map_text, line_makes_an_entry_or_is_ignored) {
    for_each_vector("oid-map-lines.txt", [](const vector_t& vector) {
        expect_entry(vector.text("line"), {vector.field("octets") + "|" + vector.text("OID") + "|" +
                                           vector.text("short name") + "|" + vector.text("long name")});
    });
    std::istringstream ignored(IGNORED_LINES);
    for (std::string line; std::getline(ignored, line);) {
        expect_entry(line, {});
    }
    expect_entry(std::string("\0 1.2.3 = Foo"sv), {});
}

// ---- several lines ----

TEST(oid_map_text, lines_end_with_CR_and_LF_alone_wherever_these_stand) {
    EXPECT_EQ(entries_of("\r\n\n1.2.1 = A\r1.2.2 = B, b\n1.2.3 = C,\r\n1.2.4 = D, d \n\r\r1.2.5 =\r\n\r\n1.2.6 = F, f"),
              (lines_t{"2A 01|1.2.1|A|", "2A 02|1.2.2|B|b", "2A 03|1.2.3|C|", "2A 04|1.2.4|D|d ", "2A 05|1.2.5||",
                       "2A 06|1.2.6|F|f"}));
    EXPECT_EQ(entries_of("1.2.1\n= A\n1.2.2 =\nB\n1.2.3 = C\n, c\n1.2.4 = D,\nd\n1.2.\n5 = E\n"),
              (lines_t{"2A 02|1.2.2||", "2A 03|1.2.3|C|", "2A 04|1.2.4|D|"}));
    EXPECT_EQ(entries_of("1.2.1 = A, a\v1.2.2 = B\f1.2.3 = C\x85\xE2\x80\xA8\n").size(), 1u);
    EXPECT_EQ(entries_of("1.2.1 = A\0b, a\0b\n1.2.2\0= X\n1.2.3 = C"sv),
              (lines_t{std::string("2A 01|1.2.1|A\0B|a\0b"sv), "2A 03|1.2.3|C|"}));
}

TEST(oid_map_text, every_prefix_parses) {
    const std::string text = "# c\n1.2.3 = Foo, bar\r\n 1.2.4 =B,\n1.2.5\t=\tC";
    const std::size_t ends[] = {text.find("Foo") - 1, text.find("=B") + 1, text.find("=\tC") + 1};
    for_each_prefix(text, [&](const exact_bytes_t& prefix) {
        const auto num_entries =
            std::count_if(std::begin(ends), std::end(ends), [&](std::size_t end) { return prefix.size() >= end; });
        EXPECT_EQ(entries_of(std::string_view(prefix.chars(), prefix.size())).size(),
                  static_cast<std::size_t>(num_entries));
    });
}

TEST(oid_map_text, OID_has_at_most_506_octets_and_names_have_no_limit) {
    std::string oid = "2.5";
    std::string der = "55";
    for (int i = 0; i < 505; ++i) {
        oid += ".1";
        der += " 01";
    }
    EXPECT_EQ(entries_of(oid + " = A\n" + oid + ".1 = B\n"), (lines_t{der + "|" + oid + "|A|"}));

    const std::string name(100000, 'n');
    const parsed_map_t map("1.2.3 = " + name + ", " + name);
    EXPECT_EQ(show_all(map.map().entries), (lines_t{"2A 03|1.2.3|" + std::string(100000, 'N') + "|" + name}));
    EXPECT_EQ(find_sn(map.handle(), name), &map.map().entries.front());
}

// ---- duplicates ----

void expect_sizes(const OIDmaps_t& map, std::size_t entries, std::size_t by_asn, std::size_t by_str,
                  std::size_t by_sn) {
    EXPECT_EQ(map.entries.size(), entries);
    EXPECT_EQ(map.by_asn.size(), by_asn);
    EXPECT_EQ(map.by_str.size(), by_str);
    EXPECT_EQ(map.by_sn.size(), by_sn);
}

TEST(oid_map_duplicates, first_line_wins_in_each_index_separately) {
    const parsed_map_t map("1.2.3 = A, one\n"
                           "1.2.3 = B, same DER and text\n"
                           "1.02.3 = C, same DER\n"
                           "1.2.4 = a, same short name\n"
                           "1.2.3 = A, all the same\n"
                           "2.10.1 = , empty short name\n"
                           "1.50.1 = , same DER and short name\n");
    expect_sizes(map.map(), 7, 3, 5, 4);
    expect_found(map.handle(), "2A 03|1.2.3|A|one", {"asn 2A 03", "str 1.2.3", "sn A"});
    expect_found(map.handle(), "2A 03|1.2.3|B|same DER and text", {"sn B"});
    expect_found(map.handle(), "2A 03|1.02.3|C|same DER", {"str 1.02.3", "sn C"});
    expect_found(map.handle(), "2A 04|1.2.4|A|same short name", {"asn 2A 04", "str 1.2.4"});
    expect_found(map.handle(), "5A 01|2.10.1||empty short name", {"asn 5A 01", "str 2.10.1", "sn "});
    expect_found(map.handle(), "5A 01|1.50.1||same DER and short name", {"str 1.50.1"});
}

TEST(oid_map_duplicates, what_a_map_held_wins_over_what_is_added) {
    const parsed_map_t map("1.2.3 = A, one\n");
    const OIDdescr_t* const first = &map.map().entries.front();
    const exact_bytes_t more("1.2.3 = B, two\n1.2.4 = A, three\n1.2.5 = C, four");
    oid_map_parse_(map.map(), more.chars(), more.size());
    oid_map_parse_(map.map(), more.chars(), 0);
    EXPECT_EQ(show_all(map.map().entries),
              (lines_t{"2A 03|1.2.3|A|one", "2A 03|1.2.3|B|two", "2A 04|1.2.4|A|three", "2A 05|1.2.5|C|four"}));
    for (const char* const question : {"asn 2A 03", "str 1.2.3", "sn A"}) {
        EXPECT_EQ(find(map.handle(), question), first) << "entries stay where they are";
    }
    expect_found(map.handle(), "2A 03|1.2.3|B|two", {"sn b"});
    expect_found(map.handle(), "2A 04|1.2.4|A|three", {"asn 2A 04", "str 1.2.4"});
}

// Sizes are compared first.
TEST(oid_map_duplicates, zero_byte_ends_the_comparison_of_short_names_of_one_size) {
    const parsed_map_t map("1.2.3 = A\0B\n1.2.4 = A\0C\n1.2.5 = aaaaaaa\0bbbbbbbbbbbb\n1.2.6 = A\0\n"sv);
    expect_sizes(map.map(), 4, 4, 4, 3);
    expect_found(map.handle(), "2A 03|1.2.3|A\0B|"sv, {"sn a\0b"sv, "sn a\0c"sv});
    expect_found(map.handle(), "2A 05|1.2.5|AAAAAAA\0BBBBBBBBBBBB|"sv,
                 {"sn AAAAAAA\0bbbbbbbbbbbc"sv, "sn aaaaaaa\0\0aaaaaaaaaaa"sv});
    expect_found(map.handle(), "2A 06|1.2.6|A\0|"sv, {"sn A\0"sv});
    expect_found(map.handle(), "none",
                 {"sn A", "sn B\0"sv, "sn aaaaaab\0bbbbbbbbbbbb"sv, "sn aaaaaaaabbbbbbbbbbbb\0"sv});
}

// ---- many keys ----

// No other entry has its DER or its short name.
void expect_found(const parsed_map_t& map, const OIDdescr_t& entry) {
    EXPECT_EQ(find_asn(map.handle(), as_chars(entry.oid_asn, entry.oid_asn_size)), &entry) << entry.oid_str;
    EXPECT_EQ(find_sn(map.handle(), entry.oid_sn), &entry) << entry.oid_sn;
}

// Names of every size, the ends of which are hashed.
std::string name_of(unsigned int i) {
    const std::string number = std::to_string(i);
    return number + std::string(i % 71, 'n') + number;
}

TEST(oid_map_of_many_lines, every_key_is_found_and_no_other) {
    constexpr unsigned int NUM_LINES = 20000;
    std::string text;
    for (unsigned int i = 0; i < NUM_LINES; ++i) {
        text += "1.2." + std::to_string(2 * i) + " = " + name_of(2 * i) + "\n";
    }
    const parsed_map_t map(text);
    EXPECT_EQ(map.map().entries.size(), NUM_LINES);
    unsigned int odd = 1;
    for (const OIDdescr_t& entry : map.map().entries) {
        expect_found(map, entry);
        EXPECT_EQ(find_sn(map.handle(), name_of(odd - 1)), &entry);
        EXPECT_EQ(find_str(map.handle(), entry.oid_str), &entry) << entry.oid_str;
        EXPECT_EQ(find_sn(map.handle(), name_of(odd)), nullptr) << odd;
        unsigned char der[512];
        const std::string oid = "1.2." + std::to_string(odd);
        const unsigned int der_size = oid_str_to_asn_(oid.data(), oid.data() + oid.size(), der);
        EXPECT_EQ(oid_map_find_asn(map.handle(), der, der_size), nullptr) << oid;
        odd += 2;
    }
}

TEST(oid_map_of_many_lines, keys_of_every_size_are_found_while_a_map_grows) {
    const parsed_map_t map("");
    std::string oid = "1.2";
    std::string der = "\x2A";
    std::string name;
    for (unsigned int num_lines = 1; num_lines <= 100; ++num_lines) {
        EXPECT_EQ(find_sn(map.handle(), name), nullptr) << name;
        EXPECT_EQ(find_asn(map.handle(), der), nullptr) << oid;
        const exact_bytes_t line(oid + " = " + name);
        oid_map_parse_(map.map(), line.chars(), line.size());
        ASSERT_EQ(map.map().entries.size(), num_lines);
        for (const OIDdescr_t& entry : map.map().entries) {
            expect_found(map, entry);
        }
        oid += ".1";
        der += '\1';
        name += 'n';
    }
}

// ---- the hash tables ----

// Keys in an index and its table, which answers alone when the index is empty.
class hashed_keys_t {
  public:
    using index_t = OIDmaps_t::by_asn_t;

    void add(const std::string& key) {
        keys_.push_back(key);
        OIDdescr_t& entry = entries_.emplace_back();
        entry.oid_asn = octets_of(keys_.back());
        entry.oid_asn_size = size_of(key);
        index_.insert(&entry);
        shortcut_.add(index_, &entry);
    }
    const OIDdescr_t* find(std::string key) const { return shortcut_.find(index_, octets_of(key), size_of(key)); }
    const OIDdescr_t* find_in_table(std::string key) const {
        return shortcut_.find(index_t(), octets_of(key), size_of(key));
    }

    // The number of keys that the table holds. Each must be found in any case, with its own entry.
    std::size_t num_in_table() const {
        std::size_t num_found = 0;
        for (const OIDdescr_t& entry : entries_) {
            const std::string key(as_chars(entry.oid_asn, entry.oid_asn_size));
            EXPECT_EQ(find(key), &entry) << to_hex(key);
            const OIDdescr_t* const found = find_in_table(key);
            EXPECT_TRUE(found == nullptr || found == &entry) << to_hex(key);
            num_found += found == nullptr ? 0 : 1;
        }
        return num_found;
    }

  private:
    std::list<std::string> keys_;
    std::list<OIDdescr_t> entries_;
    index_t index_;
    OIDmaps_t::shortcut_by_asn_t shortcut_;

    static unsigned char* octets_of(std::string& key) { return reinterpret_cast<unsigned char*>(key.data()); }
    static unsigned int size_of(const std::string& key) { return static_cast<unsigned int>(key.size()); }
};

std::uint32_t hash_of(std::string_view key, std::uint32_t ignored_bits = 0) {
    const exact_bytes_t octets(key);
    return oid_hash(octets.data(), octets.size(), ignored_bits);
}

// Neighbours in a tree of OIDs.
std::string neighbour(unsigned int number) {
    return from_hex("2A 85 03") + static_cast<char>(0x80 | number >> 7) + static_cast<char>(number & 0x7F);
}

TEST(oid_map_table, holds_its_keys_while_it_grows) {
    hashed_keys_t keys;
    for (unsigned int num_keys = 1; num_keys <= 300; ++num_keys) {
        EXPECT_EQ(keys.find(neighbour(num_keys)), nullptr);
        keys.add(neighbour(num_keys));
        ASSERT_EQ(keys.num_in_table(), num_keys);
        EXPECT_EQ(keys.find_in_table(neighbour(num_keys + 1)), nullptr);
    }
}

// They differ in octets that are not hashed. Half of them come after the table has grown.
TEST(oid_map_table, leaves_keys_that_meet_in_one_place_to_the_index_after_eight) {
    const auto meeting = [](unsigned int number) { return "first" + std::to_string(1000 + number) + "last"; };
    hashed_keys_t keys;
    for (unsigned int i = 0; i < 60; ++i) {
        ASSERT_EQ(hash_of(meeting(0)), hash_of(meeting(i)));
        EXPECT_EQ(keys.find(meeting(i)), nullptr);
        keys.add(meeting(i));
        ASSERT_EQ(keys.num_in_table(), std::min(i + 1, 8u));
    }
    EXPECT_EQ(keys.find(meeting(60)), nullptr);
}

TEST(oid_map_table, ends_at_its_last_slot) {
    hashed_keys_t keys;
    unsigned int num_keys = 0;
    for (unsigned int i = 0; num_keys < 4; ++i) {
        const std::string key = neighbour(i);
        if (hash_of(key) >> 26 == 62) { // the last but one of 64 slots
            keys.add(key);
            ++num_keys;
            EXPECT_EQ(keys.num_in_table(), std::min(num_keys, 2u));
        }
    }
}

TEST(oid_map_table, finds_a_name_in_any_case) {
    const OIDmaps_t::by_sn_t no_index;
    for (const std::string_view name : {""sv, "S"sv, "CN"sv, "DNQ"sv, "MBOX"sv, "STREET@["sv, "STREETADDRESS"sv}) {
        std::string stored(name);
        OIDdescr_t entry;
        entry.oid_sn = stored.data();
        entry.oid_sn_size = static_cast<unsigned int>(stored.size());
        OIDmaps_t::shortcut_by_sn_t shortcut;
        shortcut.add({&entry}, &entry);
        std::string wanted = stored;
        for (char& c : wanted) {
            c = ascii_lower(c);
            EXPECT_EQ(shortcut.find(no_index, wanted.data(), entry.oid_sn_size), &entry) << wanted;
        }
        EXPECT_EQ(shortcut.find(no_index, wanted.data(), entry.oid_sn_size), &entry) << wanted;
        wanted += '{';
        EXPECT_EQ(shortcut.find(no_index, wanted.data(), entry.oid_sn_size + 1), nullptr) << wanted;
    }
}

// Neighbours in a tree of OIDs differ in one octet: a table of twice their number has to keep most of them apart.
TEST(oid_map_table, keys_that_differ_at_their_ends_have_places_of_their_own) {
    for (unsigned int size = 1; size <= 12; ++size) {
        for (unsigned int position = 0; position < size; ++position) {
            std::set<std::uint32_t> places;
            for (unsigned int octet = 0; octet < 128; ++octet) {
                std::string key(size, '\x2A');
                key[position] = static_cast<char>(octet);
                places.insert(hash_of(key) >> 24);
            }
            const bool is_hashed = position < 4 || position + 4 >= size;
            EXPECT_TRUE(is_hashed ? places.size() > 55 : places.size() == 1)
                << places.size() << " for octet " << position << " of " << size;
        }
    }
}

TEST(oid_map_table, keys_of_one_octet_repeated_have_hashes_of_their_own) {
    for (const char octet : {'\0', '\1', 'n', '\xFF'}) {
        std::set<std::uint32_t> hashes;
        for (unsigned int size = 0; size <= 64; ++size) {
            hashes.insert(hash_of(std::string(size, octet)));
        }
        EXPECT_EQ(hashes.size(), 65u) << static_cast<int>(octet);
    }
}

// ---- orders ----

TEST(oid_map_order, is_that_of_the_lines_and_in_an_index_shorter_first_then_unsigned_octets) {
    EXPECT_EQ(entries_of("1.2.9 = Z\n1.2.1 = Y\n1.2.5 = A\n"),
              (lines_t{"2A 09|1.2.9|Z|", "2A 01|1.2.1|Y|", "2A 05|1.2.5|A|"}));
    EXPECT_EQ(
        show_all(parsed_map_t("1.2.128 =\n2.39 =\n1.2.1 =\n0.5.127 =\n0.5 =\n1.2.16383 =\n0.0.0.0 =\n").map().by_asn),
        (lines_t{"05|0.5||", "77|2.39||", "05 7F|0.5.127||", "2A 01|1.2.1||", "00 00 00|0.0.0.0||",
                 "2A 81 00|1.2.128||", "2A FF 7F|1.2.16383||"}));
    EXPECT_EQ(show_all(parsed_map_t("1.2.10 =\n2.5 =\n1.10 =\n1.2.9 =\n0.9.2 =\n1.9 =\n").map().by_str),
              (lines_t{"31|1.9||", "55|2.5||", "32|1.10||", "09 02|0.9.2||", "2A 09|1.2.9||", "2A 0A|1.2.10||"}));
}

// Letters compare in lower case, so '_' (5F) comes before 'A' (61), though not before 41.
TEST(oid_map_order, by_short_name_is_shorter_first_then_lower_case_unsigned) {
    const parsed_map_t map("1.1 = zz\n1.2 = b\n1.3 = _\n1.4 = A_\n1.5 = aB\n1.6 = \xE0\n1.7 = Z\n1.8 = 9\n1.9 = aaa\n"
                           "1.10 = ,\n1.11 = {\n");
    EXPECT_EQ(show_all(map.map().by_sn),
              (lines_t{"32|1.10||", "30|1.8|9|", "2B|1.3|_|", "2A|1.2|B|", "2F|1.7|Z|", "33|1.11|{|", "2E|1.6|\xE0|",
                       "2C|1.4|A_|", "2D|1.5|AB|", "29|1.1|ZZ|", "31|1.9|AAA|"}));
}

TEST(oid_map_order, comparisons_of_keys) {
    const oid_memcmp_t exact;
    EXPECT_TRUE(exact("ab", "ab", 2) == 0 && exact(nullptr, nullptr, 0) == 0);
    EXPECT_TRUE(exact("ab", "aB", 2) != 0 && exact("\x7F", "\x80", 1) < 0 && exact("a\0b", "a\0c", 3) < 0);
    const oid_strcmp_t without_case;
    EXPECT_TRUE(without_case("aBz", "AbZ", 3) == 0 && without_case("aBx", "AbY", 2) == 0);
    EXPECT_TRUE(without_case("_", "A", 1) < 0 && without_case("\xE0", "z", 1) > 0);
    EXPECT_TRUE(without_case("\xE0", "\xC0", 1) != 0 && without_case("@", "`", 1) != 0) << "ASCII letters alone";
    EXPECT_NE(without_case("[", "{", 1), 0);
}

// ---- lookups ----

const char* const COMMON_NAME = "55 04 03|2.5.4.3|CN|commonName";

TEST(oid_map_find, ignores_the_case_of_a_short_name_and_takes_text_as_written) {
    expect_found(OID_MAP_HANDLE_DEFAULT, COMMON_NAME, {"sn CN", "sn cn", "sn Cn", "sn cN", "str 2.5.4.3"});
    expect_found(OID_MAP_HANDLE_DEFAULT, "none", {"str 2.5.4.03"});
    const parsed_map_t map("2.5.4.03 = fOO");
    expect_found(map.handle(), "55 04 03|2.5.4.03|FOO|", {"sn Foo", "str 2.5.4.03", "asn 55 04 03"});
    expect_found(map.handle(), "none", {"str 2.5.4.3"});
}

// A map of names that differ in one octet, for each octet that a name can hold.
void expect_that_ascii_letters_alone_are_folded(unsigned int size, unsigned int position) {
    SCOPED_TRACE("octet " + std::to_string(position) + " of " + std::to_string(size));
    std::string text;
    std::map<unsigned int, std::string> names;
    for (unsigned int octet = 0; octet < 256; ++octet) {
        const char c = static_cast<char>(octet);
        if (" \t=,\r\n"sv.find(c) == std::string_view::npos) {
            names[octet] = std::string(position, '_') + c + std::string(size - position - 1, '_');
            text += "1.2." + std::to_string(octet) + " = " + names[octet] + "\n";
        }
    }
    const parsed_map_t map(text);
    for (const auto& [octet, name] : names) {
        const bool is_small_letter = octet >= 'a' && octet <= 'z'; // the capital's line comes first
        const OIDdescr_t* const found = find_sn(map.handle(), name);
        ASSERT_NE(found, nullptr) << to_hex(name);
        EXPECT_EQ(std::string(found->oid_str), "1.2." + std::to_string(is_small_letter ? octet - 0x20 : octet));
    }
}

TEST(oid_map_find, by_short_name_folds_ascii_letters_alone_at_every_place) {
    for (const unsigned int size : {1U, 3U, 4U, 8U, 9U}) {
        for (const unsigned int position : {0U, size / 2, size - 1}) {
            expect_that_ascii_letters_alone_are_folded(size, position);
        }
    }
}

TEST(oid_map_find, looks_at_as_much_as_it_is_told_to) {
    const oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT;
    EXPECT_EQ(show(oid_map_find_sn(map, "CN=user", 2)), COMMON_NAME);
    EXPECT_EQ(show(oid_map_find_str(map, "2.5.4.3=user", 7)), COMMON_NAME);
    EXPECT_EQ(show(oid_map_find_str(map, "2.5.4.42", 7)), "55 04 04|2.5.4.4|SN|surName");
}

// They have a table of their own; the first line of an OID goes into it too.
TEST(oid_map_find, by_der_finds_every_attribute_type_of_X_520_and_its_neighbours) {
    std::string text;
    for (const char* const arc : {"2.5.3", "2.5.4", "2.5.5", "2.6.4", "1.5.4"}) {
        for (unsigned int i = 0; i < 260; ++i) {
            if (i % 7 != 0) {
                text += std::string(arc) + "." + std::to_string(i) + " = A" + std::to_string(text.size()) + "\n";
            }
        }
    }
    text += text.substr(0, text.find('=')) + "= LATER\n2.5.4.3 = LATER\n2.5.4.130 = LATER\n";
    const parsed_map_t map(text);
    for (const char* const arc : {"2.5.3", "2.5.4", "2.5.5", "2.6.4", "1.5.4"}) {
        for (unsigned int i = 0; i < 260; ++i) {
            const std::string dotted = std::string(arc) + "." + std::to_string(i);
            const std::string der = encode_content(der_oid(dotted));
            const OIDdescr_t* const entry =
                oid_map_find_asn(map.handle(), view_of(der).data, static_cast<unsigned int>(der.size()));
            ASSERT_EQ(i % 7 != 0, entry != nullptr) << dotted;
            if (entry != nullptr) {
                EXPECT_EQ(dotted, entry->oid_str);
                EXPECT_STRNE("LATER", entry->oid_sn) << dotted;
            }
        }
    }
}

TEST(oid_map_find, returns_null_for_what_is_not_there) {
    const oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT;
    expect_found(map, "none",
                 {"asn ", "asn 55", "asn 55 04", "asn 55 04 05", "asn 55 04 03 00", "asn 56 04 03", "asn 00"});
    expect_found(map, "none", {"str ", "str 2.5.4", "str 2.5.4.5", "str 2.5.4.3.", "str  2.5.4.3", "str CN"});
    expect_found(map, "none",
                 {"sn ", "sn CNN", "sn X", "sn commonName", "sn 2.5.4.3", "sn CN ", "sn C N", "sn CN\0"sv});
    EXPECT_EQ(oid_map_find_asn(map, nullptr, 0), nullptr);
    EXPECT_EQ(oid_map_find_str(map, nullptr, 0), nullptr);
    EXPECT_EQ(oid_map_find_sn(map, nullptr, 0), nullptr);
}

TEST(oid_map_find, in_an_empty_map_returns_null) {
    for (const std::string_view text : {""sv, "\n"sv, "# comment\nabc = X\n3.1 = X\n1 = X\n= X\n"sv}) {
        const parsed_map_t map(text);
        ASSERT_NE(map.handle().map, nullptr);
        expect_sizes(map.map(), 0, 0, 0, 0);
        expect_found(map.handle(), "none", {"asn 55 04 03", "asn ", "str 2.5.4.3", "str ", "sn CN", "sn "});
    }
    const oid_map_handle_t of_nothing = oid_map_parse(nullptr, 0);
    ASSERT_NE(of_nothing.map, nullptr);
    EXPECT_TRUE(of_nothing.map->entries.empty());
    oid_map_release(of_nothing);
}

TEST(oid_map_release, ignores_an_empty_handle_and_leaves_other_maps_alone) {
    EXPECT_NO_FATAL_FAILURE(oid_map_release(oid_map_handle_t()));
    const parsed_map_t kept("1.2.3 = A, a");
    const oid_map_handle_t released = oid_map_parse("1.2.3 = A, a", 12);
    EXPECT_NE(released.map, kept.handle().map);
    oid_map_release(released);
    expect_found(kept.handle(), "2A 03|1.2.3|A|a", {"sn A"});
}

// ---- ready-made maps ----

const lines_t BUILT_IN = {
    "55 04 03|2.5.4.3|CN|commonName",
    "55 04 04|2.5.4.4|SN|surName",
    "55 04 06|2.5.4.6|C|countryName",
    "55 04 07|2.5.4.7|L|localityName",
    "55 04 08|2.5.4.8|ST|stateName",
    "55 04 08|2.5.4.8|S|stateName",
    "55 04 09|2.5.4.9|STREET|streetAddress",
    "55 04 0A|2.5.4.10|O|organizationName",
    "55 04 0B|2.5.4.11|OU|organizationalUnitName",
    "55 04 0C|2.5.4.12|T|title",
    "55 04 14|2.5.4.20|TEL|telephoneNumber",
    "55 04 17|2.5.4.23|FAX|facsimileNumber",
    "55 04 29|2.5.4.41|NQ|nameQualifier",
    "55 04 2A|2.5.4.42|GN|givenName",
    "55 04 2B|2.5.4.43|I|initials",
    "55 04 2C|2.5.4.44|GQ|generationQualifier",
    "55 04 2E|2.5.4.46|DNQ|dnQualifier",
    "55 04 41|2.5.4.65|PS|pseudonym",
    "09 92 26 89 93 F2 2C 64 01 01|0.9.2342.19200300.100.1.1|UID|uid",
    "09 92 26 89 93 F2 2C 64 01 03|0.9.2342.19200300.100.1.3|MBOX|rfc822Mailbox",
    "09 92 26 89 93 F2 2C 64 01 19|0.9.2342.19200300.100.1.25|DC|domainComponent",
    "2A 86 48 86 F7 0D 01 09 01|1.2.840.113549.1.9.1|E|emailAddress",
    "2B 06 01 04 01 2A 02 0B 02 01|1.3.6.1.4.1.42.2.11.2.1|SUNIP|ipAddress",
};

TEST(oid_map_built_in, holds_23_lines_in_order) {
    ASSERT_NE(OID_MAP_HANDLE_DEFAULT.map, nullptr);
    EXPECT_EQ(show_all(OID_MAP_HANDLE_DEFAULT.map->entries), BUILT_IN);
    expect_sizes(*OID_MAP_HANDLE_DEFAULT.map, 23, 22, 22, 23); // 2.5.4.8 is there twice
    EXPECT_EQ(show_all(default_oid_map_t().entries), BUILT_IN) << "in every map that is made";

    ASSERT_NE(OID_MAP_HANDLE_DEFAULT_FILE.map, nullptr);
    EXPECT_NE(OID_MAP_HANDLE_DEFAULT_FILE.map, OID_MAP_HANDLE_DEFAULT.map);
    lines_t lines = show_all(OID_MAP_HANDLE_DEFAULT_FILE.map->entries);
    ASSERT_GE(lines.size(), BUILT_IN.size());
    lines.resize(BUILT_IN.size());
    EXPECT_EQ(lines, BUILT_IN) << "before the lines of the file";
}

TEST(oid_map_built_in, every_entry_is_found_and_2_5_4_8_is_ST) {
    for (const OIDdescr_t& entry : OID_MAP_HANDLE_DEFAULT.map->entries) {
        EXPECT_EQ(find_sn(OID_MAP_HANDLE_DEFAULT, entry.oid_sn), &entry);
        const bool is_second_name = entry.oid_sn == "S"sv;
        const OIDdescr_t* const expected = is_second_name ? find_sn(OID_MAP_HANDLE_DEFAULT, "ST") : &entry;
        EXPECT_EQ(oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, entry.oid_asn, entry.oid_asn_size), expected);
        EXPECT_EQ(find_str(OID_MAP_HANDLE_DEFAULT, entry.oid_str), expected);
    }
    expect_found(OID_MAP_HANDLE_DEFAULT, "55 04 08|2.5.4.8|ST|stateName", {"asn 55 04 08", "str 2.5.4.8", "sn st"});
    expect_found(OID_MAP_HANDLE_DEFAULT, "55 04 08|2.5.4.8|S|stateName", {"sn s"});
}

TEST(oid_map_built_in, is_complete_before_static_initialisers_of_a_program_run) {
    EXPECT_EQ(show(FOUND_AT_START), BUILT_IN.back());
    EXPECT_EQ(show(FOUND_IN_FILE_MAP_AT_START), BUILT_IN.back());
}

} // namespace
