// The built-in table followed by the lines of qaroids.cfg: the ready-made map, which is made when this program starts, and
// maps that each case makes in the same way.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "asn/oid_map.h"
#include "platform/system_etc_dir.h"
#include "support/expect.h"
#include "support/oid_maps.h"
#include "testing/failing_allocator.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

// What systemEtcDir() does and returns. They need no constructor: the ready-made map calls it before any runs.
void (*on_lookup)() = nullptr;
const char* etc_dir = OID_FILE_MAP_ETC_DIR;
int num_lookups = 0;

const int NUM_LOOKUPS_AT_START = num_lookups;

constexpr std::size_t NUM_BUILT_IN = 23;
const lines_t NOTHING = {};
const char* const COMMON_NAME = "55 04 03|2.5.4.3|CN|commonName";

void write_whole(const fs::path& path, std::string_view content) {
    std::ofstream out(path, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

void limit_descriptors(rlim_t limit) {
    rlimit limits = {};
    getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = std::min(limit, limits.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limits);
}

class oid_file_map : public testing::Test {
  protected:
    // The configuration directory is a folder inside a temporary one that everybody can read.
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "oid_file_map_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr || chmod(name.c_str(), 0755) != 0) {
            throw std::runtime_error("cannot make " + name);
        }
        folder_ = name;
        fs::create_directory(folder_ / "etc");
        use_directory(folder_.string() + "/etc/");
        alarm(120); // ends what hangs on the slowest machine too
    }
    void TearDown() override {
        alarm(0);
        on_lookup = nullptr;
        fs::remove_all(folder_);
    }

    fs::path cfg() const { return folder_ / "etc/qaroids.cfg"; }

    void use_directory(std::string text) {
        directory_ = std::move(text);
        etc_dir = directory_.c_str();
    }

    // What the file adds to the built-in table in a new map.
    static lines_t added_lines() {
        num_lookups = 0;
        const default_file_oid_map_t map;
        limit_descriptors(RLIM_INFINITY);
        EXPECT_EQ(num_lookups, 1);
        lines_t lines = show_all(map.entries);
        const auto added = lines.begin() + std::min<std::ptrdiff_t>(NUM_BUILT_IN, std::ssize(lines));
        EXPECT_EQ(lines_t(lines.begin(), added), show_all(OID_MAP_HANDLE_DEFAULT.map->entries));
        return lines_t(added, lines.end());
    }

    void expect_added(std::string_view content, const lines_t& lines) const {
        write_whole(cfg(), content);
        EXPECT_EQ(added_lines(), lines) << content;
    }

    fs::path folder_;
    std::string directory_;
};

TEST(oid_file_map_at_start, holds_the_lines_of_the_file_and_the_other_map_does_not) {
    EXPECT_EQ(NUM_LOOKUPS_AT_START, 1) << "the directory is asked for once";
    EXPECT_EQ(OID_MAP_HANDLE_DEFAULT.map->entries.size(), NUM_BUILT_IN);
    EXPECT_EQ(OID_MAP_HANDLE_DEFAULT_FILE.map->entries.size(), NUM_BUILT_IN + 1);
    const std::string_view line = "2A 85 03 64 01|1.2.643.100.1|OGRN|";
    expect_found(OID_MAP_HANDLE_DEFAULT_FILE, line, {"sn OGRN", "sn ogrn", "str 1.2.643.100.1", "asn 2A 85 03 64 01"});
    expect_found(OID_MAP_HANDLE_DEFAULT, "none", {"sn OGRN", "sn ogrn", "str 1.2.643.100.1", "asn 2A 85 03 64 01"});
    expect_found(OID_MAP_HANDLE_DEFAULT_FILE, COMMON_NAME, {"sn cn"});
}

// ---- the file ----

TEST_F(oid_file_map, what_is_no_readable_file_adds_nothing) {
    const auto link_to = [&](const char* target) { fs::create_symlink(target, cfg()); };
    const auto on_lookup_with_a_file = [&](void (*action)()) {
        write_whole(cfg(), "1.2.3 = FOO\n");
        on_lookup = action;
    };
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"no file", [] {}},
        {"an empty file", [&] { write_whole(cfg(), ""); }},
        {"a directory", [&] { fs::create_directory(cfg()); }},
        {"a pipe, which is not waited for", [&] { ASSERT_EQ(mkfifo(cfg().c_str(), 0644), 0); }},
        {"an empty device", [&] { link_to("/dev/null"); }},
        {"a device, which is not read for ever", [&] { link_to("/dev/zero"); }},
        {"a link to nowhere", [&] { link_to("nowhere.cfg"); }},
        {"a link to itself", [&] { link_to("qaroids.cfg"); }},
        {"no descriptor left", [&] { on_lookup_with_a_file([] { limit_descriptors(0); }); }},
        {"an exception", [&] { on_lookup_with_a_file([] { throw std::runtime_error("no directory"); }); }},
        {"no memory", [&] { on_lookup_with_a_file([] { throw std::bad_alloc(); }); }},
        {"another exception", [&] { on_lookup_with_a_file([] { throw 1; }); }},
        {"no directory", [&] { use_directory((folder_ / "nowhere/").string()); }},
    };
    for (const auto& [name, prepare] : cases) {
        SCOPED_TRACE(name);
        fs::remove(cfg());
        on_lookup = nullptr;
        prepare();
        EXPECT_EQ(added_lines(), NOTHING);
    }
}

constexpr int CANNOT_DROP_ROOT = 77;

// In a process of its own: the number of lines that the file adds for a user who is not root.
int num_lines_for_nobody() {
    constexpr unsigned int NOBODY = 65534;
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(NOBODY) != 0 || setuid(NOBODY) != 0)) {
            _exit(CANNOT_DROP_ROOT);
        }
        _exit(static_cast<int>(default_file_oid_map_t().entries.size() - NUM_BUILT_IN));
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(oid_file_map, unreadable_file_adds_nothing) {
    write_whole(cfg(), "1.2.3 = FOO\n");
    const int num_lines = num_lines_for_nobody();
    if (num_lines == CANNOT_DROP_ROOT) {
        GTEST_SKIP() << "root reads every file and cannot become another user here";
    }
    if (num_lines == 0) {
        GTEST_SKIP() << "nobody cannot reach " << folder_ << ", readable or not";
    }
    ASSERT_EQ(num_lines, 1);
    ASSERT_EQ(chmod(cfg().c_str(), 0), 0);
    EXPECT_EQ(num_lines_for_nobody(), 0);
}

TEST_F(oid_file_map, symbolic_link_is_followed) {
    write_whole(folder_ / "etc/elsewhere.cfg", "1.2.3 = FOO\n");
    fs::create_symlink("elsewhere.cfg", cfg());
    EXPECT_EQ(added_lines(), (lines_t{"2A 03|1.2.3|FOO|"}));
}

TEST_F(oid_file_map, path_is_the_directory_and_the_file_name_and_nothing_between_them) {
    write_whole(folder_ / "etcqaroids.cfg", "1.2.3 = BESIDE\n");
    write_whole(folder_ / "qaroids.cfg", "1.2.3 = HERE\n");
    write_whole(folder_ / "etc/qaroids.cfg.bak", "1.2.3 = OTHER\n");
    write_whole(folder_ / "etc/QAROIDS.CFG", "1.2.3 = OTHER\n");
    EXPECT_EQ(added_lines(), NOTHING);
    expect_added("1.2.3 = INSIDE\n", {"2A 03|1.2.3|INSIDE|"});
    use_directory((folder_ / "etc").string());
    EXPECT_EQ(added_lines(), (lines_t{"2A 03|1.2.3|BESIDE|"}));
    const fs::path before = fs::current_path();
    fs::current_path(folder_);
    use_directory("");
    EXPECT_EQ(added_lines(), (lines_t{"2A 03|1.2.3|HERE|"}));
    fs::current_path(before);
}

TEST_F(oid_file_map, file_of_10_megabytes_loads_and_all_of_it_is_found) {
    std::string text;
    std::size_t num_lines = 0;
    for (; text.size() < 10 * 1024 * 1024; ++num_lines) {
        const std::string number = std::to_string(num_lines);
        text += "1.2.3." + number + " = NAME" + number + ", " + std::string(1000, 'x') + "\n";
    }
    write_whole(cfg(), text);
    default_file_oid_map_t map;
    ASSERT_EQ(map.entries.size(), NUM_BUILT_IN + num_lines);
    auto entry = std::next(map.entries.begin(), NUM_BUILT_IN);
    for (std::size_t i = 0; i < num_lines; ++i, ++entry) {
        const std::string number = std::to_string(i);
        ASSERT_EQ(find_str({&map}, "1.2.3." + number), &*entry);
        ASSERT_EQ(find_sn({&map}, "name" + number), &*entry);
        ASSERT_EQ(find_asn({&map}, as_chars(entry->oid_asn, entry->oid_asn_size)), &*entry);
        ASSERT_EQ(entry->oid_ln, std::string(1000, 'x'));
    }
}

// ---- its lines ----

TEST_F(oid_file_map, lines_have_any_line_end_and_may_be_odd) {
    const lines_t two_lines = {"2A 01|1.2.1|A|first name", "2A 02|1.2.2|B|second name"};
    for (const std::string_view content :
         {"1.2.1 = A, first name\n1.2.2 = B, second name\n"sv, "1.2.1 = A, first name\r1.2.2 = B, second name\r"sv,
          "1.2.1 = A, first name\r\n1.2.2 = B, second name\r\n"sv,
          "\r\r\n1.2.1 = A, first name\n\r\n1.2.2 = B, second name\r"sv,
          "1.2.1 = A, first name\n1.2.2 = B, second name"sv,
          "\0\0\0\n1.2.1 = A, first name\n\0\n1.2.2 = B, second name"sv,
          "1.2.1 = A, first name\n\x1A\n1.2.2 = B, second name"sv}) {
        expect_added(content, two_lines);
    }
    for (const char* const content : {"1", "\n", "# a\n; b\nabc = X\n"}) {
        expect_added(content, {});
    }
    expect_added("1.2.1 = A, first name\n1.2.2 ", {two_lines[0]});
}

TEST_F(oid_file_map, earlier_entry_wins_by_DER_text_and_short_name) {
    const auto map_with = [&](const char* content) {
        write_whole(cfg(), content);
        return std::make_unique<default_file_oid_map_t>();
    };
    auto map = map_with("2.5.4.03 = NAME, ours\n");
    expect_found({map.get()}, COMMON_NAME, {"asn 55 04 03", "str 2.5.4.3", "sn CN"});
    expect_found({map.get()}, "55 04 03|2.5.4.03|NAME|ours", {"str 2.5.4.03", "sn NAME"});
    map = map_with("2.5.4.3 = NAME, ours\n");
    expect_found({map.get()}, COMMON_NAME, {"asn 55 04 03", "str 2.5.4.3", "sn CN"});
    expect_found({map.get()}, "55 04 03|2.5.4.3|NAME|ours", {"sn NAME"});
    map = map_with("1.2.3 = cn, ours\n");
    expect_found({map.get()}, COMMON_NAME, {"sn cn"});
    expect_found({map.get()}, "2A 03|1.2.3|CN|ours", {"asn 2A 03", "str 1.2.3"});
    map = map_with("1.2.3 = FOO, one\n1.2.3 = BAR, two\n1.2.4 = FOO, three\n");
    expect_found({map.get()}, "2A 03|1.2.3|FOO|one", {"asn 2A 03", "sn FOO"});
    expect_found({map.get()}, "2A 03|1.2.3|BAR|two", {"sn BAR"});
    expect_found({map.get()}, "2A 04|1.2.4|FOO|three", {"asn 2A 04"});
}

// ---- without memory ----

constexpr std::size_t NUM_LINES = 25;

std::string short_name(std::size_t i) {
    return "SHORT" + std::to_string(100 + i);
}

std::size_t num_known_lines(default_file_oid_map_t& map) {
    std::size_t known = 0;
    while (known < NUM_LINES && find_sn({&map}, short_name(known)) != nullptr) {
        ++known;
    }
    return known;
}

std::ptrdiff_t num_open_files() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

// A failure in the built-in table is an exception; after it the map keeps the lines of the file that memory sufficed for.
TEST_F(oid_file_map, without_memory_holds_the_built_in_table_and_the_lines_before_the_failure) {
    std::string text;
    for (std::size_t i = 0; i < NUM_LINES; ++i) {
        text += "1.2.643." + std::to_string(100 + i) + " = " + short_name(i) + ", a long name\n";
    }
    write_whole(cfg(), text);
    const std::ptrdiff_t open_before = num_open_files();
    std::size_t num_without_table = 0;
    std::size_t least_known = NUM_LINES;
    std::size_t failing = 0;
    for (bool done = false; !done;) {
        SCOPED_TRACE("allocation " + std::to_string(++failing));
        const std::ptrdiff_t live_before = allocator.num_live;
        try {
            watched_allocations_t watched(failing);
            default_file_oid_map_t map;
            done = allocator.num_allocations < failing;
            allocator.watching = false;
            const std::size_t known = num_known_lines(map);
            least_known = std::min(least_known, known);
            EXPECT_EQ(done, known == NUM_LINES);
            EXPECT_LE(NUM_BUILT_IN + known, map.entries.size());
            // The line that failed may have an entry that not all keys find.
            EXPECT_GE(NUM_BUILT_IN + known + 1, map.entries.size());
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(++num_without_table, failing) << "only until the table is made";
        }
        ASSERT_EQ(live_before, allocator.num_live);
        ASSERT_EQ(open_before, num_open_files());
    }
    EXPECT_EQ(0U, least_known);
    EXPECT_LT(NUM_BUILT_IN, num_without_table);
    EXPECT_LT(num_without_table + NUM_LINES, failing - 1);
}

} // namespace

std::string systemEtcDir() {
    ++num_lookups;
    if (on_lookup != nullptr) {
        on_lookup();
    }
    return etc_dir;
}
