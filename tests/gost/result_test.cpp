#include <gtest/gtest.h>

#include <set>
#include <string>

#include "derkit/gost/result.h"

namespace {

using namespace derkit::gost;

constexpr int LAST_CAUSE = 30;

TEST(Result, EveryCauseHasANameAndATextOfItsOwn) {
    std::set<std::string> names, texts;
    for (int i = 0; i <= LAST_CAUSE; ++i) {
        const std::string name = name_of(static_cast<cause>(i)), text = text_of(static_cast<cause>(i));
        EXPECT_NE(name, "unknown") << i;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_TRUE(texts.insert(text).second) << text;
        EXPECT_NE(text.back(), '.') << text;
    }
    EXPECT_STREQ(name_of(cause::wrong_mac), "wrong_mac");
    EXPECT_STREQ(name_of(cause::crypto_failure), "crypto_failure");
}

TEST(Result, OtherNumbersAreNoCause) {
    for (const int number : {-1, LAST_CAUSE + 1, 1000}) {
        EXPECT_STREQ(name_of(static_cast<cause>(number)), "unknown") << number;
        EXPECT_STREQ(text_of(static_cast<cause>(number)), "unknown cause") << number;
    }
}

TEST(Result, HoldsAValue) {
    result<std::string> held = std::string("value");
    EXPECT_TRUE(held.ok());
    EXPECT_TRUE(static_cast<bool>(held));
    EXPECT_EQ(*held, "value");
    EXPECT_EQ(held->size(), 5U);
    EXPECT_EQ(held.why(), cause::none);
    EXPECT_EQ(held.message(), "");
    EXPECT_EQ(*std::move(held), "value");
}

TEST(Result, HoldsAFailure) {
    const result<std::string> plain = cause::no_mac;
    EXPECT_FALSE(plain.ok());
    EXPECT_EQ(plain.why(), cause::no_mac);
    EXPECT_EQ(plain.message(), "the container has no MAC");

    const result<std::string> detailed = failure{cause::unsupported_mac, "1.2.3"};
    EXPECT_EQ(detailed.error().detail, "1.2.3");
    EXPECT_EQ(detailed.message(), "the MAC is of an unsupported algorithm: 1.2.3");
}

TEST(ResultDeathTest, TheValueOfAFailureEndsTheProgram) {
    result<std::string> refused = cause::malformed;
    EXPECT_DEATH(static_cast<void>(refused.value()), "");
    EXPECT_DEATH(static_cast<void>(refused->size()), "");
    EXPECT_DEATH(static_cast<void>(result<int>(1).error()), "");
}

} // namespace
