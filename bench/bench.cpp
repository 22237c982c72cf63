// The benchmark's program: judges every contender of every row, then measures them in one of several ways.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "passes.h"
#include "row.h"

namespace {

constexpr const char* USAGE =
    "Usage: derkit_bench [--pass=time|check|allocations|instructions|threads|sizes] [--filter=REGEX] [--quick]\n"
    "                    [--json=FILE] [--benchmark_...]\n";

// Takes the options of this program out of argv and leaves those of Google Benchmark.
options_t take_options(int& argc, char** argv) {
    options_t options;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--quick") {
            options.is_quick = true;
        } else if (argument.starts_with("--pass=")) {
            options.pass = argument.substr(7);
        } else if (argument.starts_with("--filter=")) {
            options.filter = argument.substr(9);
        } else if (argument.starts_with("--json=")) {
            options.json = argument.substr(7);
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    return options;
}

// The passes that restart the program need its arguments as they came.
std::vector<char*> copy_arguments(int argc, char** argv) {
    std::vector<char*> copy(argv, argv + argc);
    copy.push_back(nullptr);
    return copy;
}

// One row for each size; no peers.
void fill_with_sizes(registry_t& registry) {
    add_name_sizes(registry);
    add_oid_sizes(registry);
    add_container_sizes(registry);
    add_text_sizes(registry);
}

void fill(registry_t& registry) {
    add_name_rows(registry);
    add_oid_rows(registry);
    add_key_rows(registry);
    add_container_rows(registry);
    add_algorithm_rows(registry);
    add_text_rows(registry);
    for (const auto add : peer_registration_t::all()) {
        add(registry);
    }
}

// A result may be so wrong that it cannot even be looked at.
std::string find_mismatch(const contender_t& contender) {
    try {
        return contender.make()->find_mismatch();
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

std::vector<judged_row_t> judge(registry_t& registry, const std::string& filter) {
    const std::regex wanted(filter, std::regex::icase);
    std::vector<judged_row_t> rows;
    for (row_t& row : registry.rows()) {
        if (!std::regex_search(row.name, wanted)) {
            continue;
        }
        judged_row_t& judged = rows.emplace_back();
        judged.row = &row;
        for (const contender_t& contender : row.contenders) {
            judged.mismatches.push_back(find_mismatch(contender));
        }
    }
    return rows;
}

int run(int argc, char** argv) {
    std::vector<char*> arguments = copy_arguments(argc, argv);
    const options_t options = take_options(argc, argv);
    registry_t& registry = registry_t::instance();
    if (options.pass == "sizes") {
        fill_with_sizes(registry);
    } else {
        fill(registry);
    }
    const std::vector<judged_row_t> rows = judge(registry, options.filter);
    for (const judged_row_t& judged : rows) {
        if (!judged.is_faithful(0)) {
            std::fprintf(stderr, "derkit_bench: the library's own result is wrong: %s: %s\n", judged.row->name.c_str(),
                         judged.mismatches[0].c_str());
            return 1;
        }
    }
    const std::map<std::string, void (*)(const std::vector<judged_row_t>&, const options_t&, int, char**)> passes = {
        {"time", run_time_pass},
        {"check", run_check_pass},
        {"allocations", run_allocations_pass},
        {"instructions", run_instructions_pass},
        {"threads", run_threads_pass},
        {"sizes", run_time_pass},
    };
    const auto pass = passes.find(options.pass);
    if (pass == passes.end()) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    const bool restarts = options.pass == "allocations" || options.pass == "instructions";
    if (restarts) {
        pass->second(rows, options, static_cast<int>(arguments.size()) - 1, arguments.data());
    } else {
        pass->second(rows, options, argc, argv);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "derkit_bench: %s\n", failure.what());
        return 1;
    }
}
