// Textual encodings of DER (RFC 7468).
#ifndef DERKIT_TOOLS_FORMATS_PEM_H
#define DERKIT_TOOLS_FORMATS_PEM_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "io/input.h"

struct pem_block_t {
    std::string label;    // between "-----BEGIN " and "-----"
    std::size_t line = 0; // of its BEGIN, from 1
    std::string der;
    std::string problem; // why there is no DER; empty when there is
};

// Takes the blocks out of a text one after the other, in linear time. Only as much of a file is in memory as the
// current block needs.
//
// Text around the blocks, blanks around the lines, any line end (LF, CRLF, CR), a byte order mark and the headers of
// RFC 1421 are skipped. Any other departure spoils its own block and no other: a block without END ends before the next
// BEGIN.
class pem_reader_t {
  public:
    explicit pem_reader_t(std::string_view text); // must outlive the reader
    explicit pem_reader_t(input_stream_t& file);  // from its current place

    std::optional<pem_block_t> next();

  private:
    input_stream_t* file_ = nullptr;
    std::string_view rest_;
    std::size_t looked_at_ = 0; // bytes of the file that rest_ had at first
    std::size_t line_number_ = 0;
    std::optional<std::string> next_label_; // of a BEGIN line that was read already

    std::optional<std::string> next_begin();
    std::optional<std::string_view> next_line(); // valid until the next one is taken
    std::size_t find_line_end();
    bool look_further();
    std::string read_body(const std::string& label, std::string& base64);
};

// The blocks of a text, sorted by their labels.
struct pem_blocks_t {
    unsigned int num_taken = 0;
    std::optional<std::string> other_label; // of the last block that was not taken

    // Whether any block was taken. Throws failure_t if there were only others: "holds WANTED, but LABEL".
    bool any(const std::string& file, const char* wanted) const;
};

// Hands every block whose label is wanted to `take`, with its number from 1, and wipes all blocks.
pem_blocks_t take_pem_blocks(pem_reader_t& reader, bool (*is_wanted)(std::string_view label),
                             const std::function<void(pem_block_t& block, unsigned int number)>& take);

#endif
