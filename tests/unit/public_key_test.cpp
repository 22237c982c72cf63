// SubjectPublicKeyInfo: its three parts, what is accepted beside RFC 5280 4.1, and sizes at the ends of their types.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <system_error>

#include "derkit/asn_helper.h"
#include "support/expect.h"
#include "testing/algorithm_code.h"
#include "testing/bytes.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

int read_pubkey(const exact_bytes_t& input, asn_pubkey_t& out) {
    return asn_read_pubkey(input.data(), static_cast<long>(input.size()), out);
}

// Reading

struct public_key_case_t {
    const char* name;
    const char* input;
    const char* algorithm; // content octets of the OID
    const char* parameters;
    const char* key;
};
class public_key : public testing::TestWithParam<public_key_case_t> {};

TEST_P(public_key, is_split_into_views_of_the_input) {
    const public_key_case_t& c = GetParam();
    const exact_bytes_t input(from_hex(c.input));
    asn_pubkey_t out;
    ASSERT_EQ(1, read_pubkey(input, out));
    EXPECT_TRUE(same_bytes(from_hex(c.algorithm), chars_of(out.algorithm)));
    EXPECT_TRUE(same_bytes(from_hex(c.parameters), chars_of(out.parameters)));
    EXPECT_TRUE(same_bytes(from_hex(c.key), chars_of(out.key)));
    EXPECT_TRUE(lies_in(out.algorithm, input));
    EXPECT_TRUE(lies_in(out.parameters, input));
    EXPECT_TRUE(lies_in(out.key, input));
    EXPECT_EQ(out.algorithm.data + out.algorithm.size, out.parameters.data);
}

const public_key_case_t READ[] = {
    {"null_parameters", "30 0E 30 07 06 03 55 04 03 05 00 03 03 00 AA BB", "55 04 03", "05 00", "AA BB"},
    {"oid_alone_has_no_parameters", "30 0C 30 05 06 03 55 04 03 03 03 00 AA BB", "55 04 03", "", "AA BB"},
    {"several_parameters", "30 12 30 0B 06 03 55 04 03 30 00 02 02 01 00 03 03 00 AA BB", "55 04 03",
     "30 00 02 02 01 00", "AA BB"},
    {"parameters_are_not_looked_at", "30 0D 30 06 06 03 55 04 03 FF 03 03 00 AA BB", "55 04 03", "FF", "AA BB"},
    {"empty_oid", "30 0B 30 04 06 00 05 00 03 03 00 AA BB", "", "05 00", "AA BB"},
    {"key_of_no_octets", "30 0A 30 05 06 03 55 04 03 03 01 00", "55 04 03", "", ""},
    {"lengths_with_octets_to_spare", "30 82 00 11 30 81 06 06 81 03 55 04 03 03 84 00 00 00 03 00 AA BB", "55 04 03",
     "", "AA BB"},
    {"more_behind_the_key", "30 0E 30 05 06 03 55 04 03 03 03 00 AA BB 05 00", "55 04 03", "", "AA BB"},
    {"more_behind_it_all", "30 0C 30 05 06 03 55 04 03 03 03 00 AA BB FF", "55 04 03", "", "AA BB"},
};
INSTANTIATE_TEST_SUITE_P(of_any_kind, public_key, testing::ValuesIn(READ), case_name_t());

const public_key_case_t UNUSED_BITS[] = {
    {"none", "30 0C 30 05 06 03 55 04 03 03 03 00 AA BB", "55 04 03", "", "AA BB"},
    {"seven", "30 0C 30 05 06 03 55 04 03 03 03 07 AA BB", "55 04 03", "", "AA BB"},
    {"more_than_an_octet_has", "30 0C 30 05 06 03 55 04 03 03 03 FF AA BB", "55 04 03", "", "AA BB"},
    {"of_no_octets", "30 0A 30 05 06 03 55 04 03 03 01 07", "55 04 03", "", ""},
};
INSTANTIATE_TEST_SUITE_P(unused_bits_are_not_looked_at, public_key, testing::ValuesIn(UNUSED_BITS), case_name_t());

// The outer SEQUENCE says 00 to 0B where 0C would be right.
const public_key_case_t BOUNDED_BY_THE_INPUT[] = {
    {"runs_past_the_sequence_by_one", "30 0B 30 05 06 03 55 04 03 03 03 00 AA BB", "55 04 03", "", "AA BB"},
    {"content_outside_the_sequence", "30 09 30 05 06 03 55 04 03 03 03 00 AA BB", "55 04 03", "", "AA BB"},
    {"header_cut_by_the_sequence", "30 08 30 05 06 03 55 04 03 03 03 00 AA BB", "55 04 03", "", "AA BB"},
    {"stands_behind_the_sequence", "30 07 30 05 06 03 55 04 03 03 03 00 AA BB", "55 04 03", "", "AA BB"},
    {"takes_what_is_behind_the_sequence", "30 0C 30 05 06 03 55 04 03 03 05 00 AA BB CC DD EE", "55 04 03", "",
     "AA BB CC DD"},
};
INSTANTIATE_TEST_SUITE_P(bit_string_is_bounded_by_the_input, public_key, testing::ValuesIn(BOUNDED_BY_THE_INPUT),
                         case_name_t());

// Refusing

struct refused_key_case_t {
    const char* name;
    const char* input;
};
class refused_public_key : public testing::TestWithParam<refused_key_case_t> {};

TEST_P(refused_public_key, gives_0_and_touches_nothing) {
    const exact_bytes_t input(from_hex(GetParam().input));
    asn_pubkey_t out = {untouched_view(), untouched_view(), untouched_view()};
    EXPECT_EQ(0, read_pubkey(input, out));
    for (const blob_t& view : {out.algorithm, out.parameters, out.key}) {
        EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(view)));
    }
}

const refused_key_case_t REFUSED[] = {
    {"nothing", ""},
    {"one_octet", "30"},
    {"empty_sequence", "30 00"},
    {"another_identifier", "31 0C 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"sequence_past_the_end", "30 0D 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"indefinite_length", "30 80 30 05 06 03 55 04 03 03 03 00 AA BB 00 00"},
    {"five_length_octets", "30 85 00 00 00 00 0C 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"algorithm_of_another_identifier", "30 0C 31 05 06 03 55 04 03 03 03 00 AA BB"},
    {"algorithm_behind_the_sequence", "30 00 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"algorithm_past_the_sequence", "30 06 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"key_in_front_of_the_algorithm", "30 0C 03 03 00 AA BB 30 05 06 03 55 04 03"},
    {"empty_algorithm", "30 07 30 00 03 03 00 AA BB"},
    {"oid_of_another_identifier", "30 0C 30 05 04 03 55 04 03 03 03 00 AA BB"},
    {"oid_in_second_place", "30 0E 30 07 05 00 06 03 55 04 03 03 03 00 AA BB"},
    {"oid_behind_the_algorithm", "30 0C 30 00 06 03 55 04 03 03 03 00 AA BB"},
    {"oid_past_the_algorithm", "30 0C 30 04 06 03 55 04 03 03 03 00 AA BB"},
    // Adding the header's size to these lengths wraps.
    {"wrapping_length_of_the_sequence", "30 84 FF FF FF FA 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"wrapping_length_of_the_sequence_by_some", "30 84 FF FF FF FF 30 05 06 03 55 04 03 03 03 00 AA BB"},
    {"wrapping_length_of_the_algorithm", "30 10 30 84 FF FF FF FC 06 03 55 04 03 03 03 00 AA BB"},
    {"wrapping_length_of_the_oid", "30 10 30 09 06 84 FF FF FF FD 55 04 03 03 03 00 AA BB"},
};
INSTANTIATE_TEST_SUITE_P(without_algorithm, refused_public_key, testing::ValuesIn(REFUSED), case_name_t());

class public_key_without_bit_string : public testing::TestWithParam<refused_key_case_t> {};

TEST_P(public_key_without_bit_string, is_refused_but_keeps_the_algorithm) {
    const exact_bytes_t input(from_hex(GetParam().input));
    asn_pubkey_t out = {untouched_view(), untouched_view(), untouched_view()};
    EXPECT_EQ(0, read_pubkey(input, out));
    EXPECT_TRUE(same_bytes(from_hex("55 04 03"), chars_of(out.algorithm)));
    EXPECT_TRUE(same_bytes(from_hex("05 00"), chars_of(out.parameters)));
    EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(out.key)));
}

const refused_key_case_t WITHOUT_BIT_STRING[] = {
    {"nothing", "30 09 30 07 06 03 55 04 03 05 00"},
    {"header_cut_short", "30 0A 30 07 06 03 55 04 03 05 00 03"},
    {"another_identifier", "30 0E 30 07 06 03 55 04 03 05 00 04 03 00 AA BB"},
    {"constructed", "30 0E 30 07 06 03 55 04 03 05 00 23 03 00 AA BB"},
    {"in_second_place", "30 10 30 07 06 03 55 04 03 05 00 05 00 03 03 00 AA BB"},
    {"past_the_end_of_the_input", "30 0E 30 07 06 03 55 04 03 05 00 03 04 00 AA BB"},
    {"past_the_end_with_nothing_of_it_in_the_sequence", "30 09 30 07 06 03 55 04 03 05 00 03 04 00 AA BB"},
    {"indefinite_length", "30 10 30 07 06 03 55 04 03 05 00 03 80 00 AA BB 00 00"},
    {"wrapping_length", "30 12 30 07 06 03 55 04 03 05 00 03 84 FF FF FF FA 00 AA BB"},
    {"wrapping_length_by_some", "30 12 30 07 06 03 55 04 03 05 00 03 84 FF FF FF FE 00 AA BB"},
    {"wrapping_length_behind_the_sequence", "30 09 30 07 06 03 55 04 03 05 00 03 84 FF FF FF FF"},
    {"greatest_length_that_does_not_wrap", "30 12 30 07 06 03 55 04 03 05 00 03 84 FF FF FF F9 00 AA BB"},
};
INSTANTIATE_TEST_SUITE_P(but, public_key_without_bit_string, testing::ValuesIn(WITHOUT_BIT_STRING), case_name_t());

TEST(public_key_prefix, is_refused) {
    for (const char* const whole : {"30 0E 30 07 06 03 55 04 03 05 00 03 03 00 AA BB",
                                    "30 82 00 11 30 81 06 06 81 03 55 04 03 03 84 00 00 00 03 00 AA BB",
                                    "30 07 30 05 06 03 55 04 03 03 03 00 AA BB"}) {
        for_each_prefix(from_hex(whole), [](const exact_bytes_t& prefix) {
            asn_pubkey_t out;
            EXPECT_EQ(0, read_pubkey(prefix, out));
        });
    }
}

// An empty BIT STRING

TEST(empty_bit_string, gives_a_key_of_wrapped_size_behind_its_content) {
    const struct {
        const char* input;
        unsigned int content;
    } cases[] = {
        {"30 09 30 05 06 03 55 04 03 03 00", 11},
        {"30 09 30 05 06 03 55 04 03 03 00 30 06 02 01 07 02 01 03", 11},
        {"30 07 30 05 06 03 55 04 03 03 81 00", 12},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        const exact_bytes_t input(from_hex(c.input));
        asn_pubkey_t out;
        EXPECT_EQ(1, read_pubkey(input, out));
        EXPECT_TRUE(same_bytes(from_hex("55 04 03"), chars_of(out.algorithm)));
        EXPECT_EQ(0xFFFFFFFFU, out.key.size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(input.data()) + c.content + 1,
                  reinterpret_cast<std::uintptr_t>(out.key.data));
    }
}

// Sizes

TEST(public_key_size, counts_and_not_what_lies_behind_it) {
    const std::string whole = from_hex("30 0E 30 07 06 03 55 04 03 05 00 03 03 00 AA BB");
    asn_pubkey_t out;
    const exact_bytes_t input(whole + from_hex("05 00"));
    EXPECT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(whole.size()), out));
    EXPECT_EQ(0, asn_read_pubkey(input.data(), static_cast<long>(whole.size()) - 1, out));
}

TEST(public_key_size, of_zero_or_less_is_refused) {
    const exact_bytes_t input(from_hex("30 0C 30 05 06 03 55 04 03 03 03 00 AA BB"));
    asn_pubkey_t out;
    for (const long size : {0L, -1L, LONG_MIN, LONG_MIN + 14}) {
        EXPECT_EQ(0, asn_read_pubkey(input.data(), size, out)) << size;
    }
}

#if LONG_MAX > 0x7FFFFFFF
TEST(public_key_size, below_zero_is_refused_though_its_low_32_bits_would_do) {
    const exact_bytes_t input(from_hex("30 0C 30 05 06 03 55 04 03 03 03 00 AA BB"));
    asn_pubkey_t out;
    EXPECT_EQ(0, asn_read_pubkey(input.data(), static_cast<long>(input.size()) - 0x100000000, out));
}

// Address space, of which only the first page can be touched: inputs of more than 4 GiB that take no memory.
class reserved_memory_t {
  public:
    explicit reserved_memory_t(std::size_t size)
        : size_(size), start_(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
        if (start_ == MAP_FAILED || mprotect(start_, PAGE, PROT_READ | PROT_WRITE) != 0) {
            throw std::system_error(errno, std::generic_category(), "reserving address space");
        }
    }
    ~reserved_memory_t() { munmap(start_, size_); }
    reserved_memory_t(const reserved_memory_t&) = delete;
    reserved_memory_t& operator=(const reserved_memory_t&) = delete;

    void write(std::string_view bytes) { std::memcpy(start_, bytes.data(), bytes.size()); }
    const unsigned char* data() const { return static_cast<const unsigned char*>(start_); }

  private:
    static constexpr std::size_t PAGE = 4096;
    std::size_t size_;
    void* start_;
};

TEST(public_key_size, past_2_32_less_1_counts_as_that) {
    constexpr long LAST = 0xFFFFFFFF;
    reserved_memory_t memory(static_cast<std::size_t>(LAST) + 4096);
    asn_pubkey_t out;
    // The header of the BIT STRING ends at 15; with FF FF FF F0 its content ends at 2^32 - 1.
    for (const long size : {LAST, LAST + 1, LAST + 15, LAST + 4096, LAST + LAST, LONG_MAX}) {
        SCOPED_TRACE(size);
        memory.write(from_hex("30 07 30 05 06 03 55 04 03 03 84 FF FF FF F0 00"));
        EXPECT_EQ(1, asn_read_pubkey(memory.data(), size, out));
        EXPECT_EQ(0xFFFFFFEFU, out.key.size);
        EXPECT_EQ(memory.data() + 16, out.key.data);
        memory.write(from_hex("30 07 30 05 06 03 55 04 03 03 84 FF FF FF F1 00"));
        EXPECT_EQ(0, asn_read_pubkey(memory.data(), size, out));
    }
    memory.write(from_hex("30 07 30 05 06 03 55 04 03 03 84 FF FF FF F0 00"));
    EXPECT_EQ(0, asn_read_pubkey(memory.data(), LAST - 1, out));
}
#endif

// The algorithm

TEST(public_key_algorithm, names_the_kind_of_key) {
    const struct {
        const char* input;
        unsigned int code;
    } cases[] = {
        {"30 13 30 0D 06 09 2A 86 48 86 F7 0D 01 01 01 05 00 03 02 00 AA", 0x00000001}, // 1.2.840.113549.1.1.1
        {"30 0F 30 09 06 07 2A 86 48 CE 38 04 01 03 02 00 AA", 0x00000003},             // 1.2.840.10040.4.1
        {"30 0E 30 08 06 06 2A 85 03 02 02 13 03 02 00 AA", 0x0000010E},                // 1.2.643.2.2.19
        {"30 10 30 0A 06 08 2A 85 03 07 01 01 01 01 03 02 00 AA", 0x0000010F},          // 1.2.643.7.1.1.1.1
        {"30 10 30 0A 06 08 2A 85 03 07 01 01 01 02 03 02 00 AA", 0x00000110},          // 1.2.643.7.1.1.1.2
    };
    for (const auto& c : cases) {
        const exact_bytes_t input(from_hex(c.input));
        asn_pubkey_t out;
        ASSERT_EQ(1, read_pubkey(input, out)) << c.input;
        EXPECT_EQ(code_text(c.code), code_text(PKI_OID_TO_KEY_ALG(out.algorithm.data, out.algorithm.size))) << c.input;
    }
}

} // namespace
