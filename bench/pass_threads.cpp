// How much more two threads get done than one, each at its best: what else the machine does can only take away. The copy
// does nothing but compute in its own storage: it tells how much more the machine itself can do.
#include <cstdio>
#include <memory>
#include <string>

#include "json.h"
#include "measure.h"
#include "passes.h"

namespace {

// Calls a second of all threads together.
void add_benchmark(const std::string& name, const contender_t& contender, double calls, int threads,
                   const options_t& options) {
    const auto run = [&contender, calls](benchmark::State& state) {
        const std::unique_ptr<runner_t> runner = contender.make();
        runner->pass();
        for (auto _ : state) {
            runner->pass();
        }
        state.counters["rate"] =
            benchmark::Counter(calls * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Threads(threads)
        ->UseRealTime()
        ->Repetitions(options.is_quick ? 5 : 31)
        ->MinTime(options.is_quick ? 0.02 : 0.015);
}

} // namespace

void run_threads_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv) {
    constexpr std::size_t NUM_CONTENDERS = 2; // the library and the copy
    const auto name = [&rows](std::size_t row, std::size_t contender, int threads) {
        return rows[row].row->name + "/" + rows[row].row->contenders[contender].name + "/" + std::to_string(threads);
    };
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const double calls = static_cast<double>(rows[row].row->expected.size());
        for (std::size_t i = 0; i < NUM_CONTENDERS; ++i) {
            add_benchmark(name(row, i, 1), rows[row].row->contenders[i], calls, 1, options);
            add_benchmark(name(row, i, 2), rows[row].row->contenders[i], calls, 2, options);
        }
    }
    collector_t rates([](const benchmark::BenchmarkReporter::Run& run) { return run.counters.at("rate").value; });
    rates.run(argc, argv);

    json_writer_t json(options.json);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::printf("%-32s", rows[row].row->name.c_str());
        for (std::size_t i = 0; i < NUM_CONTENDERS; ++i) {
            const double ratio = rates.largest(name(row, i, 2)) / rates.largest(name(row, i, 1));
            json.add(rows[row], i, "two_threads", ratio);
            std::printf(" %s %.2f", rows[row].row->contenders[i].name.c_str(), ratio);
        }
        std::printf("\n");
    }
}
