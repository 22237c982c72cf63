// The ready-made map that holds the built-in table and, behind it, the lines of qaroids.cfg.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "probe_etc_dir.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

using lines_t = std::vector<std::string>;
using environment_t = std::map<std::string, std::string>;

// Long enough for the slowest machine: it only ends a probe that hangs.
constexpr unsigned int HANG_SECONDS = 120;
constexpr std::size_t NUM_BUILT_IN = 23;
const char* const CFG = "qaroids.cfg";

std::string read_whole(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void write_whole(const fs::path& path, std::string_view content) {
    std::ofstream out(path, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

// A folder that is gone after the test, open to everybody: a probe may have become another user.
class temporary_folder_t {
  public:
    temporary_folder_t() {
        std::string name = (fs::temp_directory_path() / "oid_file_map_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr || chmod(name.c_str(), 0755) != 0) {
            throw std::runtime_error("cannot make " + name);
        }
        path_ = name;
    }
    ~temporary_folder_t() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    temporary_folder_t(const temporary_folder_t&) = delete;
    temporary_folder_t& operator=(const temporary_folder_t&) = delete;

    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

// What one probe said and how it ended.
struct report_t {
    int wait_status = -1;
    std::vector<lines_t> answers;

    bool exited_with(int status) const { return WIFEXITED(wait_status) && WEXITSTATUS(wait_status) == status; }
};

std::string show_end(int wait_status) {
    if (WIFSIGNALED(wait_status)) {
        return std::string("ended by signal ") + strsignal(WTERMSIG(wait_status));
    }
    return "exit status " + std::to_string(WEXITSTATUS(wait_status));
}

std::vector<lines_t> split_answers(const std::string& output) {
    std::vector<lines_t> answers;
    lines_t answer;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        if (line != ".") {
            answer.push_back(line);
            continue;
        }
        answers.push_back(answer);
        answer.clear();
    }
    return answers;
}

// Descriptors, not streams: what this process has not flushed yet is none of the probe's business.
bool redirect(int descriptor, const fs::path& path, int flags) {
    const int opened = open(path.c_str(), flags, 0644);
    return opened >= 0 && dup2(opened, descriptor) == descriptor;
}

[[noreturn]] void become_probe(const fs::path& folder, const environment_t& environment) {
    for (const auto& [name, value] : environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    if (redirect(STDIN_FILENO, folder / "questions", O_RDONLY) &&
        redirect(STDOUT_FILENO, folder / "answers", O_WRONLY | O_CREAT | O_TRUNC) && chdir(folder.c_str()) == 0) {
        alarm(HANG_SECONDS);
        execl(OID_FILE_MAP_PROBE, OID_FILE_MAP_PROBE, static_cast<char*>(nullptr));
    }
    _exit(126);
}

class oid_file_map : public testing::Test {
  protected:
    // The configuration directory: a folder of its own in the temporary one.
    fs::path etc() const { return folder_.path() / "etc"; }
    fs::path cfg() const { return etc() / CFG; }

    void SetUp() override { fs::create_directory(etc()); }

    // Starts a probe in the temporary folder and puts the questions to it.
    report_t ask(const lines_t& questions, const environment_t& environment) {
        std::string text;
        for (const std::string& question : questions) {
            text += question + "\n";
        }
        write_whole(folder_.path() / "questions", text);
        report_t report;
        const pid_t probe = fork();
        if (probe == 0) {
            become_probe(folder_.path(), environment);
        }
        if (probe < 0 || waitpid(probe, &report.wait_status, 0) != probe) {
            throw std::runtime_error("cannot run the probe");
        }
        report.answers = split_answers(read_whole(folder_.path() / "answers"));
        return report;
    }

    report_t ask(const lines_t& questions) { return ask(questions, {{PROBE_ETC_DIR, etc().string() + "/"}}); }

    // The lines that the file added, on a probe that must end well. What stands before them must be the built-in
    // table, and the map without the file must hold that alone.
    lines_t added_lines(const environment_t& environment) {
        const report_t report = ask({"default list", "file list", "calls"}, environment);
        EXPECT_TRUE(report.exited_with(0)) << show_end(report.wait_status);
        if (report.answers.size() != 3) {
            ADD_FAILURE() << "the probe gave " << report.answers.size() << " answers";
            return {"no answer"};
        }
        const lines_t& built_in = report.answers[0];
        lines_t all = report.answers[1];
        EXPECT_EQ(built_in.size(), NUM_BUILT_IN);
        EXPECT_EQ(built_in.front(), "550403|2.5.4.3|CN|commonName");
        EXPECT_EQ(built_in.back(), "2B060104012A020B0201|1.3.6.1.4.1.42.2.11.2.1|SUNIP|ipAddress");
        EXPECT_EQ(report.answers[2], lines_t{"1"}) << "the directory is asked for once";
        if (all.size() < built_in.size()) {
            ADD_FAILURE() << "only " << all.size() << " entries";
            return {"no answer"};
        }
        const auto added = all.begin() + static_cast<lines_t::difference_type>(built_in.size());
        EXPECT_EQ(lines_t(all.begin(), added), built_in);
        return lines_t(added, all.end());
    }

    lines_t added_lines() { return added_lines({{PROBE_ETC_DIR, etc().string() + "/"}}); }

    // Asks one thing a line and compares with one line of answer.
    void expect_answers(const std::vector<std::pair<std::string, std::string>>& expected) {
        lines_t questions;
        for (const auto& [question, answer] : expected) {
            questions.push_back(question);
        }
        const report_t report = ask(questions);
        EXPECT_TRUE(report.exited_with(0)) << show_end(report.wait_status);
        ASSERT_EQ(report.answers.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(report.answers[i], lines_t{expected[i].second}) << expected[i].first;
        }
    }

    temporary_folder_t folder_;
};

const lines_t NOTHING;

// ---- what stands at the path ----

TEST_F(oid_file_map, file_adds_its_lines_behind_the_built_in_ones) {
    write_whole(cfg(), "# ours\n1.2.643.3.131.1.1 = INN, taxpayer\n1.2.643.100.1 = ogrn\n\n3.1 = BAD\n");
    EXPECT_EQ(added_lines(),
              (lines_t{"2A85030381030101|1.2.643.3.131.1.1|INN|taxpayer", "2A85036401|1.2.643.100.1|OGRN|"}));
    expect_answers({{"file sn inn", "2A85030381030101|1.2.643.3.131.1.1|INN|taxpayer"},
                    {"file str 1.2.643.100.1", "2A85036401|1.2.643.100.1|OGRN|"},
                    {"file asn 2A85036401", "2A85036401|1.2.643.100.1|OGRN|"},
                    {"default sn inn", "none"},
                    {"default str 1.2.643.100.1", "none"},
                    {"default asn 2A85036401", "none"}});
}

TEST_F(oid_file_map, absent_file_adds_nothing) {
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, absent_directory_adds_nothing) {
    EXPECT_EQ(added_lines({{PROBE_ETC_DIR, (folder_.path() / "nowhere").string() + "/"}}), NOTHING);
}

TEST_F(oid_file_map, empty_file_adds_nothing) {
    write_whole(cfg(), "");
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, unreadable_file_adds_nothing) {
    const environment_t as_nobody = {{PROBE_ETC_DIR, etc().string() + "/"}, {PROBE_DROP_ROOT, "1"}};
    write_whole(cfg(), "1.2.3 = FOO\n");
    const report_t readable = ask({"file sn FOO"}, as_nobody);
    if (readable.exited_with(PROBE_CANNOT_DROP_ROOT)) {
        GTEST_SKIP() << "root reads every file and cannot become another user here";
    }
    if (readable.exited_with(0) && readable.answers == std::vector<lines_t>{{"none"}}) {
        GTEST_SKIP() << "nobody cannot reach " << folder_.path() << ", readable or not";
    }
    ASSERT_EQ(readable.answers, std::vector<lines_t>{{"2A03|1.2.3|FOO|"}}) << show_end(readable.wait_status);
    ASSERT_EQ(chmod(cfg().c_str(), 0), 0);
    EXPECT_EQ(added_lines(as_nobody), NOTHING);
}

TEST_F(oid_file_map, file_that_no_descriptor_is_left_for_adds_nothing) {
    write_whole(cfg(), "1.2.3 = FOO\n");
    EXPECT_EQ(added_lines({{PROBE_ETC_DIR, etc().string() + "/"}, {PROBE_NO_DESCRIPTORS, "1"}}), NOTHING);
}

TEST_F(oid_file_map, directory_in_its_place_adds_nothing) {
    fs::create_directory(cfg());
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, pipe_in_its_place_adds_nothing_and_is_not_waited_for) {
    ASSERT_EQ(mkfifo(cfg().c_str(), 0644), 0) << std::strerror(errno);
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, device_in_its_place_adds_nothing_and_is_not_read_for_ever) {
    for (const char* const device : {"/dev/null", "/dev/zero"}) {
        SCOPED_TRACE(device);
        fs::remove(cfg());
        fs::create_symlink(device, cfg());
        EXPECT_EQ(added_lines(), NOTHING);
    }
}

TEST_F(oid_file_map, dangling_symbolic_link_adds_nothing) {
    fs::create_symlink("nowhere.cfg", cfg());
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, symbolic_link_to_itself_adds_nothing) {
    fs::create_symlink(CFG, cfg());
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, symbolic_link_is_followed) {
    write_whole(etc() / "elsewhere.cfg", "1.2.3 = FOO\n");
    fs::create_symlink("elsewhere.cfg", cfg());
    EXPECT_EQ(added_lines(), (lines_t{"2A03|1.2.3|FOO|"}));
}

TEST_F(oid_file_map, file_of_10_megabytes_loads_and_all_of_it_is_found) {
    constexpr std::size_t LINE_SIZE = 1000;
    constexpr std::size_t FILE_SIZE = 10 * 1024 * 1024;
    std::string text;
    lines_t questions;
    lines_t answers;
    for (unsigned int i = 0; text.size() < FILE_SIZE; ++i) {
        // 16,384 to 2,097,151 takes three octets.
        const unsigned int arc = 16384 + i;
        const unsigned char octets[] = {0x2A, 0x03, static_cast<unsigned char>(0x80 | arc >> 14),
                                        static_cast<unsigned char>(0x80 | (arc >> 7 & 0x7F)),
                                        static_cast<unsigned char>(arc & 0x7F)};
        std::string der = to_hex(octets, sizeof octets);
        std::erase(der, ' ');
        const std::string oid = "1.2.3." + std::to_string(arc);
        const std::string short_name = "NAME" + std::to_string(i);
        std::string line = oid + " = " + short_name + ", ";
        const std::string long_name(LINE_SIZE - 1 - line.size(), 'x');
        text += line + long_name + "\n";
        const std::string entry = der + "|" + oid + "|" + short_name + "|" + long_name;
        const std::string keys[] = {"asn " + der, "str " + oid, "sn " + short_name};
        questions.push_back("file " + keys[i % 3]);
        answers.push_back(entry);
    }
    write_whole(cfg(), text);
    const report_t report = ask(questions);
    ASSERT_TRUE(report.exited_with(0)) << show_end(report.wait_status);
    ASSERT_EQ(report.answers.size(), questions.size());
    for (std::size_t i = 0; i < questions.size(); ++i) {
        ASSERT_EQ(report.answers[i], lines_t{answers[i]}) << questions[i];
    }
}

// ---- the path ----

TEST_F(oid_file_map, no_separator_is_put_between_directory_and_file_name) {
    write_whole(cfg(), "1.2.3 = INSIDE\n");
    write_whole(etc().string() + CFG, "1.2.3 = BESIDE\n");
    EXPECT_EQ(added_lines({{PROBE_ETC_DIR, etc().string() + "/"}}), (lines_t{"2A03|1.2.3|INSIDE|"}));
    EXPECT_EQ(added_lines({{PROBE_ETC_DIR, etc().string()}}), (lines_t{"2A03|1.2.3|BESIDE|"}));
}

TEST_F(oid_file_map, empty_directory_text_leaves_the_bare_file_name) {
    write_whole(folder_.path() / CFG, "1.2.3 = HERE\n"); // the probe runs in this folder
    EXPECT_EQ(added_lines({{PROBE_ETC_DIR, ""}}), (lines_t{"2A03|1.2.3|HERE|"}));
}

TEST_F(oid_file_map, other_files_of_the_directory_are_not_read) {
    write_whole(etc() / "qaroids.cfg.bak", "1.2.3 = FOO\n");
    write_whole(etc() / "QAROIDS.CFG", "1.2.3 = FOO\n");
    EXPECT_EQ(added_lines(), NOTHING);
}

TEST_F(oid_file_map, failing_directory_lookup_leaves_the_built_in_table_alone) {
    write_whole(cfg(), "1.2.3 = FOO\n");
    for (const char* const what : {"exception", "bad_alloc", "int"}) {
        SCOPED_TRACE(what);
        EXPECT_EQ(added_lines({{PROBE_ETC_DIR, etc().string() + "/"}, {PROBE_THROW, what}}), NOTHING);
    }
}

// ---- its lines ----

struct content_case_t {
    const char* name;
    std::string_view content;
    lines_t added;
};

class oid_file_map_content : public oid_file_map, public testing::WithParamInterface<content_case_t> {};

TEST_P(oid_file_map_content, adds) {
    write_whole(cfg(), GetParam().content);
    EXPECT_EQ(added_lines(), GetParam().added);
}

const lines_t TWO_LINES = {"2A01|1.2.1|A|first name", "2A02|1.2.2|B|second name"};

INSTANTIATE_TEST_SUITE_P(
    line_ends, oid_file_map_content,
    testing::Values(content_case_t{"LF", "1.2.1 = A, first name\n1.2.2 = B, second name\n", TWO_LINES},
                    content_case_t{"CR", "1.2.1 = A, first name\r1.2.2 = B, second name\r", TWO_LINES},
                    content_case_t{"CRLF", "1.2.1 = A, first name\r\n1.2.2 = B, second name\r\n", TWO_LINES},
                    content_case_t{"mixed", "\r\r\n1.2.1 = A, first name\n\r\n1.2.2 = B, second name\r", TWO_LINES},
                    content_case_t{"missing_at_the_end", "1.2.1 = A, first name\n1.2.2 = B, second name", TWO_LINES}),
    case_name_t());

INSTANTIATE_TEST_SUITE_P(
    odd_files, oid_file_map_content,
    testing::Values(
        content_case_t{"one_byte", "1", {}}, content_case_t{"one_line_end", "\n", {}},
        content_case_t{"comments_alone", "# a\n; b\nabc = X\n", {}},
        content_case_t{"zero_bytes", "\0\0\0\n1.2.1 = A, first name\n\0\n1.2.2 = B, second name"sv, TWO_LINES},
        content_case_t{"end_of_file_character", "1.2.1 = A, first name\n\x1A\n1.2.2 = B, second name", TWO_LINES},
        content_case_t{"line_cut_short", "1.2.1 = A, first name\n1.2.2 ", {TWO_LINES[0]}}),
    case_name_t());

TEST_F(oid_file_map, built_in_entry_wins_by_DER) {
    write_whole(cfg(), "2.5.4.03 = NAME, ours\n");
    expect_answers({{"file asn 550403", "550403|2.5.4.3|CN|commonName"},
                    {"file str 2.5.4.3", "550403|2.5.4.3|CN|commonName"},
                    {"file sn CN", "550403|2.5.4.3|CN|commonName"},
                    {"file str 2.5.4.03", "550403|2.5.4.03|NAME|ours"},
                    {"file sn NAME", "550403|2.5.4.03|NAME|ours"}});
}

TEST_F(oid_file_map, built_in_entry_wins_by_text_and_the_new_short_name_leads_to_the_new_entry) {
    write_whole(cfg(), "2.5.4.3 = NAME, ours\n");
    expect_answers({{"file asn 550403", "550403|2.5.4.3|CN|commonName"},
                    {"file str 2.5.4.3", "550403|2.5.4.3|CN|commonName"},
                    {"file sn CN", "550403|2.5.4.3|CN|commonName"},
                    {"file sn NAME", "550403|2.5.4.3|NAME|ours"},
                    {"default sn NAME", "none"}});
}

TEST_F(oid_file_map, built_in_entry_wins_by_short_name) {
    write_whole(cfg(), "1.2.3 = cn, ours\n");
    expect_answers({{"file sn cn", "550403|2.5.4.3|CN|commonName"},
                    {"file asn 2A03", "2A03|1.2.3|CN|ours"},
                    {"file str 1.2.3", "2A03|1.2.3|CN|ours"},
                    {"default str 1.2.3", "none"}});
}

TEST_F(oid_file_map, first_line_of_the_file_wins_over_later_ones) {
    write_whole(cfg(), "1.2.3 = FOO, one\n1.2.3 = BAR, two\n1.2.4 = FOO, three\n");
    expect_answers({{"file asn 2A03", "2A03|1.2.3|FOO|one"},
                    {"file sn FOO", "2A03|1.2.3|FOO|one"},
                    {"file sn BAR", "2A03|1.2.3|BAR|two"},
                    {"file asn 2A04", "2A04|1.2.4|FOO|three"}});
}

} // namespace
