// Proves by exhaustion that the reader of headers, and one step of the cursor, do what plain 64-bit arithmetic says.
//
// What they return depends on the expected and the actual identifier (equal or not, or any), on the size and on at most
// five length octets. All lengths of each long form meet all sizes around every boundary, all lengths of the short form
// meet all sizes. Headers that end at a page which may not be touched show that nothing after them is read.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <thread>
#include <vector>

#include "asn/asn_cursor.h"

namespace {

using wide_t = unsigned long long;

constexpr unsigned int UNTOUCHED = 0xA5A5A5A5;
constexpr wide_t MAX_SIZE = 0xFFFFFFFF;
constexpr wide_t TWO_TO_32 = MAX_SIZE + 1;
constexpr unsigned int MAX_HEADER_SIZE = 6;
constexpr unsigned int NUM_SHORT_LENGTHS = 0x80;
constexpr asn_tag_t::Type TAG = asn_tag_t::SEQUENCE;

[[noreturn]] void fail(const char* what, wide_t length, wide_t size) {
    static_cast<void>(std::fprintf(stderr, "%s: wrong for length %llu and size %llu\n", what, length, size));
    std::exit(1);
}

// A header, counted in 64 bits.
struct header_t {
    bool complete = false; // identifier and length lie in the input
    wide_t size = 0;       // of identifier and length
    wide_t length = 0;     // of the content
};

header_t read_in_64_bits(const unsigned char* p, unsigned int size) {
    header_t header;
    if (size < 2) {
        return header;
    }
    const unsigned int num_octets = p[1] < 0x80 ? 0 : p[1] - 0x80u;
    const bool indefinite = p[1] == 0x80;
    if (indefinite || num_octets > 4 || size < 2 + num_octets) {
        return header;
    }
    header.complete = true;
    header.size = 2 + num_octets;
    header.length = num_octets == 0 ? p[1] : 0;
    for (unsigned int i = 0; i < num_octets; ++i) {
        header.length = header.length * 256 + p[2 + i];
    }
    return header;
}

bool header_is_right(const unsigned char* p, unsigned int size, asn_tag_t::Type tag, const header_t& expected) {
    unsigned int length = UNTOUCHED;
    const unsigned char* const content = asn_read_tag_inline(tag, p, size, &length);
    if (!expected.complete) {
        return content == nullptr && length == UNTOUCHED;
    }
    // The documented wrap: the sum is compared in 32 bits.
    const bool accepted = (expected.size + expected.length) % TWO_TO_32 <= size;
    return content == (accepted ? p + expected.size : nullptr) && length == expected.length;
}

bool step_is_right(const unsigned char* p, unsigned int size, asn_tag_t::Type tag, const header_t& expected) {
    asn_cursor_t in(p, size);
    const blob_t content = in.read(tag);
    const bool fits = expected.complete && expected.size + expected.length <= size;
    if (!fits) {
        return !in.ok() && in.empty() && content.data == nullptr && content.size == 0;
    }
    const wide_t moved = expected.size + expected.length;
    return in.ok() && content.data == p + expected.size && content.size == expected.length && in.p == p + moved &&
           in.size == size - moved;
}

void check(const char* what, const unsigned char* p, unsigned int size, asn_tag_t::Type tag, const header_t& expected) {
    if (!header_is_right(p, size, tag, expected) || !step_is_right(p, size, tag, expected)) {
        fail(what, expected.length, size);
    }
}

// 2^32 addresses, of which only those of the first page may be read.
class address_range_t {
  public:
    address_range_t() {
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void* const begin =
            mmap(nullptr, page + TWO_TO_32, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (begin == MAP_FAILED || mprotect(begin, page, PROT_READ | PROT_WRITE) != 0) {
            std::perror("address range");
            std::exit(1);
        }
        guard_ = static_cast<unsigned char*>(begin) + page;
    }

    // Room for octets that end where reading is forbidden.
    unsigned char* before_guard(unsigned int size) const { return guard_ - size; }

  private:
    unsigned char* guard_ = nullptr;
};

// Every size up to that of the longest header, every first length octet, and the octets after it at their edges.
void check_that_nothing_after_the_size_is_read() {
    const address_range_t range;
    constexpr std::array<unsigned char, 5> EDGES = {0x00, 0x01, 0x7F, 0x80, 0xFF};
    constexpr unsigned int NUM_TAILS = 5 * 5 * 5 * 5;
    for (unsigned int size = 0; size <= MAX_HEADER_SIZE; ++size) {
        unsigned char* const p = range.before_guard(size);
        for (unsigned int form = 0; form < 0x100 * NUM_TAILS; ++form) {
            const unsigned char octets[MAX_HEADER_SIZE] = {TAG,
                                                           static_cast<unsigned char>(form / NUM_TAILS),
                                                           EDGES[form / 125 % 5],
                                                           EDGES[form / 25 % 5],
                                                           EDGES[form / 5 % 5],
                                                           EDGES[form % 5]};
            std::copy_n(octets, size, p);
            check("at the end of a page", p, size, TAG, read_in_64_bits(p, size));
        }
    }
}

void check_identifiers() {
    for (unsigned int expected = 0; expected < 0x100; ++expected) {
        for (unsigned int found = 0; found < 0x100; ++found) {
            const unsigned char octets[] = {static_cast<unsigned char>(found), 1, 0};
            const auto tag = static_cast<asn_tag_t::Type>(expected);
            const bool accepted = tag == asn_tag_t::ANY || expected == found;
            check("identifiers", octets, 3, tag, accepted ? read_in_64_bits(octets, 3) : header_t());
        }
    }
}

// The indefinite form, and lengths of five octets and more.
void check_refused_form(unsigned int first_length_octet) {
    const unsigned char octets[MAX_HEADER_SIZE] = {TAG, static_cast<unsigned char>(first_length_octet)};
    constexpr unsigned int STEP = 0xFFFF; // meets both ends
    for (wide_t size = 0; size <= MAX_SIZE; size += size < STEP ? 1 : STEP) {
        check("refused form", octets, static_cast<unsigned int>(size), TAG, header_t());
    }
}

// Two loops without calls, which the compiler can spread over its vectors: there are 2^39 cases.
void check_short_form(unsigned char length) {
    if (length >= NUM_SHORT_LENGTHS) {
        return; // tells the compiler the form
    }
    const unsigned char octets[2 + NUM_SHORT_LENGTHS] = {TAG, length};
    const unsigned char* const content_begin = octets + 2;
    const unsigned char* const content_end = content_begin + length;
    check("short form", octets, 0, TAG, header_t());
    check("short form", octets, 1, TAG, header_t());
    unsigned int wrong = 0;
    for (wide_t size = 2; size <= MAX_SIZE; ++size) {
        unsigned int found_length = UNTOUCHED;
        const bool fits = length + 2ULL <= size;
        const unsigned char* const content =
            asn_read_tag_inline(TAG, octets, static_cast<unsigned int>(size), &found_length);
        wrong |= content != (fits ? content_begin : nullptr);
        wrong |= found_length != length;
    }
    for (wide_t size = 2; size <= MAX_SIZE; ++size) {
        asn_cursor_t in(octets, static_cast<unsigned int>(size));
        const blob_t content = in.read(TAG);
        const bool fits = length + 2ULL <= size;
        wrong |= content.data != (fits ? content_begin : nullptr);
        wrong |= content.size != (fits ? length : 0u);
        wrong |= in.ok() != fits;
        wrong |= in.size != (fits ? static_cast<unsigned int>(size - 2 - length) : 0u);
        wrong |= in.p != (fits ? content_end : octets);
    }
    if (wrong != 0) {
        fail("short form", length, MAX_SIZE);
    }
}

// Results change where the header is complete and where the sum of the sizes, in 64 or in 32 bits, meets the size.
template <unsigned int NUM_OCTETS> void check_long_form(const address_range_t& range, wide_t begin, wide_t end) {
    constexpr unsigned int HEADER_SIZE = 2 + NUM_OCTETS;
    unsigned char* const p = range.before_guard(HEADER_SIZE);
    p[0] = TAG;
    p[1] = 0x80 | NUM_OCTETS;
    for (wide_t length = begin; length < end; ++length) {
        for (unsigned int i = 0; i < NUM_OCTETS; ++i) {
            p[2 + i] = static_cast<unsigned char>(length >> (8 * (NUM_OCTETS - 1 - i)));
        }
        const unsigned int sum = static_cast<unsigned int>(HEADER_SIZE + length);
        for (const unsigned int size : {0u, 1u, 2u, HEADER_SIZE - 1, HEADER_SIZE, HEADER_SIZE + 1, sum - 1, sum,
                                        sum + 1, static_cast<unsigned int>(length), 0xFFFFFFFFu}) {
            check("long form", p, size, TAG, {size >= HEADER_SIZE, HEADER_SIZE, length});
        }
    }
}

using task_t = std::function<void(const address_range_t&)>;

// All lengths of four octets in pieces.
std::vector<task_t> list_tasks() {
    std::vector<task_t> tasks;
    tasks.emplace_back([](const address_range_t&) { check_that_nothing_after_the_size_is_read(); });
    tasks.emplace_back([](const address_range_t&) { check_identifiers(); });
    for (unsigned int octet = 0x80; octet < 0x100; ++octet) {
        if (octet == 0x80 || octet > 0x84) {
            tasks.emplace_back([octet](const address_range_t&) { check_refused_form(octet); });
        }
    }
    tasks.emplace_back([](const address_range_t& range) { check_long_form<1>(range, 0, 0x100); });
    tasks.emplace_back([](const address_range_t& range) { check_long_form<2>(range, 0, 0x10000); });
    tasks.emplace_back([](const address_range_t& range) { check_long_form<3>(range, 0, 0x1000000); });
    constexpr wide_t PIECE = 0x1000000;
    for (wide_t begin = 0; begin < TWO_TO_32; begin += PIECE) {
        tasks.emplace_back([begin](const address_range_t& range) { check_long_form<4>(range, begin, begin + PIECE); });
    }
    for (unsigned int length = 0; length < NUM_SHORT_LENGTHS; ++length) {
        tasks.emplace_back([length](const address_range_t&) { check_short_form(static_cast<unsigned char>(length)); });
    }
    return tasks;
}

} // namespace

int main() {
    const std::vector<task_t> tasks = list_tasks();
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> threads(std::max(1u, std::thread::hardware_concurrency()));
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            const address_range_t range;
            for (std::size_t i = next++; i < tasks.size(); i = next++) {
                tasks[i](range);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::puts("Every length of every form was read as 64-bit arithmetic says.");
    return 0;
}
