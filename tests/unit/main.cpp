// Runs all unit tests, or with --subject=NAME those of NAME_test.cpp.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view OPTION = "--subject=";

// A filter of GoogleTest for the suites of one source.
std::string suites_of(std::string_view subject) {
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    std::string filter;
    for (int i = 0; i < tests.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *tests.GetTestSuite(i);
        if (std::filesystem::path(suite.GetTestInfo(0)->file()).stem() == std::string(subject) + "_test") {
            filter += std::string(suite.name()) + ".*:";
        }
    }
    return filter;
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc == 1) {
        return RUN_ALL_TESTS();
    }
    const std::string_view argument = argv[1];
    const std::string filter = argument.starts_with(OPTION) ? suites_of(argument.substr(OPTION.size())) : "";
    if (argc != 2 || filter.empty()) {
        std::fprintf(stderr, "no such subject or option: %s\n", argv[1]);
        return 2;
    }
    testing::GTEST_FLAG(filter) = filter;
    return RUN_ALL_TESTS();
}
