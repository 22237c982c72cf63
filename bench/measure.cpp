#include "measure.h"

#include <algorithm>
#include <cmath>

void collector_t::run(int argc, char** argv) {
    std::string program = argv[0];
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments = {program.data(), interleaving.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int num_arguments = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&num_arguments, arguments.data());
    benchmark::RunSpecifiedBenchmarks(this);
}

double collector_t::median(const std::string& benchmark) const {
    const auto found = samples_.find(benchmark);
    if (found == samples_.end()) {
        return std::nan(""); // left out by a filter of Google Benchmark
    }
    std::vector<double> sorted = found->second;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

double collector_t::largest(const std::string& benchmark) const {
    const auto found = samples_.find(benchmark);
    return found == samples_.end() ? std::nan("") : *std::max_element(found->second.begin(), found->second.end());
}

void collector_t::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Iteration) {
            samples_[run.run_name.function_name].push_back(value_(run));
        }
    }
}
