// Expectations that show what failed: both sides in hexadecimal, the prefix, the case.
#ifndef DERKIT_TESTS_EXPECT_H
#define DERKIT_TESTS_EXPECT_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "testing/bytes.h"

// EXPECT_TRUE(same_bytes(expected, actual)) << which case: a failure shows both sides as hex.
inline testing::AssertionResult same_bytes(std::string_view expected, std::string_view actual) {
    if (expected == actual) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "expected [" << to_hex(expected) << "] but got [" << to_hex(actual) << "]";
}

// Runs `check` on every proper prefix of `bytes`, each in a block of its own size.
template <typename CHECK> void for_each_prefix(std::string_view bytes, CHECK check) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        SCOPED_TRACE("the first " + std::to_string(size) + " bytes of " + to_hex(bytes));
        check(exact_bytes_t(bytes.substr(0, size)));
    }
}

// Names a parameterised case after its `name` member.
struct case_name_t {
    template <typename CASE> std::string operator()(const testing::TestParamInfo<CASE>& info) const {
        return info.param.name;
    }
};

#endif
