// No function touches an octet that is not its caller's: inputs end right before a page that may not be touched, or
// start right after one, and so do the buffers that are written into.
#include "support/expect.h"
#include "testing/guard_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <string>

#include "testing/calls.h"

// The compiler sees that delete calls free(), but not that new below calls malloc().
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

namespace {

// Where the next block of one size comes from: the characters of a string, before a guard page.
void* placed_block = nullptr;
std::size_t placed_size = 0;
bool placed_is_used = false;

} // namespace

void* operator new(std::size_t size) {
    if (placed_block != nullptr && !placed_is_used && size == placed_size) {
        placed_is_used = true;
        return placed_block;
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    if (block != placed_block) {
        std::free(block);
    }
}

void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

std::size_t num_cases = 0; // inputs next to a page

class guarded_call : public testing::TestWithParam<call_t> {
  protected:
    static void TearDownTestSuite() { std::cout << num_cases << " inputs next to a guard page\n"; }

    // Returns the answer to an input on the heap, once the answers at both pages are the same.
    static call_answer_t check(std::string_view input) {
        const call_t& call = GetParam();
        const std::string octets = octets_for(call, input);
        const exact_bytes_t block(octets);
        const unsigned int size = static_cast<unsigned int>(input.size());
        const call_answer_t expected = answer_to(call, block.data(), size);
        EXPECT_TRUE(expected.views_inside) << to_hex(input) << expected;
        if (call.input == input_t::STRING) {
            EXPECT_EQ(expected, answer_in_string(block)) << "in a string, " << to_hex(input);
            return expected;
        }
        EXPECT_EQ(expected, answer_to(call, pages().put_last(octets), size)) << "before a page, " << to_hex(input);
        EXPECT_EQ(expected, answer_to(call, pages().put_first(octets), size)) << "after a page, " << to_hex(input);
        num_cases += 2;
        return expected;
    }

  private:
    static guarded_pages_t& pages() {
        static guarded_pages_t PAGES;
        return PAGES;
    }

    // The call makes its string of the input, with the zero of the string as the last octet before the page. A string
    // of up to 15 characters holds them itself.
    static call_answer_t answer_in_string(const exact_bytes_t& block) {
        constexpr unsigned int MAX_HELD_INSIDE = 15;
        placed_size = std::size_t{block.size()} + 1;
        placed_block = pages().last(placed_size);
        placed_is_used = false;
        const call_answer_t answer = answer_to(GetParam(), block.data(), block.size());
        EXPECT_EQ(block.size() > MAX_HELD_INSIDE, placed_is_used);
        num_cases += placed_is_used ? 1 : 0;
        placed_block = nullptr;
        return answer;
    }
};

TEST_P(guarded_call, stays_in_what_it_takes) {
    for (const std::string& sample : GetParam().samples) {
        EXPECT_TRUE(check(sample).accepted) << to_hex(sample);
    }
}

TEST_P(guarded_call, stays_in_every_prefix) {
    for (const std::string& sample : GetParam().samples) {
        for (std::size_t size = 0; size < sample.size(); ++size) {
            check(std::string_view(sample).substr(0, size));
        }
    }
}

TEST_P(guarded_call, stays_in_its_input_whichever_octet_is_another) {
    for (const std::string& sample : GetParam().samples) {
        for (std::size_t place = 0; place < sample.size(); ++place) {
            std::string changed = sample;
            const char octet = sample[place];
            for (const int other : {octet ^ 0x80, octet ^ 0x01, octet + 1, octet - 2, 0x00, 0x80, 0xFF}) {
                changed[place] = static_cast<char>(other);
                check(changed);
            }
        }
    }
}

// The last octets announce five, four or no more octets than there are.
TEST_P(guarded_call, stays_in_an_input_that_ends_in_a_longer_length) {
    for (const std::string& sample : GetParam().samples) {
        for (std::size_t size = 0; size <= sample.size(); ++size) {
            for (const char* const end : {"84", "84 FF FF FF", "84 FF FF FF FF", "7F", "81", "80", "5C", "22", "C2"}) {
                check(sample.substr(0, size) + from_hex(end));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, guarded_call, testing::ValuesIn(calls_where([](const call_t& call) {
                             return call.input != input_t::NUMBER;
                         })),
                         case_name_t());

TEST(guarded_pages, end_a_program_that_leaves_them) {
    const guarded_pages_t pages;
    const volatile unsigned char* const inside = pages.put_last("a");
    EXPECT_EQ('a', *inside);
    EXPECT_DEATH(static_cast<void>(inside[1]), "");
    EXPECT_DEATH(static_cast<void>(static_cast<const volatile unsigned char*>(pages.begin())[-1]), "");
    pages.forbid();
    EXPECT_DEATH(static_cast<void>(*inside), "");
}

// Buffers that are written into

// Runs `write` on a buffer of the expected size before a page.
template <typename WRITE> void expect_written(std::string_view expected, WRITE write) {
    const guarded_pages_t pages;
    char* const out = reinterpret_cast<char*>(pages.last(expected.size()));
    write(out);
    EXPECT_TRUE(same_bytes(expected, std::string_view(out, expected.size())));
}

TEST(guarded_buffer, of_hexadecimal_text_holds_it_exactly) {
    const exact_bytes_t data(from_hex("00 9A FF"));
    expect_written("009AFF", [&](char* out) { TO_HEX_STRING(data.data(), 3, out, '\0'); });
    expect_written("00-9A-FF", [&](char* out) { TO_HEX_STRING(data.data(), 3, out, '-'); });
    expect_written("00", [&](char* out) { TO_HEX_STRING(data.data(), 1, out, '-'); });
}

// Texts are converted in blocks, the last of which overlaps the one before it.
TEST(guarded_buffer, of_hexadecimal_text_of_every_size_holds_it_exactly) {
    const guarded_pages_t in;
    for (unsigned int size = 1; size <= 150; ++size) {
        const std::string bytes = counting_bytes(size, size);
        std::string expected = to_hex(bytes);
        expected.erase(std::remove(expected.begin(), expected.end(), ' '), expected.end());
        expect_written(expected, [&](char* out) { TO_HEX_STRING(in.put_last(bytes), size, out, '\0'); });
        expect_written(expected, [&](char* out) { TO_HEX_STRING(in.put_first(bytes), size, out, '\0'); });
    }
}

TEST(guarded_buffer, of_a_character_holds_it_exactly) {
    for (const auto& [code_point, utf8] :
         {std::pair(0x41U, "41"), std::pair(0x42FU, "D0 AF"), std::pair(0x20ACU, "E2 82 AC"),
          std::pair(0x1F600U, "F0 9F 98 80"), std::pair(0x7FFFFFFFU, "FD BF BF BF BF BF")}) {
        const std::string expected = from_hex(utf8);
        const unsigned int size = static_cast<unsigned int>(expected.size());
        expect_written(expected, [&, wanted = code_point](char* out) {
            EXPECT_EQ(static_cast<int>(size), ldap_x_wc_to_utf8(out, wanted, size));
        });
        const guarded_pages_t pages;
        char* const too_small = reinterpret_cast<char*>(pages.last(size - 1));
        EXPECT_EQ(0, ldap_x_wc_to_utf8(too_small, code_point, size - 1));
    }
}

TEST(guarded_buffer, of_a_log_time_holds_every_time) {
    const guarded_pages_t pages;
    char(&buffer)[32] = *reinterpret_cast<char(*)[32]>(pages.last(32));
    for (const long time : {0L, -1L, 0x7FFFFFFFL, -0x7FFFFFFFL - 1, static_cast<long>(~0UL >> 1)}) {
        const char* const text = i2s::LogTimeToString(time, buffer);
        ASSERT_NE(nullptr, text);
        EXPECT_LE(19U, std::strlen(text)) << time;
        EXPECT_GT(32U, std::strlen(text)) << time;
    }
}

// At most 506 of the 512 octets are used.
TEST(guarded_buffer, of_an_oid_is_not_left) {
    const guarded_pages_t pages;
    unsigned char(&out)[512] = *reinterpret_cast<unsigned char(*)[512]>(pages.last(512));
    unsigned char(&early)[512] = *reinterpret_cast<unsigned char(*)[512]>(pages.begin());
    for (std::size_t num_arcs : {1U, 504U, 505U, 506U, 507U, 512U, 600U, 5000U}) {
        std::string text = "2.5";
        for (std::size_t i = 0; i < num_arcs; ++i) {
            text += ".1";
        }
        const unsigned int expected = num_arcs <= 505 ? static_cast<unsigned int>(num_arcs) + 1 : 0;
        const char* const end = text.data() + text.size();
        EXPECT_EQ(expected, oid_str_to_asn_(text.data(), end, out)) << num_arcs;
        EXPECT_EQ(expected, oid_str_to_asn_(text.data(), end, early)) << num_arcs;
    }
}

// A table of names ends with the row that has none.
TEST(guarded_table, is_not_left) {
    const guarded_pages_t pages;
    constexpr std::size_t NUM_ROWS = 3;
    IntToString* const rows = reinterpret_cast<IntToString*>(pages.last(NUM_ROWS * sizeof(IntToString)));
    new (rows) IntToString{1, "one"};
    new (rows + 1) IntToString{2, "two"};
    new (rows + 2) IntToString{0, nullptr};
    EXPECT_STREQ("two", rows->getString(2, "none"));
    EXPECT_STREQ("none", rows->getString(3, "none"));
    EXPECT_EQ(2U, rows->getInt("TWO", 9));
    EXPECT_EQ(9U, rows->getInt("three", 9));
}

} // namespace
