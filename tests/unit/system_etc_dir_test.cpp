// The system configuration directory.
#include "platform/system_etc_dir.h"

#include <gtest/gtest.h>

#include "testing/environment.h"

// The source again, without the setting that the build may have made for the object that is linked.
namespace without_a_setting {
#include "platform/system_etc_dir.cpp"
}

namespace {

TEST(system_etc_dir, is_etc_unless_the_build_says_otherwise) {
    EXPECT_EQ("/etc/", without_a_setting::systemEtcDir());
}

TEST(system_etc_dir, ends_in_a_slash) {
    const std::string directory = systemEtcDir();
    ASSERT_FALSE(directory.empty());
    EXPECT_EQ('/', directory.front());
    EXPECT_EQ('/', directory.back());
}

TEST(system_etc_dir, does_not_come_from_the_environment) {
    const std::string before = systemEtcDir();
    for (const char* const name : {"DERKIT_SYSTEM_ETC_DIR", "SYSTEM_ETC_DIR", "SYSCONFDIR", "HOME", "PREFIX"}) {
        const environment_variable_t variable(name, "/elsewhere/");
        EXPECT_EQ(before, systemEtcDir()) << name;
    }
}

} // namespace
