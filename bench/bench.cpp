// The benchmark's program: judges every contender of every row, then measures them in one of several ways.
#include <cstdio>
#include <exception>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "passes.h"

namespace {

constexpr const char* USAGE =
    "Usage: derkit_bench [--pass=time|check|allocations|instructions|threads|sizes] [--filter=REGEX] [--quick]\n"
    "                    [--json=FILE] [--benchmark_...]\n";

options_t parse_options(int argc, char** argv) {
    options_t options;
    options.arguments.assign(argv, argv + argc);
    for (char* const word : options.arguments) {
        const std::string_view argument = word;
        if (argument == "--quick") {
            options.is_quick = true;
        } else if (argument.starts_with("--pass=")) {
            options.pass = argument.substr(7);
        } else if (argument.starts_with("--filter=")) {
            options.filter = argument.substr(9);
        } else if (argument.starts_with("--json=")) {
            options.json = argument.substr(7);
        } else {
            options.benchmark_arguments.push_back(word);
        }
    }
    options.arguments.push_back(nullptr);
    options.benchmark_arguments.push_back(nullptr);
    return options;
}

// Rows of growing size have no peers.
void add_sizes(registry_t& registry) {
    add_name_sizes(registry);
    add_oid_sizes(registry);
    add_container_sizes(registry);
    add_text_sizes(registry);
}

void add_rows(registry_t& registry) {
    add_name_rows(registry);
    add_oid_rows(registry);
    add_key_rows(registry);
    add_container_rows(registry);
    add_algorithm_rows(registry);
    add_text_rows(registry);
    for (const peer_t& peer : peers()) {
        for (const peer_contender_t& contender : peer.contenders) {
            for (row_t* const row : registry.find(contender.rows)) {
                (row->*contender.add)(peer.name);
            }
        }
    }
}

// A result may be so wrong that it cannot even be compared.
std::string find_mismatch(const contender_t& contender) {
    try {
        return contender.make()->find_mismatch();
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

judged_rows_t judge(const registry_t& registry, const std::string& filter) {
    const std::regex wanted(filter, std::regex::icase);
    judged_rows_t rows;
    for (const row_t& row : registry.rows()) {
        if (!std::regex_search(row.name, wanted)) {
            continue;
        }
        judged_row_t& judged = rows.emplace_back();
        judged.row = &row;
        for (const contender_t& contender : row.contenders) {
            judged.mismatches.push_back(find_mismatch(contender));
        }
        if (!judged.is_faithful(0)) {
            throw std::runtime_error("the library's own result is wrong: " + row.name + ": " + judged.mismatches[0]);
        }
    }
    return rows;
}

// Prints which contenders do each row faithfully, and what the others do.
void run_check_pass(const judged_rows_t& rows, const options_t& options) {
    results_t results(options.json);
    for (const peer_t& peer : peers()) {
        if (!peer.version.empty()) {
            results.add_peer(peer);
        }
    }
    for (const judged_row_t& judged : rows) {
        std::printf("== %s\n", judged.row->name.c_str());
        for (std::size_t i = 0; i < judged.mismatches.size(); ++i) {
            const contender_t& contender = judged.row->contenders[i];
            if (!contender.is_limit) {
                std::printf("%s: %s\n", contender.name.c_str(),
                            judged.is_faithful(i) ? "faithful" : judged.mismatches[i].c_str());
            }
        }
    }
}

int run(const options_t& options) {
    const std::map<std::string, void (*)(const judged_rows_t&, const options_t&)> passes = {
        {"check", run_check_pass},
        {"time", run_time_pass},
        {"sizes", run_time_pass},
        {"threads", run_threads_pass},
        {"allocations", run_allocations_pass},
        {"instructions", run_instructions_pass},
    };
    const auto pass = passes.find(options.pass);
    if (pass == passes.end()) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    registry_t registry;
    if (options.pass == "sizes") {
        add_sizes(registry);
    } else {
        add_rows(registry);
    }
    pass->second(judge(registry, options.filter), options);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(parse_options(argc, argv));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "derkit_bench: %s\n", failure.what());
        return 1;
    }
}
