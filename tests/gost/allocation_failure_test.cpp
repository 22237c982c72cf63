// Every allocation fails once: operator new and the pages of secrets alike.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include <sys/mman.h>

#include "gost/crypto_faults.h"
#include "gost/work_with_secrets.h"
#include "testing/bytes.h"
#include "testing/failing_allocator.h"

namespace {

std::size_t num_mapped = 0; // octets of pages, always

} // namespace

extern "C" {

void* __real_mmap(void* address, size_t size, int protection, int flags, int file, off_t offset);
void* __wrap_mmap(void* address, size_t size, int protection, int flags, int file, off_t offset) {
    if (allocation_fails(size)) {
        return MAP_FAILED;
    }
    void* const pages = __real_mmap(address, size, protection, flags, file, offset);
    num_mapped += pages != MAP_FAILED ? size : 0;
    return pages;
}

int __real_munmap(void* address, size_t size);
int __wrap_munmap(void* address, size_t size) {
    num_mapped -= size;
    return __real_munmap(address, size);
}
}

namespace {

using namespace derkit::gost;

const std::string PRIVATE_KEY_INFO =
    der(asn_tag_t::SEQUENCE, {der_integer(0), from_hex("3000 0420"), std::string(32, 'k')});

// Runs `body` while its nth allocation fails, and returns whether it threw std::bad_alloc.
template <typename BODY> bool runs_out_of_memory(std::size_t n, BODY body) {
    allocator.num_allocations = 0;
    allocator.failing = n;
    allocator.watching = true;
    bool thrown = false;
    try {
        body();
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    allocator.watching = false;
    return thrown;
}

TEST(AllocationFailure, IsThrownAndLeavesNothing) {
    for (const work_t& work : all_work()) {
        const auto run = [&work] { work.run("password", PRIVATE_KEY_INFO); };
        run(); // what is made once
        const std::ptrdiff_t num_live = allocator.num_live;
        const std::size_t mapped = num_mapped;
        std::size_t n = 1;
        for (; runs_out_of_memory(n, run); ++n) {
            EXPECT_EQ(allocator.num_live, num_live) << work.name << ", allocation " << n;
            EXPECT_EQ(num_mapped, mapped) << work.name << ", allocation " << n;
            EXPECT_EQ(crypto_faults.num_open, 0U) << work.name << ", allocation " << n;
        }
        EXPECT_LT(allocator.num_allocations, n) << work.name << " goes on after a failed allocation";
        EXPECT_GT(n, 20U) << work.name << " hardly allocates";
    }
}

TEST(AllocationFailure, LeavesASecretAsItWas) {
    secret text("kept");
    EXPECT_TRUE(runs_out_of_memory(1, [&] { text.append(std::string(5000, '.')); }));
    EXPECT_TRUE(runs_out_of_memory(1, [&] { text.reserve(5000); }));
    EXPECT_TRUE(runs_out_of_memory(1, [&] { text.resize(5000); }));
    const secret other("other");
    EXPECT_TRUE(runs_out_of_memory(1, [&] { text = other; }));
    EXPECT_EQ(text.view(), "kept");
}

} // namespace
