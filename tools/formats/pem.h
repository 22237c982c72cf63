// Textual encodings of DER (RFC 7468).
#ifndef DERKIT_TOOLS_FORMATS_PEM_H
#define DERKIT_TOOLS_FORMATS_PEM_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "io/input_stream.h"

struct pem_block_t {
    std::string label;    // between "-----BEGIN " and "-----"
    std::size_t line = 0; // of its BEGIN, from 1
    std::string der;
    std::string problem; // why there is no DER; empty when there is
};

// Takes the blocks out of a text one after the other, in linear time. A file is in memory only as far as the block needs
// that is being taken.
//
// Text around the blocks, blanks around the lines, any line end (LF, CRLF, CR), a byte order mark and the headers of
// RFC 1421 are passed over. Every other departure spoils its own block and no other: a block without END ends in
// front of the next BEGIN.
class pem_reader_t {
  public:
    explicit pem_reader_t(std::string_view text); // must outlive the reader
    explicit pem_reader_t(input_stream_t& file);  // from where it stands

    std::optional<pem_block_t> next();

  private:
    input_stream_t* file_ = nullptr;
    std::string_view rest_;
    std::size_t looked_at_ = 0; // what of the file was in rest_ at first
    std::size_t line_number_ = 0;
    std::optional<std::string> next_label_; // of a BEGIN line that was taken already

    std::optional<std::string> next_begin();
    std::optional<std::string_view> next_line(); // valid until the next one is taken
    std::size_t find_line_end();
    bool look_further();
    std::string read_body(const std::string& label, std::string& base64);
};

#endif
