// Every function that takes memory, on an input of full size, with its first allocation failing, then the second, and
// so on until it succeeds: what comes out is std::bad_alloc and nothing else, nothing is leaked, outputs hold what the
// headers say, and the same call works right afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <list>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "asn/oid_map.h"
#include "derkit/derkit.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/exported_functions.h"
#include "testing/failing_allocator.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/time_zone.h"
#include "testing/views.h"

namespace {

std::size_t num_failures = 0; // allocations that failed

class failures_report_t final : public testing::Environment {
  public:
    void TearDown() override { std::cout << num_failures << " allocations failed\n"; }
};
// The test of a time needs a zone.
const time_zone_t IN_UTC(ZONE_UTC);
const testing::Environment* const REPORT = testing::AddGlobalTestEnvironment(new failures_report_t);

// Whether a function that fails keeps parts of what it made in its output, or must have given back every block.
enum class kept_t { NOTHING, PARTS };

// Runs `prepare` and `call` with every allocation of the call failing in turn, alone and with all behind it, and
// `check_failure` after each failure. Gives the number of allocations that a call makes.
template <typename PREPARE, typename CALL, typename CHECK>
std::size_t fail_each_allocation(kept_t kept, PREPARE prepare, CALL call, CHECK check_failure) {
    std::size_t num_allocations = 0;
    for (const bool all_behind_it : {false, true}) {
        bool done = false;
        for (std::size_t failing = 1; !done; ++failing) {
            prepare();
            const std::ptrdiff_t live_before = allocator.num_live;
            try {
                const watched_allocations_t watched(failing, all_behind_it);
                call();
                done = true;
            } catch (const std::bad_alloc&) {
                const std::ptrdiff_t num_kept = allocator.num_live - live_before;
                ++num_failures;
                SCOPED_TRACE("allocation " + std::to_string(failing) + (all_behind_it ? " and all behind it" : ""));
                EXPECT_TRUE(kept == kept_t::PARTS || num_kept == 0) << num_kept << " blocks kept";
                check_failure();
            }
            num_allocations = failing - 1;
        }
    }
    return num_allocations;
}

// Functions that fill a string

// Tells whether `after` is what a failure may leave of an output that held `before` and was to become `expected`.
using left_t = bool (*)(const std::string& before, const std::string& after, const std::string& expected);

bool as_it_was(const std::string& before, const std::string& after, const std::string&) {
    return after == before;
}

// As much of the appended text as memory sufficed for.
bool with_a_part_behind_it(const std::string& before, const std::string& after, const std::string& expected) {
    return after.size() >= before.size() && expected.substr(0, after.size()) == after;
}

// As much of the text that replaces the output.
bool as_it_was_or_a_part(const std::string& before, const std::string& after, const std::string& expected) {
    return after == before || expected.substr(0, after.size()) == after;
}

bool as_it_was_or_empty(const std::string& before, const std::string& after, const std::string&) {
    return after == before || after.empty();
}

struct filled_string_case_t {
    const char* name;
    const char* function;
    std::string before;
    std::string expected;
    left_t left;
    bool (*call)(std::string& out);
};
class filled_string : public testing::TestWithParam<filled_string_case_t> {};

TEST_P(filled_string, survives_every_failure) {
    const filled_string_case_t& c = GetParam();
    std::string out;
    const std::size_t num_allocations = fail_each_allocation(
        kept_t::NOTHING, [&] { std::string(c.before).swap(out); }, // with no more room than that
        [&] { EXPECT_TRUE(c.call(out)); },
        [&] {
            EXPECT_TRUE(c.left(c.before, out, c.expected)) << to_hex(out);
            std::string again = c.before;
            EXPECT_TRUE(c.call(again));
            EXPECT_TRUE(same_bytes(c.expected, again));
        });
    EXPECT_TRUE(same_bytes(c.expected, out));
    EXPECT_NE(0U, num_allocations) << "it takes no memory";
}

const std::string HELD = "what the string held before"; // on the heap, so that growth replaces its block
const std::string LONG = counting_bytes(2000, 1);
const blob_t LONG_VIEW = view_of(LONG);
const std::string CERTIFICATE = encode(der_sequence({der_octet_string(counting_bytes(1500, 7))}));

std::string escaped_commas(std::size_t n) {
    std::string text;
    for (std::size_t i = 0; i < n; ++i) {
        text += "\\,";
    }
    return text;
}

// A name of twelve RDNs whose text is longer than its DER.
struct rdn_t {
    der_t der;
    std::string text;
};

std::vector<rdn_t> long_rdns() {
    std::vector<rdn_t> rdns;
    for (unsigned int i = 0; i < 12; ++i) {
        const std::string number = std::to_string(100 + i);
        const std::string commas(60, ',');
        const der_t unknown = der_sequence({der_oid("1.2.643.100." + number), der_element(0x0C, commas)});
        const der_t wide = der_sequence({der_oid("2.5.4.3"), der_element(0x1E, from_hex("04 1F 04 30 04 40"))});
        rdns.push_back({der_set({unknown, wide}),
                        "1.2.643.100." + number + "=" + escaped_commas(60) + "+CN=\xD0\x9F\xD0\xB0\xD1\x80"});
    }
    return rdns;
}

std::string long_name_der() {
    der_members_t rdns;
    for (const rdn_t& rdn : long_rdns()) {
        rdns.push_back(rdn.der);
    }
    return encode(der_sequence(rdns));
}

std::string long_name_text() {
    std::string text;
    for (const rdn_t& rdn : long_rdns()) {
        text += (text.empty() ? "" : ",") + rdn.text;
    }
    return text;
}

// The last `num_rdns` of them, the last one first.
std::string reversed_text(std::size_t num_rdns) {
    std::string text;
    for (const rdn_t& rdn : long_rdns()) {
        if (num_rdns-- == 0) {
            break;
        }
        text = rdn.text + (text.empty() ? "" : ",") + text;
    }
    return text;
}

// The finished RDNs, reversed, each with its comma.
bool with_finished_rdns(const std::string& before, const std::string& after, const std::string&) {
    for (std::size_t num_rdns = 0; num_rdns <= long_rdns().size(); ++num_rdns) {
        const std::string finished = reversed_text(num_rdns);
        if (after == before + finished + (finished.empty() ? "" : ",")) {
            return true;
        }
    }
    return false;
}

// A value that is converted first and escaped then, for which it has to grow once more.
const std::string T61_COMMAS =
    encode(der_sequence({der_set({der_sequence({der_oid("2.5.4.3"), der_element(0x14, std::string(100, ','))})})}));

const std::string NAME_DER = long_name_der();
const std::string NAME_TEXT = long_name_text();

bool print_name(PrintableDnOrder order, std::string& out) {
    return asn_dn_to_printable(view_of(NAME_DER).data, view_of(NAME_DER).size, out, order, OID_MAP_HANDLE_DEFAULT);
}

// The same name as text gives it.
std::string encoded_name() {
    der_members_t rdns;
    for (const rdn_t& rdn : long_rdns()) {
        der_t der = rdn.der;
        der.members[0].members[1].tag = 0x13;
        der.members[1].members[1] = der_element(0x0C, "\xD0\x9F\xD0\xB0\xD1\x80");
        rdns.push_back(der);
    }
    return encode(der_sequence(rdns));
}
const std::string ENCODED_NAME = encoded_name();

der_t gost_key(std::string_view octets) {
    const der_t parameters = der_sequence({der_oid("1.2.643.7.1.2.1.2.1"), der_oid("1.2.643.2.2.30.1")});
    return der_sequence({der_integer("00"), der_sequence({der_oid("1.2.643.7.1.1.1.2"), parameters}),
                         der_octet_string(der_octet_string(octets))});
}

pbes2_t pbes2_of(std::string_view salt, const char* iterations, std::string_view iv) {
    pbes2_t pbes2;
    pbes2.salt = der_octet_string(salt);
    pbes2.iterations = der_integer(iterations);
    pbes2.iv = der_octet_string(iv);
    return pbes2;
}

pkcs5_pbe_gost_t long_pbe() {
    pkcs5_pbe_gost_t pbe;
    pbe.salt = LONG_VIEW;
    pbe.iv = LONG_VIEW;
    pbe.iterations = 2000;
    return pbe;
}

// A key with its chain of certificates, as it is written with scripted_crypto_t.
std::string written_container() {
    const scripted_crypto_t crypto;
    const der_t attributes = der_set({friendly_name(LONG), local_key_id(LONG)});
    const std::string plaintext =
        entry_plaintext({key_bag(encode(gost_key(counting_bytes(64, 1))), attributes), cert_bag(CERTIFICATE)});
    encrypted_data_t entry;
    entry.algorithm = pbes2_of(crypto.pbe_salt, "03 E8", crypto.iv).whole();
    entry.encrypted_content = der_element(0x80, toy_cipher(plaintext));
    pfx_t pfx({data_entry({cert_bag(CERTIFICATE, attributes), cert_bag(CERTIFICATE)}), entry.entry()});
    mac_data_t mac;
    mac.digest = der_octet_string(crypto.digest);
    mac.salt = der_octet_string(crypto.mac_salt);
    pfx.mac_data = mac.whole();
    return encode(pfx.whole());
}

const std::string KEY_OCTETS = counting_bytes(64, 1);
const std::string KEY = encode(gost_key(KEY_OCTETS));

bool write_container(std::string& out) {
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(1, CERTIFICATE, LONG, LONG), bag_of(1, CERTIFICATE)};
    easy.encrypted_bags = {bag_of(0, KEY, LONG, LONG), bag_of(1, CERTIFICATE)};
    asn_write_pkcs12_easy(easy, &crypto, out);
    return true;
}

const std::string DOLLAR_SIGNS(70, '\xA4');
const std::string OID_CONTENT = from_hex("2A 85 03 03 81 03 01 01 8F FF FF FF 7F");
const std::string SIGNATURE_OID = encode(der_oid("1.2.643.7.1.1.3.3"));
const std::string UNKNOWN_OID = encode(der_oid("1.2.643.100.111.4294967295.1"));
const std::string NAMED_OID = encode(der_oid("1.2.3"));
const oid_map_handle_t NAMING_MAP = oid_map_parse("1.2.3 = A-name-that-needs-memory-of-its-own", 43);

const filled_string_case_t FILLED_STRINGS[] = {
    {"integer", "asn_write_INTEGER", HELD, HELD + from_hex("00 81 82 83 84"), with_a_part_behind_it,
     [](std::string& out) {
         asn_write_INTEGER(0x81828384, out);
         return true;
     }},
    {"oid_text", "oid_asn_to_str_", HELD, HELD + "1.2.643.3.131.1.1.4294967295", with_a_part_behind_it,
     [](std::string& out) {
         const blob_t oid = view_of(OID_CONTENT);
         return oid_asn_to_str_(oid.data, oid.data + oid.size, out) == 1;
     }},
    {"hexadecimal_text", "TO_HEX_STD_STRING", HELD, HELD + to_hex(CERTIFICATE), as_it_was,
     [](std::string& out) {
         const blob_t octets = view_of(CERTIFICATE);
         return &TO_HEX_STD_STRING(octets.data, octets.size, out, ' ') == &out;
     }},
    {"system_time", "TimeToString", HELD, HELD + "Thu Jan  1 00:00:00 1970", as_it_was,
     [](std::string& out) { return &TimeToString(0, out) == &out; }},
    {"certificate_time", "CertTimeToStringGMT", HELD, HELD + "31.12.2024 23:59:58 GMT", as_it_was,
     [](std::string& out) { return &CertTimeToStringGMT(0x7E80B1F173B3A, out) == &out; }},
    {"certificate_log_time", "CertTimeToLogStringGMT", "2000.01.01 00:00", "2024.12.31 23:59:58 GMT",
     as_it_was_or_empty, [](std::string& out) { return &CertTimeToLogStringGMT(0x7E80B1F173B3A, out) == &out; }},
    {"certificate_local_time", "CertTimeToString", HELD, HELD + "Error time", as_it_was,
     [](std::string& out) { return &CertTimeToString(CERT_TIME64_INVALID, out) == &out; }},
    {"digest_info", "asn_add_alg_to_digest", LONG,
     encode(der_sequence({der_sequence({der_oid("2.16.840.1.101.3.4.2.3"), der_null()}), der_octet_string(LONG)})),
     as_it_was,
     [](std::string& digest) {
         asn_add_alg_to_digest(digest, PKI_ALG_SHA512);
         return true;
     }},
    {"utf8_of_t61", "ldap_t61s_to_utf8s", HELD,
     HELD + "\xC3\xA9t\xC3\xA9, stra\xC3\x9F"
            "e",
     as_it_was,
     [](std::string& out) {
         const std::string_view text = "\xC2"
                                       "et\xC2"
                                       "e, stra\xFB"
                                       "e";
         return ldap_t61s_to_utf8s(text.data(), static_cast<unsigned int>(text.size()), out);
     }},
    {"utf8_of_long_t61", "ldap_t61s_to_utf8s", HELD, HELD + std::string(70, '$'), as_it_was,
     [](std::string& out) { return ldap_t61s_to_utf8s(DOLLAR_SIGNS.data(), 70, out); }},
    {"attribute", "printable_dn_get_attr", HELD, HELD + long_rdns()[11].text.substr(0, 16 + 120), as_it_was,
     [](std::string& out) {
         return printable_dn_get_attr(NAME_TEXT.c_str(), "1.2.643.100.111", out, PDN_GET_ATTR_PAIR);
     }},
    {"reversed_in_place", "printable_dn_reverse", NAME_TEXT, reversed_text(12), as_it_was,
     [](std::string& dn) { return printable_dn_reverse(dn.data()) == dn.data(); }},
    {"name", "asn_dn_to_printable", HELD, HELD + NAME_TEXT, with_a_part_behind_it,
     [](std::string& out) { return print_name(PDN_ORDER_AS_ENCODED, out); }},
    {"name_reversed", "asn_dn_to_printable", HELD, HELD + reversed_text(12), with_finished_rdns,
     [](std::string& out) { return print_name(PDN_ORDER_REVERSED, out); }},
    {"name_with_converted_commas", "asn_dn_to_printable", HELD, HELD + "CN=" + escaped_commas(100),
     with_a_part_behind_it,
     [](std::string& out) {
         return asn_dn_to_printable(view_of(T61_COMMAS).data, view_of(T61_COMMAS).size, out, PDN_ORDER_AS_ENCODED,
                                    OID_MAP_HANDLE_DEFAULT);
     }},
    {"name_of_an_attribute_type", "asn_oid_to_printable", HELD, "A-NAME-THAT-NEEDS-MEMORY-OF-ITS-OWN", as_it_was,
     [](std::string& out) {
         const blob_t oid = view_of(NAMED_OID);
         return asn_oid_to_printable(oid.data, oid.size, out, false, NAMING_MAP);
     }},
    {"name_of_an_algorithm", "asn_oid_to_printable", HELD, "GOST R 34.11-2012/34.10-2012 512(1.2.643.7.1.1.3.3)",
     as_it_was_or_a_part,
     [](std::string& out) {
         return asn_oid_to_printable(view_of(SIGNATURE_OID).data, view_of(SIGNATURE_OID).size, out, true,
                                     OID_MAP_HANDLE_DEFAULT);
     }},
    {"dotted_name", "asn_oid_to_printable", HELD, HELD + "1.2.643.100.111.4294967295.1", with_a_part_behind_it,
     [](std::string& out) {
         return asn_oid_to_printable(view_of(UNKNOWN_OID).data, view_of(UNKNOWN_OID).size, out, true,
                                     OID_MAP_HANDLE_DEFAULT);
     }},
    {"encoded_name", "printable_to_asn_dn", HELD, ENCODED_NAME, as_it_was,
     [](std::string& out) { return printable_to_asn_dn(NAME_TEXT.c_str(), out, OID_MAP_HANDLE_DEFAULT); }},
    {"normalised_name", "printable_dn_normalize", HELD, NAME_TEXT, as_it_was_or_a_part,
     [](std::string& out) { return printable_dn_normalize(NAME_TEXT, out, nullptr, OID_MAP_HANDLE_DEFAULT); }},
    {"gost_key", "asn_write_pkcs8_pki_gost", HELD, KEY, as_it_was,
     [](std::string& out) {
         pkcs8_pki_gost_t key;
         key.key_type = 2;
         key.private_key = view_of(KEY_OCTETS);
         asn_write_pkcs8_pki_gost(key, out);
         return true;
     }},
    {"pbes2_parameters", "asn_write_pkcs5_pbe_gost", HELD, encode(pbes2_of(LONG, "07 D0", LONG).whole()), as_it_was,
     [](std::string& out) {
         asn_write_pkcs5_pbe_gost(long_pbe(), out);
         return true;
     }},
    {"encrypted_key", "asn_write_pkcs8_encrypted_pki_gost", HELD,
     encode(encrypted_key(LONG, pbes2_of(LONG, "07 D0", LONG))), as_it_was,
     [](std::string& out) {
         pkcs8_encrypted_pki_gost_t key;
         key.pbe = long_pbe();
         key.encrypted_data = LONG_VIEW;
         asn_write_pkcs8_encrypted_pki_gost(key, out);
         return true;
     }},
    {"container", "asn_write_pkcs12_easy", HELD, written_container(), as_it_was, write_container},
};
INSTANTIATE_TEST_SUITE_P(, filled_string, testing::ValuesIn(FILLED_STRINGS), case_name_t());

// Both outputs: the DER is untouched until it is whole, and the text only then begins.
TEST(normalised_name, leaves_text_and_der_untouched_until_the_der_is_whole) {
    std::string text;
    std::string der;
    fail_each_allocation(
        kept_t::NOTHING,
        [&] {
            std::string(HELD).swap(text);
            std::string(HELD).swap(der);
        },
        [&] { EXPECT_TRUE(printable_dn_normalize(NAME_TEXT, text, &der, OID_MAP_HANDLE_DEFAULT)); },
        [&] {
            const bool untouched = text == HELD && der == HELD;
            const bool begun = der == ENCODED_NAME && as_it_was_or_a_part(HELD, text, NAME_TEXT);
            EXPECT_TRUE(untouched || begun) << to_hex(text) << "\n" << to_hex(der);
            EXPECT_TRUE(printable_dn_normalize(NAME_TEXT, text, &der, OID_MAP_HANDLE_DEFAULT));
            EXPECT_EQ(NAME_TEXT, text);
            EXPECT_TRUE(same_bytes(ENCODED_NAME, der));
        });
}

// Maps

std::string map_line(unsigned int i) {
    const std::string number = std::to_string(i);
    return "1.2.643." + number + " = SHORT" + number + ", a long name " + number + "\n";
}

constexpr unsigned int NUM_LINES = 60;
const std::string MAP_TEXT = [] {
    std::string text = "# comment\n";
    for (unsigned int i = 0; i < NUM_LINES; ++i) {
        text += map_line(i);
    }
    return text;
}();
const unsigned int MAP_TEXT_SIZE = static_cast<unsigned int>(MAP_TEXT.size());

bool finds_line(oid_map_handle_t map, unsigned int i) {
    const std::string number = std::to_string(i);
    const std::string dotted = "1.2.643." + number;
    const std::string name = "short" + number;
    const std::string der = encode_content(der_oid(dotted));
    const OIDdescr_t* const entry = oid_map_find_str(map, dotted.data(), static_cast<unsigned int>(dotted.size()));
    return entry != nullptr && entry == oid_map_find_sn(map, name.data(), static_cast<unsigned int>(name.size())) &&
           entry == oid_map_find_asn(map, view_of(der).data, view_of(der).size) &&
           std::string_view(entry->oid_ln, entry->oid_ln_size) == "a long name " + number;
}

unsigned int num_lines_found(oid_map_handle_t map) {
    unsigned int found = 0;
    while (found < NUM_LINES && finds_line(map, found)) {
        ++found;
    }
    return found;
}

TEST(map_without_memory, is_not_made_and_leaks_nothing) {
    oid_map_handle_t map;
    const std::size_t num_allocations = fail_each_allocation(
        kept_t::NOTHING,
        [&] {
            oid_map_release(map);
            map = oid_map_handle_t();
        },
        [&] { map = oid_map_parse(MAP_TEXT.data(), MAP_TEXT_SIZE); },
        [&] {
            map = oid_map_parse(MAP_TEXT.data(), MAP_TEXT_SIZE);
            EXPECT_EQ(NUM_LINES, num_lines_found(map));
        });
    EXPECT_LE(NUM_LINES, num_allocations);
    EXPECT_EQ(NUM_LINES, num_lines_found(map));
    oid_map_release(map);
}

TEST(map_without_memory, keeps_the_lines_before_the_one_that_failed) {
    const std::string_view old = "1.2.3 = OLD, of before";
    const std::ptrdiff_t live_before = allocator.num_live;
    unsigned int most_found = 0;
    oid_map_handle_t map;
    fail_each_allocation(
        kept_t::PARTS,
        [&] {
            oid_map_release(map);
            map = oid_map_parse(old.data(), static_cast<unsigned int>(old.size()));
        },
        [&] { oid_map_parse_(*map.map, MAP_TEXT.data(), MAP_TEXT_SIZE); },
        [&] {
            EXPECT_NE(nullptr, oid_map_find_sn(map, "OLD", 3));
            // Of the line that failed there may be an entry that not all keys lead to.
            const unsigned int found = num_lines_found(map);
            EXPECT_LE(1U + found, map.map->entries.size());
            EXPECT_GE(2U + found, map.map->entries.size());
            most_found = std::max(most_found, found);
            const std::string more = map_line(1000);
            oid_map_parse_(*map.map, more.data(), static_cast<unsigned int>(more.size()));
            EXPECT_TRUE(finds_line(map, 1000)) << "the map is as good as before";
        });
    EXPECT_EQ(NUM_LINES, num_lines_found(map));
    EXPECT_EQ(NUM_LINES - 1, most_found);
    oid_map_release(map);
    EXPECT_EQ(live_before, allocator.num_live);
}

// Also of the line at which a map grows; the first attempt may have left an entry that some keys lead to.
TEST(map_without_memory, finds_a_line_that_failed_when_it_is_added_again) {
    constexpr unsigned int LAST = 70;
    std::string old;
    for (unsigned int i = 0; i < LAST; ++i) {
        old += map_line(i);
        const std::string line = map_line(i + 1);
        const unsigned int size = static_cast<unsigned int>(line.size());
        bool failed = true;
        for (std::size_t failing = 1; failed; ++failing) {
            const oid_map_handle_t map = oid_map_parse(old.data(), static_cast<unsigned int>(old.size()));
            try {
                const watched_allocations_t watched(failing);
                oid_map_parse_(*map.map, line.data(), size);
                failed = false;
            } catch (const std::bad_alloc&) {
            }
            oid_map_parse_(*map.map, line.data(), size);
            const std::string number = std::to_string(i + 1);
            const std::string name = "short" + number;
            const std::string der = encode_content(der_oid("1.2.643." + number));
            EXPECT_NE(nullptr, oid_map_find_sn(map, name.data(), static_cast<unsigned int>(name.size())))
                << name << ", failing " << failing;
            EXPECT_NE(nullptr, oid_map_find_asn(map, view_of(der).data, view_of(der).size))
                << name << ", failing " << failing;
            EXPECT_TRUE(finds_line(map, i));
            oid_map_release(map);
        }
    }
}

// As it is made when the library is loaded.
TEST(ready_made_map_without_memory, is_not_made_and_leaks_nothing) {
    fail_each_allocation(
        kept_t::NOTHING, [] {}, [] { EXPECT_EQ(23U, default_oid_map_t().entries.size()); }, [] {});
}

// Containers

class container_without_memory : public testing::Test {
  protected:
    const der_members_t plain_ = {cert_bag(CERTIFICATE, der_set({friendly_name(LONG), local_key_id(LONG)})),
                                  key_bag(KEY), shrouded_key_bag(toy_cipher(KEY)), cert_bag(CERTIFICATE)};
    const der_members_t encrypted_ = {shrouded_key_bag(toy_cipher("k")), cert_bag(CERTIFICATE), key_bag(KEY)};
    const exact_bytes_t input_{make_input()};

    std::string make_input() const {
        encrypted_data_t entry;
        entry.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(encrypted_)));
        return encode(pfx_t({data_entry(plain_), entry.entry()}).whole());
    }

    bool read(pkcs12_easy_t& easy) const {
        scripted_crypto_t crypto;
        return asn_read_pkcs12_easy(input_.data(), input_.size(), &crypto, easy);
    }

    // In order; of the decrypted keys the first is from the plain entry.
    static std::string expected_plain() {
        return bags_text({bag_of(1, CERTIFICATE, LONG, LONG), bag_of(0, KEY), bag_of(1, CERTIFICATE)});
    }
    static std::string expected_encrypted() {
        return bags_text({bag_of(0, KEY), bag_of(0, "k"), bag_of(1, CERTIFICATE), bag_of(0, KEY)});
    }
};

std::string lines_of(const std::string& before, const std::string& behind) {
    return before.empty() ? behind : before + "\n" + behind;
}

TEST_F(container_without_memory, keeps_the_bags_read_so_far_each_one_whole) {
    const std::ptrdiff_t live_before = allocator.num_live;
    {
        pkcs12_easy_t easy;
        const std::size_t num_allocations = fail_each_allocation(
            kept_t::PARTS, [&] { easy = pkcs12_easy_t(); }, [&] { EXPECT_TRUE(read(easy)); },
            [&] {
                EXPECT_TRUE(all_kept(input_, easy));
                const std::string plain = bags_text(easy.plain_bags);
                const std::string encrypted = bags_text(easy.encrypted_bags);
                EXPECT_EQ(0U, expected_plain().find(plain)) << plain;
                EXPECT_EQ(0U, expected_encrypted().find(encrypted)) << encrypted;
                EXPECT_GE(3U, easy.decrypted_buffers.size());
                EXPECT_TRUE(read(easy)) << "again, behind what is there";
                EXPECT_EQ(lines_of(plain, expected_plain()), bags_text(easy.plain_bags));
                EXPECT_EQ(lines_of(encrypted, expected_encrypted()), bags_text(easy.encrypted_bags));
                EXPECT_TRUE(all_kept(input_, easy));
            });
        EXPECT_LE(7U + 3U, num_allocations) << "a node for each bag and each plaintext, at least";
        EXPECT_EQ(expected_plain(), bags_text(easy.plain_bags));
        EXPECT_EQ(expected_encrypted(), bags_text(easy.encrypted_bags));
    }
    EXPECT_EQ(live_before, allocator.num_live);
}

// Everything else

struct frugal_case_t {
    const char* function;
    void (*call)();
};

const std::string RECORD = encode(gost_key(LONG));
const blob_t RECORD_VIEW = view_of(RECORD);

const frugal_case_t FRUGAL[] = {
    {"printable_dn_C_before_CN", [] { printable_dn_C_before_CN(NAME_TEXT.c_str()); }},
    {"asn1_read_tag",
     [] {
         unsigned int size = 0;
         asn1_read_tag(asn_tag_t::ANY, RECORD_VIEW.data, RECORD_VIEW.size, &size);
     }},
    {"asn_read_INTEGER",
     [] {
         unsigned int value = 0;
         asn_read_INTEGER(LONG.data(), 4, value, 0xFFFFFFFF);
     }},
    {"oid_str_to_asn_",
     [] {
         const std::string_view text = "1.2.643.100.4294967295";
         unsigned char out[512];
         oid_str_to_asn_(text.data(), text.data() + text.size(), out);
     }},
    {"oid_map_find_asn", [] { oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, RECORD_VIEW.data, 3); }},
    {"oid_map_find_str", [] { oid_map_find_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.3", 7); }},
    {"oid_map_find_sn", [] { oid_map_find_sn(OID_MAP_HANDLE_DEFAULT, "street", 6); }},
    {"oid_map_release", [] { oid_map_release(oid_map_handle_t()); }},
    {"printable_dn_contain_attrs", [] { printable_dn_contain_attrs(NAME_TEXT.c_str(), NAME_TEXT.c_str()); }},
    {"ldap_x_wc_to_utf8",
     [] {
         char buffer[6];
         ldap_x_wc_to_utf8(buffer, 0x7FFFFFFF, 6);
     }},
    {"asn_read_pkcs8_priv_key_info",
     [] {
         asn_pkcs8_priv_key_info_t out;
         asn_read_pkcs8_priv_key_info(RECORD_VIEW.data, RECORD_VIEW.size, out);
     }},
    {"asn_read_pkcs8_pki_gost",
     [] {
         pkcs8_pki_gost_t out;
         asn_read_pkcs8_pki_gost(RECORD_VIEW.data, RECORD_VIEW.size, out);
     }},
    {"asn_read_pkcs5_pbe_gost",
     [] {
         static const std::string INPUT = encode_content(pbes2_t().whole());
         pkcs5_pbe_gost_t out;
         asn_read_pkcs5_pbe_gost(INPUT.data(), view_of(INPUT).size, out);
     }},
    {"asn_read_pkcs8_encrypted_pki_gost",
     [] {
         static const std::string INPUT = encode(encrypted_key(LONG));
         pkcs8_encrypted_pki_gost_t out;
         asn_read_pkcs8_encrypted_pki_gost(INPUT.data(), view_of(INPUT).size, out);
     }},
    {"asn_read_pkcs12_MacData",
     [] {
         static const std::string INPUT = encode_content(mac_data_t().whole());
         pkcs12_mac_t out;
         asn_read_pkcs12_MacData(INPUT.data(), view_of(INPUT).size, out);
     }},
    {"PKI_HASH_ALG_TO_OID", [] { PKI_HASH_ALG_TO_OID(PKI_ALG_SHA256); }},
    {"PKI_KEY_ALG_TO_OID", [] { PKI_KEY_ALG_TO_OID(PKI_ALG_RSA); }},
    {"PKI_CERT_SIGN_ALG_TO_OID", [] { PKI_CERT_SIGN_ALG_TO_OID(PKI_ALG_SHA256_RSA); }},
    {"asn_form_ike_signalg", [] { asn_form_ike_signalg(PKI_ALG_SHA256_RSA); }},
    {"PKI_OID_TO_HASH_ALG", [] { PKI_OID_TO_HASH_ALG(LONG.data(), 9); }},
    {"PKI_OID_TO_KEY_ALG", [] { PKI_OID_TO_KEY_ALG(LONG.data(), 9); }},
    {"PKI_OID_TO_CERT_SIGN_ALG", [] { PKI_OID_TO_CERT_SIGN_ALG(LONG.data(), 9); }},
    {"PKI_OID_TO_ALG", [] { PKI_OID_TO_ALG(LONG.data(), 9); }},
    {"asn_read_alg_from_digest",
     [] {
         asn_algorid_t out;
         asn_read_alg_from_digest(&out, RECORD);
     }},
    {"asn_read_ike_signalg",
     [] {
         asn_ike_signalg_t out;
         asn_read_ike_signalg(RECORD_VIEW.data, RECORD_VIEW.size, out);
     }},
    {"asn_ike_signalg_t::to_pki_alg",
     [] {
         static const std::string PSS = from_hex("2A 86 48 86 F7 0D 01 01 0A");
         asn_ike_signalg_t out;
         out.oid = view_of(PSS);
         out.parameters = RECORD_VIEW;
         out.to_pki_alg();
     }},
    {"asn_read_pubkey",
     [] {
         asn_pubkey_t out;
         asn_read_pubkey(RECORD_VIEW.data, static_cast<long>(RECORD_VIEW.size), out);
     }},
    {"asn_read_rsa_pubkey",
     [] {
         asn_pubkey_t key;
         key.key = RECORD_VIEW;
         asn_rsa_pubkey_t out;
         asn_read_rsa_pubkey(key, out);
     }},
    {"asn_read_gost_pubkey",
     [] {
         asn_pubkey_t key;
         key.key = key.parameters = RECORD_VIEW;
         asn_gost_pubkey_t out;
         asn_read_gost_pubkey(key, out);
     }},
    {"asn_read_dsa_certsign",
     [] {
         asn_dsa_certsign_t out;
         asn_read_dsa_certsign(RECORD_VIEW.data, RECORD_VIEW.size, out);
     }},
    {"i2s::LogTimeToString",
     [] {
         char buffer[32];
         i2s::LogTimeToString(0, buffer);
     }},
    {"TimeToString", [] { TimeToString(0); }},
    {"CertTimeFromLogStringGMT",
     [] {
         static const std::string TEXT = "2024.12.31 23:59:58 GMT and more";
         CertTimeFromLogStringGMT(TEXT);
     }},
    {"CertTimeTo_time_t", [] { CertTimeTo_time_t(0x7E80B1F173B3A); }},
    {"IntToString::getString", [] { I2S_PKI_ALG_T->getString(PKI_ALG_SHA1_HMAC, "none"); }},
    {"IntToString::getInt", [] { I2S_PKI_ALG_T->getInt("SHA1HMAC", 0); }},
    {"TO_HEX_STRING",
     [] {
         char out[8];
         TO_HEX_STRING(RECORD_VIEW.data, 3, out, ' ');
     }},
};

TEST(other_functions, take_no_memory) {
    for (const frugal_case_t& c : FRUGAL) {
        c.call(); // its own constants are made now
        const watched_allocations_t watched;
        c.call();
        const std::size_t num_allocations = allocator.num_allocations;
        EXPECT_EQ(0U, num_allocations) << c.function;
    }
}

TEST(all_functions, are_tried_without_memory) {
    std::set<std::string> untried = exported_functions();
    for (const char* const in_tests_of_their_own :
         {"oid_map_parse", "oid_map_parse_", "asn_read_pkcs12_easy", "printable_dn_normalize"}) {
        untried.erase(in_tests_of_their_own);
    }
    for (const filled_string_case_t& c : FILLED_STRINGS) {
        untried.erase(c.function);
    }
    for (const frugal_case_t& c : FRUGAL) {
        untried.erase(c.function);
    }
    EXPECT_EQ(std::set<std::string>(), untried);
}

} // namespace
