// Loaded into the tool: when the program has ended its work, looks for octets in all memory that it can write.
//
// MEMORY_SCAN_FOR is a list of octet strings in hexadecimal, separated by commas; all bits are inverted, so that the
// list is not found itself. MEMORY_SCAN_REPORT is the file that gets the number of places of each.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using pattern_t = std::vector<unsigned char>; // inverted

std::vector<pattern_t> read_patterns() {
    std::vector<pattern_t> patterns;
    std::istringstream list(std::getenv("MEMORY_SCAN_FOR"));
    for (std::string hex; std::getline(list, hex, ',');) {
        pattern_t pattern;
        for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
            pattern.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
        }
        patterns.push_back(pattern);
    }
    return patterns;
}

bool is_at(const unsigned char* place, const pattern_t& inverted) {
    for (std::size_t i = 0; i < inverted.size(); ++i) {
        if (place[i] != static_cast<unsigned char>(~inverted[i])) {
            return false;
        }
    }
    return true;
}

int count(const unsigned char* begin, const unsigned char* end, const pattern_t& pattern) {
    int found = 0;
    for (const unsigned char* place = begin; place + pattern.size() <= end; ++place) {
        found += is_at(place, pattern) ? 1 : 0;
    }
    return found;
}

struct scan_t {
    ~scan_t() {
        const std::vector<pattern_t> patterns = read_patterns();
        std::vector<int> found(patterns.size());
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            unsigned long begin = 0;
            unsigned long end = 0;
            char access[5] = "";
            if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, access) != 3 || std::string(access) != "rw-p") {
                continue;
            }
            for (std::size_t i = 0; i < patterns.size(); ++i) {
                found[i] += count(reinterpret_cast<const unsigned char*>(begin),
                                  reinterpret_cast<const unsigned char*>(end), patterns[i]);
            }
        }
        std::ofstream report(std::getenv("MEMORY_SCAN_REPORT"));
        for (const int number : found) {
            report << number << '\n';
        }
    }
} scan;

} // namespace
