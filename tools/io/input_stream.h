// Files that are read from the front and let go behind, so that a bundle may be larger than the memory.
#ifndef DERKIT_TOOLS_IO_INPUT_STREAM_H
#define DERKIT_TOOLS_IO_INPUT_STREAM_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// What is in memory is what the longest look took, and some read ahead.
//
// A file consists of items (certificates, say), of which one with all that stands in front of it has at most
// MAX_INPUT_SIZE bytes: a device that never ends is given up.
class input_stream_t {
  public:
    // Opens a file, or takes standard input for "-". Throws failure_t.
    explicit input_stream_t(const std::string& file);
    ~input_stream_t();
    input_stream_t(const input_stream_t&) = delete;
    input_stream_t& operator=(const input_stream_t&) = delete;

    // At least `wanted` bytes from here on, fewer only at the end of the file; valid until the next look. Throws
    // failure_t when the file cannot be read, and when the item becomes too large.
    std::string_view look(std::size_t wanted);

    // Goes on behind the next `size` bytes, which were looked at.
    void pass(std::size_t size);

    void begin_item() { item_size_ = 0; }

    const std::string& name() const { return name_; }

    // Of the file, ahead of here too.
    unsigned long long num_read() const { return passed_ + (buffer_.size() - begin_); }

    // How far the file is done, or nothing when its size is not known.
    std::optional<unsigned int> percentage() const;

  private:
    std::string name_;
    int descriptor_;
    std::string buffer_;
    std::size_t begin_ = 0;     // of what was not passed yet
    std::size_t item_size_ = 0; // as far as it was passed
    unsigned long long passed_ = 0;
    unsigned long long file_size_ = 0; // 0: not known
    bool at_end_ = false;

    void read_more();
};

// The first element of a file with a few bytes behind it, if there are any; less when the file is cut short, and
// nothing but a few bytes when it does not start with `identifier`.
std::string_view look_at_element(input_stream_t& input, unsigned char identifier);

// Goes to the end; gives the number of bytes up to there.
unsigned long long pass_rest(input_stream_t& input);

// "1234 certificates, 56% of FILE".
std::string progress_text(unsigned int number, const char* things, const input_stream_t& input);

#endif
