// Files that the tests read.
#ifndef DERKIT_TESTS_GOST_TEST_DATA_H
#define DERKIT_TESTS_GOST_TEST_DATA_H

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "testing/bytes.h"

inline std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot be read: " + path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

// A file of tests/data.
inline std::string test_data(const std::string& name) {
    return read_file(DERKIT_TEST_DATA "/" + name);
}

// An example of a standard from the folder of the environment's DERKIT_TEST_CORPUS; nothing where it has none.
inline std::optional<std::string> standard_example(const std::string& name) {
    const char* const corpus = std::getenv("DERKIT_TEST_CORPUS");
    const std::string path = std::string(corpus != nullptr ? corpus : "") + "/gost-containers/" + name;
    return corpus != nullptr && std::ifstream(path) ? std::optional(read_file(path)) : std::nullopt;
}

// Lines "TEXT | HEX" of a file of tests/gost/data; those that begin with # are comments.
inline std::vector<std::pair<std::string, std::string>> read_vectors(const std::string& name) {
    std::vector<std::pair<std::string, std::string>> vectors;
    std::ifstream file(DERKIT_TEST_DATA "/../gost/data/" + name);
    for (std::string line; std::getline(file, line);) {
        const std::size_t bar = line.find(" | ");
        if (!line.starts_with('#') && bar != std::string::npos) {
            vectors.emplace_back(line.substr(0, bar), from_hex(line.substr(bar + 3)));
        }
    }
    if (vectors.empty()) {
        throw std::runtime_error("no vectors: " + name);
    }
    return vectors;
}

#endif
