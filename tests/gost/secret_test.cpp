#include <gtest/gtest.h>

#include <fstream>
#include <new>
#include <sstream>
#include <string>
#include <utility>

#include <sys/resource.h>

#include "derkit/gost/secret.h"
#include "gost/sanitized.h"
#include "testing/bytes.h"

namespace {

using namespace derkit::gost;

// The flags of the mapping that an address lies in, such as "rd wr mr mw me lo ac dd".
std::string flags_of_mapping(const void* address) {
    std::ifstream smaps("/proc/self/smaps");
    const unsigned long wanted = reinterpret_cast<unsigned long>(address);
    bool inside = false;
    for (std::string line; std::getline(smaps, line);) {
        unsigned long begin = 0, end = 0;
        char dash = 0;
        std::istringstream range(line);
        if (range >> std::hex >> begin >> dash >> end && dash == '-') {
            inside = begin <= wanted && wanted < end;
        }
        if (inside && line.starts_with("VmFlags:")) {
            return line.substr(8) + " ";
        }
    }
    return "";
}

// AddressSanitizer lets nothing be locked, and says that it was.
void expect_as_locked_as_told(const secret& text) {
    const std::string flags = flags_of_mapping(text.data());
    EXPECT_TRUE(SANITIZED || text.is_locked() == (flags.find(" lo ") != std::string::npos)) << flags;
}

TEST(Secret, HoldsOctets) {
    const secret none;
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_EQ(none.view(), "");
    EXPECT_TRUE(secret("").empty());
    EXPECT_EQ(to_hex(secret(std::size_t{3}).view()), "00 00 00");
    const secret word("word");
    EXPECT_EQ(word.view(), "word");
    EXPECT_EQ(std::string_view(word).size(), 4U);
}

TEST(Secret, IsCopiedAndMoved) {
    secret first("first");
    secret copy(first);
    EXPECT_NE(copy.data(), first.data());
    EXPECT_EQ(copy.view(), "first");
    const unsigned char* const place = first.data();
    secret moved(std::move(first));
    EXPECT_EQ(moved.data(), place);
    EXPECT_TRUE(first.empty()); // NOLINT(bugprone-use-after-move): the contract
    first = moved;
    EXPECT_EQ(first.view(), "first");
    copy = std::move(moved);
    EXPECT_EQ(copy.data(), place);
    EXPECT_TRUE(moved.empty()); // NOLINT(bugprone-use-after-move): the contract
    secret& itself = copy;
    copy = itself;
    EXPECT_EQ(copy.view(), "first");
    copy = std::move(itself);
    EXPECT_EQ(copy.view(), "first");
}

TEST(Secret, GrowsAndShrinks) {
    secret text("ab");
    text.append("cd");
    EXPECT_EQ(text.view(), "abcd");
    text.append("");
    text.append(text); // a part of itself
    EXPECT_EQ(text.view(), "abcdabcd");
    text.remove_prefix(3);
    EXPECT_EQ(text.view(), "dabcd");
    text.remove_prefix(100);
    EXPECT_EQ(text.view(), "");
    text.append("xyz");
    text.resize(1);
    text.resize(4);
    EXPECT_EQ(to_hex(text.view()), "78 00 00 00") << "removed octets come back";
    text.clear();
    EXPECT_EQ(text.data(), nullptr);
}

TEST(Secret, GrowsPastItsPagesAndOutOfItself) {
    secret text;
    std::string expected;
    for (int i = 0; i < 40; ++i) {
        text.append(std::string(997, static_cast<char>('a' + i % 26)));
        expected.append(std::string(997, static_cast<char>('a' + i % 26)));
    }
    EXPECT_EQ(text.view(), expected);
    text.append(text.view().substr(1));
    EXPECT_EQ(text.view(), expected + expected.substr(1));
    const unsigned char* const place = text.data();
    text.reserve(text.size());
    EXPECT_EQ(text.data(), place);
    text.reserve(10 * text.size());
    const unsigned char* const roomy = text.data();
    text.append(std::string(9 * text.size(), '.'));
    EXPECT_EQ(text.data(), roomy) << "there was room";
}

TEST(Secret, RefusesWhatNoMemoryCanHold) {
    EXPECT_THROW(secret(static_cast<std::size_t>(-1)), std::bad_alloc);
    EXPECT_THROW(secret(static_cast<std::size_t>(-1) - 0x10000), std::bad_alloc);
    secret text("kept");
    EXPECT_THROW(text.reserve(static_cast<std::size_t>(-1) - 0x10000), std::bad_alloc);
    EXPECT_THROW(text.resize(static_cast<std::size_t>(-1)), std::bad_alloc);
    EXPECT_EQ(text.view(), "kept");
}

TEST(Secret, IsLockedAndLeftOutOfCoreDumps) {
    const secret text("text");
    const std::string flags = flags_of_mapping(text.data());
    EXPECT_NE(flags.find(" dd "), std::string::npos) << flags;
    expect_as_locked_as_told(text);
    EXPECT_TRUE(secret().is_locked());
}

TEST(Secret, WorksWhereNothingMayBeLocked) {
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_MEMLOCK, &before), 0);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_MEMLOCK, &none), 0);
    const secret text("text");
    ASSERT_EQ(setrlimit(RLIMIT_MEMLOCK, &before), 0);
    EXPECT_EQ(text.view(), "text");
    expect_as_locked_as_told(text); // root locks all the same
}

TEST(EqualInConstantTime, ComparesAllOctets) {
    EXPECT_TRUE(equal_in_constant_time("", ""));
    EXPECT_TRUE(equal_in_constant_time("abc", "abc"));
    for (const char* const other : {"", "ab", "abcd", "xbc", "axc", "abx"}) {
        EXPECT_FALSE(equal_in_constant_time("abc", other)) << other;
    }
    EXPECT_FALSE(equal_in_constant_time(std::string("a\x80"), std::string("a\0", 2)));
}

TEST(Wipe, ClearsOctets) {
    std::string text = "secret";
    wipe(text.data(), text.size());
    EXPECT_EQ(text, std::string(6, '\0'));
    wipe(nullptr, 0);
}

} // namespace
