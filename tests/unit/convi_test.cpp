// Conversion of UCS-2 and UCS-4 to UTF-8.
#include "platform/convi.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <locale>
#include <memory>

#include "support/expect.h"
#include "support/vectors.h"
#include "testing/bytes.h"

namespace {

// Converts into a block of exactly `room` bytes '?' and returns the block.
std::string convert(const convi& converter, std::string_view in, unsigned int room, unsigned int& written) {
    const exact_bytes_t from(in);
    std::unique_ptr<char[]> to(new char[room]);
    std::fill_n(to.get(), room, '?');
    written = converter.convert_safe(from.data(), from.size(), to.get(), room);
    return std::string(to.get(), room);
}

// What lies in the block after a refusal means nothing.
TEST(convi, converts_to_utf8_if_there_is_room) {
    for_each_vector("wide-strings.txt", [](const vector_t& vector) {
        const convi converter(vector.number("page"), CONVI_UTF8);
        const std::string in = vector.bytes("text");
        const std::string utf8 = vector.has("UTF-8") ? vector.bytes("UTF-8") : "";
        const exact_bytes_t block(in);
        EXPECT_EQ(utf8.size(), converter.get_outsize(block.data(), block.size()));
        for (unsigned int room = 0; room < utf8.size() + 3; ++room) {
            unsigned int written = 1;
            const std::string out = convert(converter, in, room, written);
            const bool fits = room >= utf8.size();
            EXPECT_EQ(fits ? utf8.size() : 0, written) << "room for " << room;
            if (fits && !utf8.empty()) {
                EXPECT_TRUE(same_bytes(utf8 + std::string(room - utf8.size(), '?'), out)) << "room for " << room;
            }
        }
    });
}

TEST(convi_pages, utf8_is_the_only_target) {
    const exact_bytes_t in(from_hex("00 00 00 61"));
    for (const unsigned int from : {CONVI_UCS2_BE, CONVI_UCS4_BE}) {
        for (const unsigned int to : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 0xFFFFFFFFu}) {
            const convi converter(from, to);
            EXPECT_EQ(0u, converter.get_outsize(in.data(), in.size())) << from << " to " << to;
            unsigned int written = 1;
            EXPECT_EQ("????????", convert(converter, as_chars(in.data(), in.size()), 8, written));
            EXPECT_EQ(0u, written) << from << " to " << to;
        }
    }
}

// The standard library's own converter is the other opinion.
TEST(convi_characters, every_one_of_unicode_converts_as_in_the_standard_library) {
    using to_utf8_t = std::codecvt<char32_t, char8_t, std::mbstate_t>;
    const to_utf8_t& to_utf8 = std::use_facet<to_utf8_t>(std::locale::classic());
    const convi from_ucs2(CONVI_UCS2_BE, CONVI_UTF8);
    const convi from_ucs4(CONVI_UCS4_BE, CONVI_UTF8);
    for (char32_t c = 0; c <= 0x110000; ++c) {
        const unsigned char ucs4[] = {static_cast<unsigned char>(c >> 24), static_cast<unsigned char>(c >> 16),
                                      static_cast<unsigned char>(c >> 8), static_cast<unsigned char>(c)};
        char32_t character = c;
        char8_t expected[4] = {};
        std::mbstate_t state = {};
        const char32_t* next_in = nullptr;
        char8_t* end = expected;
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        if (!surrogate && c <= 0x10FFFF) {
            ASSERT_EQ(std::codecvt_base::ok,
                      to_utf8.out(state, &character, &character + 1, next_in, expected, expected + 4, end));
        }
        const std::string_view utf8(reinterpret_cast<const char*>(expected), static_cast<std::size_t>(end - expected));
        char out[4] = {};
        ASSERT_EQ(utf8.size(), from_ucs4.convert_safe(ucs4, 4, out, 4)) << static_cast<unsigned long>(c);
        ASSERT_TRUE(same_bytes(utf8, std::string_view(out, utf8.size()))) << static_cast<unsigned long>(c);
        if (c <= 0xFFFF) {
            ASSERT_EQ(utf8.size(), from_ucs2.get_outsize(ucs4 + 2, 2)) << static_cast<unsigned long>(c);
            ASSERT_EQ(utf8.size(), from_ucs2.convert_safe(ucs4 + 2, 2, out, 4)) << static_cast<unsigned long>(c);
            ASSERT_TRUE(same_bytes(utf8, std::string_view(out, utf8.size()))) << static_cast<unsigned long>(c);
        }
    }
}

} // namespace
