// Input files: read whole, or as a stream.
#ifndef DERKIT_TOOLS_IO_INPUT_H
#define DERKIT_TOOLS_IO_INPUT_H

#include <cstddef>
#include <string>
#include <string_view>

// Certificates, their bundles and OID maps are far smaller; a device that never ends must not exhaust the memory.
constexpr std::size_t MAX_INPUT_SIZE = std::size_t(256) << 20;

// What some editors put in front of UTF-8 text.
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

inline std::string_view without_byte_order_mark(std::string_view text) {
    return text.starts_with(BYTE_ORDER_MARK) ? text.substr(BYTE_ORDER_MARK.size()) : text;
}

// How messages and output name a file: "-" is the standard input.
std::string input_name(const std::string& file);

// Opens a file and returns its descriptor. Throws failure_t.
int open_to_read(const std::string& file);

// The bytes of a file, or of standard input for "-". Throws failure_t.
std::string read_input(const std::string& file);

// As above; an empty file is a failure too.
std::string read_filled_input(const std::string& file);

// A file that is read from the front, so that a bundle may be larger than the memory: only the longest look and some
// read-ahead are kept.
//
// A file consists of items (certificates, say). An item with all that precedes it has at most MAX_INPUT_SIZE bytes, so
// that reading a device that never ends is given up.
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

    // All bytes, without a copy. To be called before any other step; the stream is of no use afterwards. Throws
    // failure_t.
    std::string take_all();

    // Moves past the next `size` bytes, which were looked at.
    void pass(std::size_t size);

    // Moves to the end and returns the number of bytes passed.
    unsigned long long pass_rest();

    void begin_item() { item_size_ = 0; }

    // Bytes of the file that were read so far, including those ahead of here.
    unsigned long long num_read() const { return passed_ + (buffer_.size() - begin_); }

    // "1234 certificates, 56% of FILE"; no percentage when the size of the file is not known.
    std::string progress_text(unsigned int number, const char* things) const;

  private:
    std::string name_;
    int descriptor_;
    std::string buffer_;
    std::size_t begin_ = 0;     // of what was not passed yet
    std::size_t item_size_ = 0; // of its passed part
    unsigned long long passed_ = 0;
    unsigned long long file_size_ = 0; // 0: not known
    bool at_end_ = false;

    void read_more();
};

#endif
