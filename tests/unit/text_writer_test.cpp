// Appending short pieces of text by way of a buffer.
#include "util/text_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

constexpr std::size_t BUFFER_SIZE = text_writer_t::BUFFER_SIZE;

TEST(text_writer, appends_what_was_put_when_it_is_flushed) {
    std::string out = "held;";
    text_writer_t writer(out);
    writer.put('a');
    writer.put("bcd");
    writer.put("");
    EXPECT_EQ(9u, writer.size());
    writer.drop_last();
    writer.flush();
    EXPECT_EQ("held;abc", out);
    EXPECT_EQ(out.size(), writer.size());
    writer.flush();
    EXPECT_EQ("held;abc", out);
}

TEST(text_writer, loses_what_was_not_flushed) {
    std::string out = "held;";
    text_writer_t(out).put("abc");
    EXPECT_EQ("held;", out);
}

// Pieces of every size, before which the buffer holds little or much.
TEST(text_writer, keeps_the_order_of_pieces_of_every_size) {
    for (const std::size_t before : {std::size_t{0}, std::size_t{1}, BUFFER_SIZE - 17, BUFFER_SIZE - 1, BUFFER_SIZE}) {
        for (std::size_t size = 0; size < BUFFER_SIZE + 20; size += size < 40 || size > BUFFER_SIZE - 20 ? 1 : 37) {
            std::string expected(before, 'b');
            std::string piece;
            for (std::size_t i = 0; i < size; ++i) {
                piece += static_cast<char>('A' + i % 26);
            }
            expected += piece + '-' + piece;
            std::string out;
            text_writer_t writer(out);
            for (std::size_t i = 0; i < before; ++i) {
                writer.put('b');
            }
            writer.put(piece);
            writer.put('-');
            writer.put(piece);
            EXPECT_EQ(expected.size(), writer.size());
            writer.flush();
            EXPECT_EQ(expected, out) << before << ", " << size;
        }
    }
}

TEST(text_writer, gives_room_that_holds_what_is_written_up_to_the_end_that_it_is_told) {
    std::string out;
    std::string expected;
    text_writer_t writer(out);
    for (std::size_t size = 0; size <= BUFFER_SIZE; size += 16) {
        char* const to = writer.room(size);
        std::fill_n(to, size, 'x');
        const std::size_t used = size / 2;
        writer.advance_to(to + used);
        expected.append(used, 'x');
    }
    writer.flush();
    EXPECT_EQ(expected, out);
}

TEST(text_writer, is_cut_to_any_size_from_what_the_string_held_on) {
    const std::string held = "held;";
    const std::size_t num_put = 2 * BUFFER_SIZE + 10;
    for (std::size_t size = held.size(); size <= held.size() + num_put; size += 7) {
        std::string out = held;
        text_writer_t writer(out);
        for (std::size_t i = 0; i < num_put; ++i) {
            writer.put('x');
        }
        writer.cut_to(size);
        EXPECT_EQ(size, writer.size());
        writer.put("end");
        writer.flush();
        EXPECT_EQ(held + std::string(size - held.size(), 'x') + "end", out);
    }
}

} // namespace
