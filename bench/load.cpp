// Measures the cost of loading a library: derkit_bench_load LIBRARY [DEPENDENCY...]. The dependencies are loaded first,
// as in a program that uses them anyway. This program needs only the C library, so nothing else is loaded yet.
#include <dlfcn.h>

#include <cstdio>
#include <ctime>

#include "count_allocations.h"

namespace {

long long now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

bool load(const char* library) {
    if (dlopen(library, RTLD_NOW) != nullptr) {
        return true;
    }
    std::fprintf(stderr, "derkit_bench_load: %s\n", dlerror());
    return false;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        if (!load(argv[i])) {
            return 1;
        }
    }
    const allocation_counters_t none = {0, 0};
    const void* const symbol = dlsym(RTLD_DEFAULT, ALLOCATION_COUNTERS);
    const volatile allocation_counters_t& counters =
        symbol == nullptr ? none : *static_cast<const allocation_counters_t*>(symbol);
    const unsigned long number = counters.number;
    const unsigned long bytes = counters.bytes;
    const long long start = now();
    if (argc < 2 || !load(argv[1])) {
        return 1;
    }
    const long long end = now();
    std::printf("{\"ns\": %lld, \"allocations\": %lu, \"allocated_bytes\": %lu}\n", end - start,
                counters.number - number, counters.bytes - bytes);
}
