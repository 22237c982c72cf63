// Counts the requests to the C library's allocator, which operator new uses too. Preloaded only in runs that count, so
// that counting disturbs no times.
#include "count_allocations.h"

#include <cerrno>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

EXPORTED allocation_counters_t bench_allocation_counters = {0, 0};

static void count(std::size_t size) {
    ++bench_allocation_counters.number;
    bench_allocation_counters.bytes += size;
}

EXPORTED void* malloc(std::size_t size) {
    count(size);
    return __libc_malloc(size);
}

EXPORTED void* calloc(std::size_t number, std::size_t size) {
    count(number * size);
    return __libc_calloc(number, size);
}

EXPORTED void* realloc(void* block, std::size_t size) {
    count(size);
    return __libc_realloc(block, size);
}

EXPORTED void* aligned_alloc(std::size_t alignment, std::size_t size) {
    count(size);
    return __libc_memalign(alignment, size);
}

EXPORTED int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    count(size);
    *block = __libc_memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}
}
