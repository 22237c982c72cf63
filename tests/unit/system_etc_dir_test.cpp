// The system configuration directory.
#include "platform/system_etc_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>

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

// Sets an environment variable for the lifetime of the object.
class scoped_variable_t {
  public:
    scoped_variable_t(const char* name, const char* value) : name_(name) {
        const char* const current = std::getenv(name);
        was_set_ = current != nullptr;
        kept_ = was_set_ ? current : "";
        setenv(name, value, 1);
    }
    ~scoped_variable_t() {
        if (was_set_) {
            setenv(name_, kept_.c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    scoped_variable_t(const scoped_variable_t&) = delete;
    scoped_variable_t& operator=(const scoped_variable_t&) = delete;

  private:
    const char* name_;
    bool was_set_ = false;
    std::string kept_;
};

TEST(system_etc_dir, does_not_come_from_the_environment) {
    const std::string before = systemEtcDir();
    for (const char* const name : {"DERKIT_SYSTEM_ETC_DIR", "SYSTEM_ETC_DIR", "SYSCONFDIR", "HOME", "PREFIX"}) {
        const scoped_variable_t variable(name, "/elsewhere/");
        EXPECT_EQ(before, systemEtcDir()) << name;
    }
}

} // namespace
