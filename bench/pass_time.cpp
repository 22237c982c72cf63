// Times: medians of repetitions that are spread over the whole run in random order.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "json.h"
#include "measure.h"
#include "passes.h"

namespace {

std::string benchmark_name(const judged_row_t& judged, std::size_t contender) {
    return judged.row->name + "/" + judged.row->contenders[contender].name;
}

void register_contender(const judged_row_t& judged, std::size_t index, const options_t& options) {
    const contender_t& contender = judged.row->contenders[index];
    const double calls = static_cast<double>(judged.row->expected.size());
    const auto time = [&contender, calls](benchmark::State& state) {
        const std::unique_ptr<runner_t> runner = contender.make();
        runner->pass();
        for (auto _ : state) {
            runner->pass();
        }
        state.counters["calls"] = calls;
    };
    benchmark::internal::Benchmark* const registered =
        benchmark::RegisterBenchmark(benchmark_name(judged, index).c_str(), time);
    registered->Repetitions(options.is_quick ? 5 : 15)->MinTime(options.is_quick ? 0.01 : 0.05);
}

// The fastest contender that is neither the library nor a limit; the number of contenders when there is none.
template <typename IS_ELIGIBLE> std::size_t find_fastest(const std::vector<double>& ns, IS_ELIGIBLE is_eligible) {
    std::size_t fastest = ns.size();
    for (std::size_t i = 1; i < ns.size(); ++i) {
        if (is_eligible(i) && (fastest == ns.size() || ns[i] < ns[fastest])) {
            fastest = i;
        }
    }
    return fastest;
}

struct verdict_t {
    std::size_t fastest;
    std::size_t fastest_faithful;
    std::size_t against;
};

verdict_t judge_times(const judged_row_t& judged, const std::vector<double>& ns) {
    const auto& contenders = judged.row->contenders;
    verdict_t verdict;
    verdict.fastest = find_fastest(ns, [&](std::size_t i) { return !contenders[i].is_limit; });
    verdict.fastest_faithful =
        find_fastest(ns, [&](std::size_t i) { return !contenders[i].is_limit && judged.is_faithful(i); });
    const std::string& against = judged.row->target.against;
    verdict.against = against == FASTEST ? verdict.fastest
                      : against == FASTEST_FAITHFUL
                          ? verdict.fastest_faithful
                          : find_fastest(ns, [&](std::size_t i) { return contenders[i].name == against; });
    return verdict;
}

std::string cell(const judged_row_t& judged, const std::vector<double>& ns, std::size_t contender) {
    if (contender == ns.size()) {
        return "-";
    }
    char text[100];
    std::snprintf(text, sizeof text, "%.1f %s%s", ns[contender], judged.row->contenders[contender].name.c_str(),
                  judged.is_faithful(contender) ? "" : " (!)");
    return text;
}

void print_row(const judged_row_t& judged, const std::vector<double>& ns) {
    const verdict_t verdict = judge_times(judged, ns);
    std::printf("| %-30s | %9.1f | %-26s | %-26s |", judged.row->name.c_str(), ns[0],
                cell(judged, ns, verdict.fastest_faithful).c_str(), cell(judged, ns, verdict.fastest).c_str());
    const double target = judged.row->target.at_most;
    if (verdict.against == ns.size()) {
        std::printf("     - |");
    } else {
        std::printf(" %5.3f |", ns[0] / ns[verdict.against]);
    }
    if (target == 0) {
        std::printf("          |");
    } else {
        const bool is_met = verdict.against != ns.size() && ns[0] / ns[verdict.against] <= target;
        std::printf(" %4.2f %s |", target, is_met ? "met " : "MISS");
    }
    for (std::size_t i = 1; i < ns.size(); ++i) {
        if (judged.row->contenders[i].is_limit) {
            std::printf(" %s %.1f", judged.row->contenders[i].name.c_str(), ns[i]);
        }
    }
    std::printf(" |\n");
}

} // namespace

void run_time_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv) {
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            register_contender(judged, i, options);
        }
    }
    collector_t nanoseconds([](const benchmark::BenchmarkReporter::Run& run) {
        return run.cpu_accumulated_time / static_cast<double>(run.iterations) / run.counters.at("calls").value * 1e9;
    });
    nanoseconds.run(argc, argv);

    std::printf("| %-30s | %9s | %-26s | %-26s | ratio | target    | limits |\n", "row", "derkit ns",
                "fastest faithful peer", "fastest peer");
    json_writer_t json(options.json);
    for (const judged_row_t& judged : rows) {
        std::vector<double> ns;
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            ns.push_back(nanoseconds.median(benchmark_name(judged, i)));
            json.add(judged, i, "ns", ns.back());
        }
        print_row(judged, ns);
    }
}
