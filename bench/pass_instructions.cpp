// Instructions per call, counted by callgrind.
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "json.h"
#include "passes.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* DUMPS = "DERKIT_BENCH_DUMPS"; // names the folder of the dumps

void run_under_callgrind(const fs::path& folder, int argc, char** argv) {
    std::string valgrind = "valgrind";
    std::string tool = "--tool=callgrind";
    std::string start = "--instr-atstart=no";
    std::string quiet = "-q";
    std::string out = "--callgrind-out-file=" + (folder / "dump").string();
    std::string program = fs::read_symlink("/proc/self/exe").string();
    std::vector<char*> arguments = {valgrind.data(), tool.data(), start.data(),
                                    quiet.data(),    out.data(),  program.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    arguments.push_back(nullptr);
    execvp("valgrind", arguments.data());
}

// Starts the program again in a process of its own, whose last dump is written when it ends.
void restart(int argc, char** argv) {
    std::string folder = (fs::temp_directory_path() / "derkit_bench.XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder for callgrind");
    }
    setenv(DUMPS, folder.c_str(), 1);
    const pid_t child = fork();
    if (child == 0) {
        run_under_callgrind(folder, argc, argv);
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    fs::remove_all(folder);
    if (status != 0) {
        throw std::runtime_error("valgrind failed");
    }
}

// The sum of the newest dump, which is removed.
unsigned long long take_dump(const fs::path& folder, unsigned int number) {
    const fs::path path = folder / ("dump." + std::to_string(number));
    std::ifstream file(path);
    unsigned long long instructions = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("summary: ")) {
            instructions = std::stoull(line.substr(9));
        }
    }
    fs::remove(path);
    return instructions;
}

} // namespace

void run_instructions_pass(const std::vector<judged_row_t>& rows, const options_t& options, int argc, char** argv) {
    const char* const folder = std::getenv(DUMPS);
    if (folder == nullptr) {
        restart(argc, argv);
        return;
    }
    json_writer_t json(options.json);
    unsigned int number = 0;
    for (const judged_row_t& judged : rows) {
        for (std::size_t i = 0; i < judged.row->contenders.size(); ++i) {
            const contender_t& contender = judged.row->contenders[i];
            const std::unique_ptr<runner_t> runner = contender.make();
            runner->pass();
            CALLGRIND_START_INSTRUMENTATION;
            CALLGRIND_ZERO_STATS;
            runner->pass();
            CALLGRIND_DUMP_STATS;
            CALLGRIND_STOP_INSTRUMENTATION;
            const double calls = static_cast<double>(judged.row->expected.size());
            const double instructions = static_cast<double>(take_dump(folder, ++number)) / calls;
            json.add(judged, i, "instructions", instructions);
            std::printf("%-32s %-20s %10.0f instructions\n", judged.row->name.c_str(), contender.name.c_str(),
                        instructions);
        }
    }
}
