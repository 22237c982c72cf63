// The ways to measure, each over the rows that were chosen.
#ifndef DERKIT_BENCH_PASSES_H
#define DERKIT_BENCH_PASSES_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "row.h"

struct options_t {
    std::string pass = "time";
    std::string filter;
    std::string json; // file to write; empty: none
    bool is_quick = false;
    // Each starts with the program and ends with a null pointer.
    std::vector<char*> arguments;           // all
    std::vector<char*> benchmark_arguments; // those for Google Benchmark
};

struct judged_row_t {
    const row_t* row = nullptr;
    // By contender, the library first: what is wrong with its results; empty if they are right.
    std::vector<std::string> mismatches;

    bool is_faithful(std::size_t contender) const { return mismatches[contender].empty(); }
    double num_calls() const { return static_cast<double>(visiting_order(row->expected.size()).size()); }
};
using judged_rows_t = std::vector<judged_row_t>;

// Prints measurements, and writes them for scripts: one JSON object a line, so that files can be concatenated.
class results_t {
  public:
    // Without a file name they are only printed.
    explicit results_t(const std::string& json);

    void add_peer(const peer_t& peer);
    void add(const judged_row_t& judged, std::size_t contender, const char* what, double value);

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> json_;
};

void run_time_pass(const judged_rows_t& rows, const options_t& options);
void run_threads_pass(const judged_rows_t& rows, const options_t& options);
void run_allocations_pass(const judged_rows_t& rows, const options_t& options);
void run_instructions_pass(const judged_rows_t& rows, const options_t& options);

#endif
