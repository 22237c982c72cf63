// The map of the built-in table and qaroids.cfg, made again with every allocation failing in turn: loading the library
// goes on whatever the file needs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>

#include "asn/oid_map.h"
#include "platform/system_etc_dir.h"
#include "testing/failing_allocator.h"

namespace {

namespace fs = std::filesystem;

// Empty when the program starts, before there are objects.
char etc_dir[256] = "";

constexpr std::size_t NUM_BUILT_IN = 23;
constexpr std::size_t NUM_LINES = 25;

std::string line(std::size_t i) {
    return "1.2.643." + std::to_string(100 + i) + " = SHORT" + std::to_string(100 + i) + ", a long name\n";
}

std::size_t num_open_files() {
    const fs::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(fs::begin(files), fs::end(files)));
}

bool knows_line(const OIDmaps_t& map, std::size_t i) {
    const std::string name = "short" + std::to_string(100 + i);
    const oid_map_handle_t handle = {const_cast<OIDmaps_t*>(&map)};
    return oid_map_find_sn(handle, name.data(), static_cast<unsigned int>(name.size())) != nullptr;
}

std::size_t num_known_lines(const OIDmaps_t& map) {
    std::size_t known = 0;
    while (known < NUM_LINES && knows_line(map, known)) {
        ++known;
    }
    return known;
}

class oid_file_map_without_memory : public testing::Test {
  protected:
    void SetUp() override {
        std::string folder = (fs::temp_directory_path() / "oid_file_map_XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr || folder.size() + 2 > sizeof etc_dir) {
            throw std::runtime_error("cannot make " + folder);
        }
        folder_ = folder;
        (folder + "/").copy(etc_dir, sizeof etc_dir - 1);
        std::ofstream file(folder_ / "qaroids.cfg");
        for (std::size_t i = 0; i < NUM_LINES; ++i) {
            file << line(i);
        }
    }
    void TearDown() override { fs::remove_all(folder_); }

    fs::path folder_;
};

// In the built-in table a failure comes out; behind it the lines of the file that memory sufficed for stay.
TEST_F(oid_file_map_without_memory, holds_the_built_in_table_and_the_lines_before_the_failure) {
    const std::size_t open_before = num_open_files();
    std::size_t num_failures = 0;
    std::size_t num_without_table = 0;
    std::size_t least_known = NUM_LINES;
    bool done = false;
    for (std::size_t failing = 1; !done; ++failing) {
        const std::ptrdiff_t live_before = allocator.num_live;
        std::size_t num_entries = 0;
        std::size_t known = 0;
        try {
            watched_allocations_t watched(failing);
            const default_file_oid_map_t map;
            done = allocator.num_allocations < failing;
            allocator.watching = false;
            num_entries = map.entries.size();
            known = num_known_lines(map);
        } catch (const std::bad_alloc&) {
            ++num_without_table;
        }
        num_failures += done ? 0 : 1;
        ASSERT_EQ(live_before, allocator.num_live) << "allocation " << failing;
        ASSERT_EQ(open_before, num_open_files()) << "allocation " << failing;
        if (num_entries == 0) {
            EXPECT_EQ(failing, num_without_table) << "only until the table is made";
            continue;
        }
        least_known = std::min(least_known, known);
        EXPECT_LE(NUM_BUILT_IN + known, num_entries) << "allocation " << failing;
        // Of the line that failed there may be an entry that not all keys lead to.
        EXPECT_GE(NUM_BUILT_IN + known + 1, num_entries) << "allocation " << failing;
        EXPECT_EQ(done, known == NUM_LINES) << "allocation " << failing;
    }
    EXPECT_EQ(0U, least_known);
    EXPECT_LT(NUM_BUILT_IN, num_without_table);
    EXPECT_LT(num_without_table + NUM_LINES, num_failures);
    std::cout << num_failures << " allocations failed\n";
}

} // namespace

std::string systemEtcDir() {
    return etc_dir;
}
