// Times by Google Benchmark, of one thread and of two.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "passes.h"

namespace {

// Keeps one value of each repetition.
class collector_t final : public benchmark::BenchmarkReporter {
  public:
    explicit collector_t(std::function<double(const Run&)> value) : value_(std::move(value)) {}

    // Runs all registered benchmarks, their repetitions in random order over the whole run.
    void run(const options_t& options) {
        std::string interleaving = "--benchmark_enable_random_interleaving=true";
        std::vector<char*> arguments = options.benchmark_arguments;
        arguments.insert(arguments.begin() + 1, interleaving.data());
        int num_arguments = static_cast<int>(arguments.size()) - 1;
        benchmark::Initialize(&num_arguments, arguments.data());
        benchmark::RunSpecifiedBenchmarks(this);
    }

    // No number for a benchmark that a filter of Google Benchmark left out.
    double median(const std::string& benchmark) const {
        const std::vector<double> sorted = sorted_samples(benchmark);
        const std::size_t middle = sorted.size() / 2;
        return sorted.size() % 2 == 1 ? sorted[middle]
               : sorted.empty()       ? std::nan("")
                                      : (sorted[middle - 1] + sorted[middle]) / 2;
    }
    double largest(const std::string& benchmark) const {
        const std::vector<double> sorted = sorted_samples(benchmark);
        return sorted.empty() ? std::nan("") : sorted.back();
    }

    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                samples_[run.run_name.function_name].push_back(value_(run));
            }
        }
    }

  private:
    std::function<double(const Run&)> value_;
    std::map<std::string, std::vector<double>> samples_;

    std::vector<double> sorted_samples(const std::string& benchmark) const {
        const auto found = samples_.find(benchmark);
        std::vector<double> samples = found == samples_.end() ? std::vector<double>() : found->second;
        std::sort(samples.begin(), samples.end());
        return samples;
    }
};

std::string benchmark_name(const judged_row_t& judged, std::size_t contender, int threads) {
    return judged.row->name + "/" + judged.row->contenders[contender].name + "/" + std::to_string(threads);
}

benchmark::internal::Benchmark* add_benchmark(const judged_row_t& judged, std::size_t index, int threads) {
    const contender_t& contender = judged.row->contenders[index];
    const auto run = [&contender, calls = judged.num_calls()](benchmark::State& state) {
        const std::unique_ptr<runner_t> runner = contender.make();
        runner->pass();
        for (auto _ : state) {
            runner->pass();
        }
        state.counters["calls"] = calls;
        // Calls a second of all threads together.
        state.counters["rate"] =
            benchmark::Counter(calls * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    };
    return benchmark::RegisterBenchmark(benchmark_name(judged, index, threads).c_str(), run);
}

} // namespace

void run_time_pass(const judged_rows_t& rows, const options_t& options) {
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            add_benchmark(judged, i, 1)
                ->Repetitions(options.is_quick ? 5 : 15)
                ->MinTime(options.is_quick ? 0.01 : 0.05);
        }
    }
    collector_t nanoseconds([](const benchmark::BenchmarkReporter::Run& run) {
        return run.cpu_accumulated_time / static_cast<double>(run.iterations) / run.counters.at("calls").value * 1e9;
    });
    nanoseconds.run(options);

    results_t results(options.json);
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            results.add(judged, i, "ns", nanoseconds.median(benchmark_name(judged, i, 1)));
        }
    }
}

// How much more two threads do than one, each at its best, since other programs can only slow them down. The copy works
// in storage of its own: it shows how the machine itself scales.
void run_threads_pass(const judged_rows_t& rows, const options_t& options) {
    constexpr std::size_t NUM_CONTENDERS = 2; // the library and the copy
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < NUM_CONTENDERS; ++i) {
            for (const int threads : {1, 2}) {
                add_benchmark(judged, i, threads)
                    ->Threads(threads)
                    ->UseRealTime()
                    ->Repetitions(options.is_quick ? 5 : 31)
                    ->MinTime(options.is_quick ? 0.02 : 0.015);
            }
        }
    }
    collector_t rates([](const benchmark::BenchmarkReporter::Run& run) { return run.counters.at("rate").value; });
    rates.run(options);

    results_t results(options.json);
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < NUM_CONTENDERS; ++i) {
            results.add(judged, i, "two_threads",
                        rates.largest(benchmark_name(judged, i, 2)) / rates.largest(benchmark_name(judged, i, 1)));
        }
    }
}
