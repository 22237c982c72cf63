// Every call that takes memory, with its first allocation failing, then the second, and so on until it succeeds: the
// only exception is std::bad_alloc, nothing is leaked, outputs hold what the headers say, and the same call works right
// afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "asn/oid_map.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/calls.h"
#include "testing/library_allocations.h"
#include "testing/parsed_map.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/time_zone.h"

namespace {

// Local times need a zone.
const time_zone_t IN_UTC(ZONE_UTC);

// Both on the heap, so that growth replaces the block.
const std::string HELD = "what the string held before";
const std::string HELD_SHORT = "2000.01.01 00:00";

std::string failure_text(std::size_t failing, bool all_after_it) {
    return "allocation " + std::to_string(failing) + (all_after_it ? " and all after it" : "");
}

// Calls of the catalogue

class failing_call : public testing::TestWithParam<call_t> {
  protected:
    static inline std::size_t num_failures = 0;
    static void TearDownTestSuite() { std::cout << num_failures << " allocations failed\n"; }

    static std::vector<std::string> inputs() {
        std::vector<std::string> inputs = GetParam().samples;
        for (const shape_t& shape : GetParam().shapes) {
            inputs.push_back(shape.make(2000));
        }
        return inputs;
    }

    // Runs the call on one input with every allocation failing in turn.
    static void check(const std::string& input, const std::string& before) {
        const exact_bytes_t octets(octets_for(GetParam(), input));
        run_t expected(octets.data(), static_cast<unsigned int>(input.size()));
        expected.hold(before);
        const call_answer_t answer = expected.answer(GetParam().run(expected));
        for (const bool all_after_it : {false, true}) {
            std::size_t failing = 1;
            while (fails(octets, expected, failing, all_after_it)) {
                SCOPED_TRACE(failure_text(failing, all_after_it));
                EXPECT_TRUE(same_bytes(octets_for(GetParam(), input), octets.text())) << "the input";
                run_t again(octets.data(), expected.size);
                again.hold(before);
                EXPECT_EQ(answer, again.answer(GetParam().run(again)));
                ++failing;
                ++num_failures;
            }
        }
    }

  private:
    static bool fails(const exact_bytes_t& octets, const run_t& expected, std::size_t failing, bool all_after_it) {
        run_t run(octets.data(), expected.size);
        run.hold(expected.before);
        library_allocations_t library(failing, all_after_it);
        run.observer = &library;
        const std::ptrdiff_t live_before = allocator.num_live;
        try {
            GetParam().run(run);
            return false;
        } catch (const std::bad_alloc&) {
            const std::ptrdiff_t num_kept = allocator.num_live - live_before;
            SCOPED_TRACE(failure_text(failing, all_after_it));
            EXPECT_EQ(0, num_kept) << "blocks";
            EXPECT_TRUE(GetParam().left(run.before, run.out, expected.out)) << to_hex(run.out);
            return true;
        }
    }
};

TEST_P(failing_call, survives_every_failure) {
    const std::size_t before = num_failures;
    for (const std::string& input : inputs()) {
        for (const std::string& held : {HELD, HELD_SHORT}) {
            check(input, held);
        }
    }
    EXPECT_NE(before, num_failures) << "it takes no memory";
}

bool takes_memory(const call_t& call) {
    return call.left != nullptr;
}

INSTANTIATE_TEST_SUITE_P(, failing_call, testing::ValuesIn(calls_where(takes_memory)), case_name_t());

class frugal_call : public testing::TestWithParam<call_t> {
  protected:
    static void expect_no_allocation(const std::string& input) {
        const exact_bytes_t octets(octets_for(GetParam(), input));
        for (const bool first_time : {true, false}) { // constants are made the first time
            run_t run(octets.data(), static_cast<unsigned int>(input.size()));
            library_allocations_t library;
            run.observer = &library;
            GetParam().run(run);
            const std::size_t num_allocations = allocator.num_allocations;
            EXPECT_TRUE(first_time || num_allocations == 0) << num_allocations << " for " << to_hex(input);
        }
    }
};

TEST_P(frugal_call, takes_no_memory_for_any_prefix_or_shape) {
    for (const std::string& sample : GetParam().samples) {
        for (std::size_t size = 0; size <= sample.size(); ++size) {
            expect_no_allocation(sample.substr(0, size));
        }
    }
    for (const shape_t& shape : GetParam().shapes) {
        expect_no_allocation(shape.make(2000));
    }
}

INSTANTIATE_TEST_SUITE_P(, frugal_call, testing::ValuesIn(calls_where(std::not_fn(takes_memory))), case_name_t());

// What the catalogue does not look at

// Runs `prepare` and `call` with every allocation of the call failing in turn, alone and with all after it, and
// `check_failure` after each failure, with the number of blocks kept. Returns the number of allocations that a call
// makes.
template <typename PREPARE, typename CALL, typename CHECK>
std::size_t fail_each_allocation(PREPARE prepare, CALL call, CHECK check_failure) {
    std::size_t num_allocations = 0;
    for (const bool all_after_it : {false, true}) {
        bool done = false;
        for (std::size_t failing = 1; !done; ++failing) {
            prepare();
            const std::ptrdiff_t live_before = allocator.num_live;
            try {
                const watched_allocations_t watched(failing, all_after_it);
                call();
                done = true;
            } catch (const std::bad_alloc&) {
                const std::ptrdiff_t num_kept = allocator.num_live - live_before;
                SCOPED_TRACE(failure_text(failing, all_after_it));
                check_failure(num_kept);
            }
            num_allocations = failing - 1;
        }
    }
    return num_allocations;
}

// Both outputs: the DER is untouched until it is whole, and only then does the text begin.
TEST(normalised_name, leaves_text_and_der_untouched_until_the_der_is_whole) {
    const std::string escaped = repeated("\\,", 120);
    const std::string name = repeated("CN=" + escaped + ",", 1000) + "C=RU";
    const der_t rdn = der_set({der_sequence({der_oid("2.5.4.3"), der_element(0x13, std::string(60, ','))})});
    der_members_t rdns(1000 / (escaped.size() + 4), rdn);
    rdns.push_back(der_set({der_sequence({der_oid("2.5.4.6"), der_element(0x13, "RU")})}));
    const std::string name_der = encode(der_sequence(rdns));
    std::string text;
    std::string der;
    const auto normalize = [&] { return printable_dn_normalize(name, text, &der, OID_MAP_HANDLE_DEFAULT); };
    fail_each_allocation(
        [&] {
            std::string(HELD).swap(text);
            std::string(HELD).swap(der);
        },
        [&] { EXPECT_TRUE(normalize()); },
        [&](std::ptrdiff_t num_kept) {
            EXPECT_EQ(0, num_kept);
            const bool untouched = text == HELD && der == HELD;
            const bool begun = der == name_der && as_it_was_or_a_part(HELD, text, name);
            EXPECT_TRUE(untouched || begun) << to_hex(text) << "\n" << to_hex(der);
            EXPECT_TRUE(normalize());
            EXPECT_EQ(name, text);
            EXPECT_TRUE(same_bytes(name_der, der));
        });
}

// Maps

std::string map_line(unsigned int i) {
    const std::string number = std::to_string(i);
    return "1.2.643." + number + " = SHORT" + number + ", a long name " + number + "\n";
}

std::string map_lines_up_to(unsigned int num_lines) {
    std::string text = "# comment\n";
    for (unsigned int i = 0; i < num_lines; ++i) {
        text += map_line(i);
    }
    return text;
}

void add_text(oid_map_handle_t map, std::string_view text) {
    oid_map_parse_(*map.map, text.data(), static_cast<unsigned int>(text.size()));
}

// The line's entry, when all three keys find it.
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

constexpr unsigned int NUM_LINES = 200; // several blocks

unsigned int num_lines_found(oid_map_handle_t map) {
    unsigned int found = 0;
    while (found < NUM_LINES && finds_line(map, found)) {
        ++found;
    }
    return found;
}

TEST(map_without_memory, is_not_made_and_leaks_nothing) {
    const std::string text = map_lines_up_to(NUM_LINES);
    oid_map_handle_t map;
    const std::size_t num_allocations = fail_each_allocation(
        [&] {
            oid_map_release(map);
            map = oid_map_handle_t();
        },
        [&] { map = oid_map_parse(text.data(), static_cast<unsigned int>(text.size())); },
        [&](std::ptrdiff_t num_kept) {
            EXPECT_EQ(0, num_kept);
            map = oid_map_parse(text.data(), static_cast<unsigned int>(text.size()));
            EXPECT_EQ(NUM_LINES, num_lines_found(map));
        });
    EXPECT_LE(4U, num_allocations) << "the map and its blocks";
    EXPECT_EQ(NUM_LINES, num_lines_found(map));
    oid_map_release(map);
}

TEST(map_without_memory, keeps_the_lines_before_the_one_that_failed) {
    const std::string text = map_lines_up_to(NUM_LINES);
    const std::ptrdiff_t live_before = allocator.num_live;
    unsigned int most_found = 0;
    oid_map_handle_t map;
    fail_each_allocation(
        [&] {
            oid_map_release(map);
            map = oid_map_parse("1.2.3 = OLD, of before", 22);
        },
        [&] { add_text(map, text); },
        [&](std::ptrdiff_t) {
            EXPECT_NE(nullptr, oid_map_find_sn(map, "OLD", 3));
            // The line that failed may have left an entry that not all keys find.
            const unsigned int found = num_lines_found(map);
            EXPECT_LE(1U + found, map.map->entries.size());
            EXPECT_GE(2U + found, map.map->entries.size());
            most_found = std::max(most_found, found);
            add_text(map, map_line(1000));
            EXPECT_TRUE(finds_line(map, 1000)) << "the map is as good as before";
        });
    EXPECT_EQ(NUM_LINES, num_lines_found(map));
    EXPECT_LT(0U, most_found);
    oid_map_release(map);
    EXPECT_EQ(live_before, allocator.num_live);
}

// Also the line at which a map grows; the first attempt may have left an entry that only some keys find.
TEST(map_without_memory, finds_a_line_that_failed_when_it_is_added_again) {
    constexpr unsigned int LAST = 70;
    for (unsigned int i = 0; i < LAST; ++i) {
        const std::string old = map_lines_up_to(i + 1);
        const std::string line = map_line(i + 1);
        bool failed = true;
        for (std::size_t failing = 1; failed; ++failing) {
            const parsed_map_t map(old);
            try {
                const watched_allocations_t watched(failing);
                add_text(map.handle(), line);
                failed = false;
            } catch (const std::bad_alloc&) {
            }
            add_text(map.handle(), line);
            const std::string number = std::to_string(i + 1);
            const std::string name = "short" + number;
            const std::string der = encode_content(der_oid("1.2.643." + number));
            const blob_t oid = view_of(der);
            EXPECT_NE(nullptr, oid_map_find_sn(map.handle(), name.data(), static_cast<unsigned int>(name.size())))
                << name << ", failing " << failing;
            EXPECT_NE(nullptr, oid_map_find_asn(map.handle(), oid.data, oid.size)) << name << ", failing " << failing;
            EXPECT_TRUE(finds_line(map.handle(), i));
        }
    }
}

// As it is made when the library is loaded.
TEST(ready_made_map_without_memory, is_not_made_and_leaks_nothing) {
    fail_each_allocation([] {}, [] { EXPECT_EQ(23U, default_oid_map_t().entries.size()); },
                         [](std::ptrdiff_t num_kept) { EXPECT_EQ(0, num_kept); });
}

// Containers

const std::string LONG = counting_bytes(2000, 1);
const std::string CERTIFICATE = encode(der_sequence({der_octet_string(counting_bytes(1500, 7))}));
const std::string KEY = counting_bytes(100, 1);

std::string container_file() {
    const der_t attributes = der_set({friendly_name(LONG), local_key_id(LONG)});
    const der_members_t plain = {cert_bag(CERTIFICATE, attributes), key_bag(KEY), shrouded_key_bag(toy_cipher(KEY)),
                                 cert_bag(CERTIFICATE)};
    encrypted_data_t entry;
    entry.encrypted_content = der_element(
        0x80, toy_cipher(entry_plaintext({shrouded_key_bag(toy_cipher("k")), cert_bag(CERTIFICATE), key_bag(KEY)})));
    return encode(pfx_t({data_entry(plain), entry.entry()}).whole());
}

std::string lines_of(const std::string& first, const std::string& second) {
    return first.empty() ? second : first + "\n" + second;
}

TEST(container_without_memory, keeps_the_bags_read_so_far_each_one_whole) {
    const exact_bytes_t input(container_file());
    // The first of the decrypted keys is from the plain entry.
    const std::string all_plain =
        bags_text({bag_of(1, CERTIFICATE, LONG, LONG), bag_of(0, KEY), bag_of(1, CERTIFICATE)});
    const std::string all_encrypted =
        bags_text({bag_of(0, KEY), bag_of(0, "k"), bag_of(1, CERTIFICATE), bag_of(0, KEY)});
    const auto read = [&](pkcs12_easy_t& easy) {
        scripted_crypto_t crypto;
        return asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy);
    };
    const std::ptrdiff_t live_before = allocator.num_live;
    {
        pkcs12_easy_t easy;
        const std::size_t num_allocations =
            fail_each_allocation([&] { easy = pkcs12_easy_t(); }, [&] { EXPECT_TRUE(read(easy)); },
                                 [&](std::ptrdiff_t) {
                                     EXPECT_TRUE(all_kept(input, easy));
                                     const std::string plain = bags_text(easy.plain_bags);
                                     const std::string encrypted = bags_text(easy.encrypted_bags);
                                     EXPECT_EQ(0U, all_plain.find(plain)) << plain;
                                     EXPECT_EQ(0U, all_encrypted.find(encrypted)) << encrypted;
                                     EXPECT_GE(3U, easy.decrypted_buffers.size());
                                     EXPECT_TRUE(read(easy)) << "again, after what is there";
                                     EXPECT_EQ(lines_of(plain, all_plain), bags_text(easy.plain_bags));
                                     EXPECT_EQ(lines_of(encrypted, all_encrypted), bags_text(easy.encrypted_bags));
                                     EXPECT_TRUE(all_kept(input, easy));
                                 });
        EXPECT_LE(7U + 3U, num_allocations) << "a node for each bag and each plaintext, at least";
        EXPECT_EQ(all_plain, bags_text(easy.plain_bags));
        EXPECT_EQ(all_encrypted, bags_text(easy.encrypted_bags));
    }
    EXPECT_EQ(live_before, allocator.num_live);
}

} // namespace
