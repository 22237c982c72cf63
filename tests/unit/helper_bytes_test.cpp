// The helpers that turn views of bytes into standard types and back.
#include "derkit/helpers/bytes.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "support/expect.h"
#include "testing/views.h"

namespace {

TEST(helper_bytes, view_strings_vectors_spans_and_constants) {
    const std::string text("a\0b", 3);
    const std::vector<unsigned char> octets{1, 2, 3, 4};
    const oid_ref_t constant = PKI_KEY_ALG_TO_OID(PKI_ALG_RSA);
    const struct {
        const char* name;
        blob_t view;
        const void* data;
        unsigned int size;
    } cases[] = {
        {"string", derkit::to_blob(text), text.data(), 3},
        {"empty string", derkit::to_blob(std::string_view()), nullptr, 0},
        {"string view", derkit::to_blob(std::string_view(text).substr(1)), text.data() + 1, 2},
        {"vector", derkit::to_blob(octets), octets.data(), 4},
        {"span", derkit::to_blob(std::span<const unsigned char>(octets).first(2)), octets.data(), 2},
        {"constant", derkit::to_blob(constant), constant.data, constant.size},
        {"address", derkit::to_blob(octets.data() + 1, 2), octets.data() + 1, 2},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.view.data, c.data) << c.name;
        EXPECT_EQ(c.view.size, c.size) << c.name;
        EXPECT_EQ(derkit::to_string_view(c.view).data(), c.data) << c.name;
        EXPECT_EQ(derkit::to_string_view(c.view).size(), c.size) << c.name;
        EXPECT_EQ(derkit::to_span(c.view).data(), c.data) << c.name;
        EXPECT_EQ(derkit::to_span(c.view).size(), c.size) << c.name;
        EXPECT_TRUE(same_bytes(chars_of(c.view), derkit::to_string(c.view))) << c.name;
    }
}

template <typename BYTES>
concept viewable = requires(BYTES&& bytes) {
    derkit::to_blob(static_cast<BYTES&&>(bytes));
};

TEST(helper_bytes, never_view_a_temporary_object) {
    static_assert(viewable<std::string&> && viewable<const std::string&> && !viewable<std::string>);
    static_assert(viewable<std::vector<unsigned char>&> && !viewable<std::vector<unsigned char>>);
}

TEST(helper_bytes, more_than_32_bits_of_size_are_cut) {
    const char byte = 0; // not read
    const struct {
        unsigned long long size;
        unsigned int shown;
    } cases[] = {
        {0xFFFFFFFE, 0xFFFFFFFE}, {0xFFFFFFFF, 0xFFFFFFFF}, {0x100000000, 0xFFFFFFFF}, {0x100000001, 0xFFFFFFFF}};
    for (const auto& c : cases) {
        if (c.size <= SIZE_MAX) {
            EXPECT_EQ(derkit::to_blob(&byte, static_cast<std::size_t>(c.size)).size, c.shown) << c.size;
        }
    }
}

TEST(helper_bytes, are_formatted_in_hexadecimal) {
    EXPECT_EQ(derkit::to_hex(blob_t()), "");
    EXPECT_EQ(derkit::to_hex(view_of("\x01\xAB\xFF")), "01ABFF");
    EXPECT_EQ(derkit::to_hex(view_of("\x01\xAB\xFF"), ':'), "01:AB:FF");
}

TEST(maybe_string, is_absent_or_has_a_value) {
    const derkit::maybe_string nothing;
    EXPECT_FALSE(nothing);
    EXPECT_FALSE(nothing.ok());
    EXPECT_EQ(*nothing, "");
    EXPECT_TRUE(nothing->empty());
    EXPECT_EQ(nothing.value_or("other"), "other");

    const derkit::maybe_string empty{std::string()};
    EXPECT_TRUE(empty);
    EXPECT_TRUE(empty.ok());
    EXPECT_EQ(empty.value_or("other"), "");

    derkit::maybe_string text(std::string("a text that does not fit inside the object itself"));
    EXPECT_TRUE(text);
    const char* const place = text->data();
    const std::string moved = *std::move(text);
    EXPECT_EQ(moved.data(), place);
    EXPECT_EQ(moved, "a text that does not fit inside the object itself");
    static_assert(!std::is_convertible_v<derkit::maybe_string, bool>);
}

} // namespace
