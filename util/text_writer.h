// Appending many short pieces of text to a caller's string.
#ifndef DERKIT_TEXT_WRITER_H
#define DERKIT_TEXT_WRITER_H

#include <cstddef>
#include <string>
#include <string_view>

#include "util/copy_octets.h"
#include "util/string_room.h"

// Collects text in a buffer and appends it to a string when the buffer is full, and when flush() is called. Text that
// has not been flushed when the writer ends is lost.
class text_writer_t {
  public:
    static constexpr std::size_t BUFFER_SIZE = 512;

    // cppcheck-suppress uninitMemberVar ; everything before end_ has been written
    explicit text_writer_t(std::string& out) : out_(out) {}
    text_writer_t(const text_writer_t&) = delete;
    text_writer_t& operator=(const text_writer_t&) = delete;

    void put(char c) {
        *room(1) = c;
        ++end_;
    }

    void put(std::string_view text) {
        if (text.size() > num_free()) {
            put_after_flush(text);
            return;
        }
        end_ = copy_octets(end_, text.data(), text.size());
    }

    // Returns room for `size` characters, at most BUFFER_SIZE, to be filled from its beginning.
    char* room(std::size_t size) {
        if (size > num_free()) {
            flush();
        }
        return end_;
    }

    // Takes the characters of the last room() that lie before `end` as written.
    void advance_to(char* end) { end_ = end; }

    // Drops the character that was put last.
    void drop_last() { --end_; }

    [[gnu::noinline]] void flush() {
        append_text(out_, std::string_view(buffer_, buffered()));
        end_ = buffer_;
    }

    // Size of the string when everything is flushed.
    std::size_t size() const { return out_.size() + buffered(); }

    // Drops all text after the first `size` characters of the string.
    void cut_to(std::size_t size) {
        if (size < out_.size()) {
            out_.resize(size);
        }
        end_ = buffer_ + (size - out_.size());
    }

  private:
    std::string& out_;
    char buffer_[BUFFER_SIZE];
    char* end_ = buffer_;

    std::size_t num_free() const { return BUFFER_SIZE - buffered(); }

    [[gnu::noinline]] void put_after_flush(std::string_view text) {
        flush();
        append_text(out_, text);
    }

    std::size_t buffered() const { return static_cast<std::size_t>(end_ - buffer_); }
};

#endif
