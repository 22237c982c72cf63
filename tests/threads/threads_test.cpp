// Runs every call of the catalogue in many threads at once, each thread on its own arguments and all of them on the
// same maps, and compares the results with those of a single thread. ThreadSanitizer finds the rest.
#include <atomic>
#include <cstdio>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "testing/calls.h"
#include "testing/parsed_map.h"

namespace {

constexpr unsigned int NUM_THREADS = 8;
constexpr unsigned int NUM_VARIANTS = 12; // of the arguments of a call
constexpr unsigned int NUM_ROUNDS = 20;
constexpr std::size_t SHAPE_SIZE = 200;

struct job_t {
    const call_t* call;
    unsigned int variant;
    std::string input;
};

// Shared by all threads. The parsed one is made by whichever thread comes first.
oid_map_handle_t shared_map(unsigned int variant) {
    static const parsed_map_t parsed("1.2.3 = a-short-name, a long name\n2.5.4.3 = COMMON\n1.2.643.100.1 = NUMBER\n");
    const oid_map_handle_t maps[] = {OID_MAP_HANDLE_DEFAULT, OID_MAP_HANDLE_DEFAULT_FILE, parsed.handle()};
    return maps[variant % 3];
}

// Samples and shapes, and then the same with an octet changed.
std::string variant_input(const std::vector<std::string>& inputs, unsigned int variant) {
    std::string input = inputs[variant % inputs.size()];
    if (variant >= inputs.size() && !input.empty()) {
        char& octet = input[input.size() - 1 - variant % input.size()];
        octet = static_cast<char>(octet ^ static_cast<char>(variant));
    }
    return input;
}

std::vector<job_t> all_jobs() {
    std::vector<job_t> jobs;
    for (const call_t& call : all_calls()) {
        std::vector<std::string> inputs = call.samples;
        for (const shape_t& shape : call.shapes) {
            inputs.push_back(shape.make(SHAPE_SIZE));
        }
        for (unsigned int variant = 0; call.reentrant && variant < NUM_VARIANTS; ++variant) {
            jobs.push_back({&call, variant, variant_input(inputs, variant)});
        }
    }
    return jobs;
}

std::string run(const job_t& job) {
    const exact_bytes_t octets(octets_for(*job.call, job.input));
    run_t run(octets.data(), static_cast<unsigned int>(job.input.size()));
    run.map = shared_map(job.variant);
    const bool accepted = job.call->run(run);
    std::ostringstream text;
    text << run.answer(accepted);
    return text.str();
}

using results_t = std::vector<std::string>; // of all jobs

// Threads start in different places, so that different functions meet.
void run_all(const std::vector<job_t>& jobs, unsigned int number, results_t& results) {
    results.resize(jobs.size());
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const std::size_t index = (i + number * jobs.size() / NUM_THREADS) % jobs.size();
        results[index] = run(jobs[index]);
    }
}

// The threads wait for each other before the first round, so that all of them race for what is made at the first use.
std::vector<results_t> run_in_threads(const std::vector<job_t>& jobs) {
    std::vector<results_t> results(NUM_THREADS);
    std::atomic<unsigned int> num_ready = 0;
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < NUM_THREADS; ++number) {
        threads.emplace_back([number, &jobs, &results, &num_ready] {
            for (++num_ready; num_ready != NUM_THREADS;) {
                std::this_thread::yield();
            }
            for (unsigned int round = 0; round < NUM_ROUNDS; ++round) {
                run_all(jobs, number + round, results[number]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

} // namespace

int main() {
    const std::vector<job_t> jobs = all_jobs();
    const std::vector<results_t> results = run_in_threads(jobs); // first, so that nothing has been made beforehand
    results_t expected;
    run_all(jobs, 0, expected);
    unsigned int num_differences = 0;
    for (unsigned int thread = 0; thread < NUM_THREADS; ++thread) {
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            if (results[thread][i] != expected[i]) {
                std::printf("%s, variant %u, thread %u: expected %s but got %s\n", jobs[i].call->name.c_str(),
                            jobs[i].variant, thread, expected[i].c_str(), results[thread][i].c_str());
                ++num_differences;
            }
        }
    }
    std::printf("%zu calls, %u threads, %u differences\n", jobs.size(), NUM_THREADS, num_differences);
    return num_differences == 0 && !jobs.empty() ? 0 : 1;
}
