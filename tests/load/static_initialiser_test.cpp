// The static library, used before the program's own objects are complete. This object is linked in front of it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "first_use.h"

namespace {

const std::string AT_START = first_use();

TEST(static_initialiser, finds_the_static_library_complete) {
    EXPECT_EQ(AT_START, FIRST_USE_EXPECTED);
}

// Destroyed after what is made later, so the maps must outlive it.
class at_exit_t {
  public:
    at_exit_t() = default;
    ~at_exit_t() {
        if (first_use() != FIRST_USE_EXPECTED) {
            std::_Exit(1);
        }
    }
    at_exit_t(const at_exit_t&) = delete;
    at_exit_t& operator=(const at_exit_t&) = delete;
};
const at_exit_t AT_EXIT;

} // namespace
