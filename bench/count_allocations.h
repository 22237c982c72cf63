// The counters of the preloaded allocator.
#ifndef DERKIT_BENCH_COUNT_ALLOCATIONS_H
#define DERKIT_BENCH_COUNT_ALLOCATIONS_H

#define EXPORTED __attribute__((visibility("default")))

struct allocation_counters_t {
    unsigned long number;
    unsigned long bytes;
};

// The name under which the running program looks them up.
inline constexpr const char* ALLOCATION_COUNTERS = "bench_allocation_counters";

#endif
