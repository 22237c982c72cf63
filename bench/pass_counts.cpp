// Allocations and instructions per call, after a first pass has allocated the storage that is kept. Both restart the
// program with what counts them.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "count_allocations.h"
#include "passes.h"

namespace {

namespace fs = std::filesystem;

// Calls count(judged row, contender, runner) for each contender, after a first pass.
template <typename COUNT> void for_each_contender(const judged_rows_t& rows, COUNT count) {
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            const std::unique_ptr<runner_t> runner = judged.row->contenders[i].make();
            runner->pass();
            count(judged, i, *runner);
        }
    }
}

[[noreturn]] void restart_with_counting_allocator(const options_t& options) {
    setenv("LD_PRELOAD", DERKIT_BENCH_COUNT_ALLOCATIONS, 1);
    execv("/proc/self/exe", options.arguments.data());
    throw std::runtime_error("cannot start again with the counting allocator");
}

constexpr const char* DUMPS = "DERKIT_BENCH_DUMPS"; // names the folder of callgrind's dumps

void run_under_callgrind(const fs::path& folder, const options_t& options) {
    std::vector<std::string> words = {"valgrind",
                                      "--tool=callgrind",
                                      "--instr-atstart=no",
                                      "-q",
                                      "--callgrind-out-file=" + (folder / "dump").string(),
                                      fs::read_symlink("/proc/self/exe").string()};
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.insert(arguments.end(), options.arguments.begin() + 1, options.arguments.end());
    execvp("valgrind", arguments.data());
}

// In a process of its own, as its last dump is written when it ends.
void restart_under_callgrind(const options_t& options) {
    std::string folder = (fs::temp_directory_path() / "derkit_bench.XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder for callgrind");
    }
    setenv(DUMPS, folder.c_str(), 1);
    const pid_t child = fork();
    if (child == 0) {
        run_under_callgrind(folder, options);
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    fs::remove_all(folder);
    if (status != 0) {
        throw std::runtime_error("valgrind failed");
    }
}

// Returns the sum of a dump and removes it.
unsigned long long take_dump(const fs::path& folder, unsigned int number) {
    const fs::path path = folder / ("dump." + std::to_string(number));
    std::ifstream file(path);
    unsigned long long instructions = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("summary: ")) {
            instructions = std::stoull(line.substr(9));
        }
    }
    fs::remove(path);
    return instructions;
}

} // namespace

void run_allocations_pass(const judged_rows_t& rows, const options_t& options) {
    const void* const symbol = dlsym(RTLD_DEFAULT, ALLOCATION_COUNTERS);
    if (symbol == nullptr) {
        restart_with_counting_allocator(options);
    }
    const volatile allocation_counters_t& counters = *static_cast<const allocation_counters_t*>(symbol);
    results_t results(options.json);
    for_each_contender(rows, [&](const judged_row_t& judged, std::size_t contender, runner_t& runner) {
        const unsigned long number = counters.number;
        const unsigned long bytes = counters.bytes;
        runner.pass();
        const double num_allocations = static_cast<double>(counters.number - number);
        const double num_bytes = static_cast<double>(counters.bytes - bytes);
        results.add(judged, contender, "allocations", num_allocations / judged.num_calls());
        results.add(judged, contender, "allocated_bytes", num_bytes / judged.num_calls());
    });
}

void run_instructions_pass(const judged_rows_t& rows, const options_t& options) {
    const char* const folder = std::getenv(DUMPS);
    if (folder == nullptr) {
        restart_under_callgrind(options);
        return;
    }
    results_t results(options.json);
    unsigned int number = 0;
    for_each_contender(rows, [&](const judged_row_t& judged, std::size_t contender, runner_t& runner) {
        CALLGRIND_START_INSTRUMENTATION;
        CALLGRIND_ZERO_STATS;
        runner.pass();
        CALLGRIND_DUMP_STATS;
        CALLGRIND_STOP_INSTRUMENTATION;
        const double instructions = static_cast<double>(take_dump(folder, ++number));
        results.add(judged, contender, "instructions", instructions / judged.num_calls());
    });
}
