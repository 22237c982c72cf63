// Runs Google Benchmark and keeps what it reports.
#ifndef DERKIT_BENCH_MEASURE_H
#define DERKIT_BENCH_MEASURE_H

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

class collector_t final : public benchmark::BenchmarkReporter {
  public:
    // What counts of a repetition.
    explicit collector_t(std::function<double(const Run&)> value) : value_(std::move(value)) {}

    // All registered benchmarks, their repetitions in random order all over the run.
    void run(int argc, char** argv);

    double median(const std::string& benchmark) const;
    double largest(const std::string& benchmark) const;

    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;

  private:
    std::function<double(const Run&)> value_;
    std::map<std::string, std::vector<double>> samples_;
};

#endif
