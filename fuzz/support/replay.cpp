// A main for targets built without a fuzzing engine: runs the named files, and all files in the named folders.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// Prints the name first, so that it is above a sanitizer's report.
void run(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    file.exceptions(std::ios::badbit);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::fprintf(stderr, "%s\n", path.c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::vector<std::filesystem::path> files_of(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) {
        return {path};
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    return files;
}

} // namespace

int main(int argc, char** argv) {
    std::size_t num_inputs = 0;
    try {
        for (int i = 1; i < argc; ++i) {
            for (const std::filesystem::path& file : files_of(argv[i])) {
                run(file);
                ++num_inputs;
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    std::fprintf(stderr, "%zu inputs\n", num_inputs);
    return num_inputs == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
