// Textual encodings of DER (RFC 7468).
#ifndef DERKIT_TOOLS_PEM_H
#define DERKIT_TOOLS_PEM_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

struct pem_block_t {
    std::string label;    // between "-----BEGIN " and "-----"
    std::size_t line = 0; // of its BEGIN, from 1
    std::string der;
    std::string problem; // why there is no DER; empty when there is
};

// Takes the blocks out of a text one after the other, in linear time.
//
// Text around the blocks, blanks around the lines, any line end (LF, CRLF, CR), a byte order mark and the headers of
// RFC 1421 are passed over. Every other departure spoils its own block and no other: a block without END ends in
// front of the next BEGIN.
class pem_reader_t {
  public:
    explicit pem_reader_t(std::string_view text);

    std::optional<pem_block_t> next();

  private:
    std::string_view rest_;
    std::size_t line_number_ = 0;

    std::optional<std::string_view> next_line();
    std::string read_body(const std::string& label, std::string& base64);
};

#endif
