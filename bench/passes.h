// The ways to measure, each over the rows that were chosen.
#ifndef DERKIT_BENCH_PASSES_H
#define DERKIT_BENCH_PASSES_H

#include <string>
#include <vector>

#include "row.h"

struct options_t {
    std::string pass = "time";
    std::string filter;
    std::string json; // file to write; empty: none
    bool is_quick = false;
};

struct judged_row_t {
    const row_t* row = nullptr;
    // By contender, the library first: what is wrong with its results; empty when they are right.
    std::vector<std::string> mismatches;

    bool is_faithful(std::size_t contender) const { return mismatches[contender].empty(); }
};

void run_check_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv);
void run_allocations_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv);
void run_instructions_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv);
void run_threads_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv);
void run_time_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv);

#endif
