// Allocations and bytes allocated per call, once the storage that is kept has its room.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "count_allocations.h"
#include "json.h"
#include "passes.h"

namespace {

// Starts the program again with the counting allocator in it.
[[noreturn]] void restart(char** argv) {
    setenv("LD_PRELOAD", DERKIT_BENCH_COUNT_ALLOCATIONS, 1);
    execv("/proc/self/exe", argv);
    throw std::runtime_error("cannot start again with the counting allocator");
}

} // namespace

void run_allocations_pass(const std::vector<judged_row_t>& rows, const options_t& options, int, char** argv) {
    const void* const symbol = dlsym(RTLD_DEFAULT, ALLOCATION_COUNTERS);
    if (symbol == nullptr) {
        restart(argv);
    }
    const volatile allocation_counters_t& counters = *static_cast<const allocation_counters_t*>(symbol);
    json_writer_t json(options.json);
    for (const judged_row_t& judged : rows) {
        const double calls = static_cast<double>(judged.row->expected.size());
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            const contender_t& contender = judged.row->contenders[i];
            const std::unique_ptr<runner_t> runner = contender.make();
            runner->pass();
            const unsigned long number = counters.number;
            const unsigned long bytes = counters.bytes;
            runner->pass();
            const double number_per_call = static_cast<double>(counters.number - number) / calls;
            const double bytes_per_call = static_cast<double>(counters.bytes - bytes) / calls;
            json.add(judged, i, "allocations", number_per_call);
            json.add(judged, i, "allocated_bytes", bytes_per_call);
            std::printf("%-32s %-20s %8.2f allocations %10.1f bytes\n", judged.row->name.c_str(),
                        contender.name.c_str(), number_per_call, bytes_per_call);
        }
    }
}
