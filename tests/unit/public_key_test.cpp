// SubjectPublicKeyInfo: its three parts, what is accepted beyond RFC 5280 4.1, and sizes at the ends of their types.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <system_error>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"
#include "testing/algorithm_code.h"

namespace {

int read_pubkey(const exact_bytes_t& input, asn_pubkey_t& out) {
    return asn_read_pubkey(input.data(), static_cast<long>(input.size()), out);
}

// "yes algorithm, parameters, key"
std::string read_key(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    asn_pubkey_t out = {untouched_view(), untouched_view(), untouched_view()};
    const int done = read_pubkey(input, out);
    EXPECT_TRUE(done == 0 || done == 1);
    EXPECT_TRUE(done == 0 || out.algorithm.data + out.algorithm.size == out.parameters.data);
    return read_text(done == 1,
                     {field_text(out.algorithm, input), field_text(out.parameters, input), field_text(out.key, input)});
}

TEST(public_key, follows_the_rules_of_readers) {
    const der_t algorithm = der_sequence({der_oid("2.5.4.3"), der_raw("05 00")});
    const der_t bits = der_element(0x03, from_hex("00 AA BB"));
    expect_rules_of_readers(read_key, der_sequence({algorithm, bits}),
                            {.reaches_out = {bits}, .open_end = {algorithm}});
}

TEST(public_key, is_read_as_the_cases_say) {
    expect_reads(read_key, "public-key.txt");
}

// The size wraps, and the key starts after the content; nothing of it may be read.
TEST(public_key, of_an_empty_bit_string_has_the_size_of_all_bits) {
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
        EXPECT_EQ("55 04 03", field_text(out.algorithm, input));
        EXPECT_EQ(0xFFFFFFFFU, out.key.size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(input.data()) + c.content + 1,
                  reinterpret_cast<std::uintptr_t>(out.key.data));
    }
}

// Sizes

TEST(public_key_size, counts_and_not_what_follows_it) {
    const std::string whole = from_hex("30 0E 30 07 06 03 55 04 03 05 00 03 03 00 AA BB");
    asn_pubkey_t out;
    const exact_bytes_t input(whole + from_hex("05 00"));
    EXPECT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(whole.size()), out));
    EXPECT_EQ(0, asn_read_pubkey(input.data(), static_cast<long>(whole.size()) - 1, out));
}

// -0xFFFFFFF2 has the low 32 bits of the right size.
TEST(public_key_size, of_zero_or_less_is_refused) {
    const exact_bytes_t input(from_hex("30 0C 30 05 06 03 55 04 03 03 03 00 AA BB"));
    const long right_in_its_low_bits = static_cast<long>(static_cast<long long>(input.size()) - 0x100000000LL);
    asn_pubkey_t out;
    for (const long size : {0L, -1L, LONG_MIN, LONG_MIN + 14, sizeof(long) == 8 ? right_in_its_low_bits : -1L}) {
        EXPECT_EQ(0, asn_read_pubkey(input.data(), size, out)) << size;
    }
}

#if LONG_MAX > 0x7FFFFFFF
// Address space of which only the first page can be touched: inputs of more than 4 GiB that take no memory.
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

TEST(public_key, has_an_algorithm_that_names_the_kind_of_key) {
    const struct {
        const char* oid;
        unsigned int code;
    } cases[] = {{"1.2.840.113549.1.1.1", 0x00000001},
                 {"1.2.840.10040.4.1", 0x00000003},
                 {"1.2.643.2.2.19", 0x0000010E},
                 {"1.2.643.7.1.1.1.1", 0x0000010F},
                 {"1.2.643.7.1.1.1.2", 0x00000110}};
    for (const auto& c : cases) {
        const exact_bytes_t input(encode(der_sequence({der_sequence({der_oid(c.oid)}), der_raw("03 02 00 AA")})));
        asn_pubkey_t out;
        ASSERT_EQ(1, read_pubkey(input, out)) << c.oid;
        EXPECT_EQ(code_text(c.code), code_text(PKI_OID_TO_KEY_ALG(out.algorithm.data, out.algorithm.size))) << c.oid;
    }
}

} // namespace
