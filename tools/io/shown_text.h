// Text in the form in which the tool shows it.
#ifndef DERKIT_TOOLS_IO_SHOWN_TEXT_H
#define DERKIT_TOOLS_IO_SHOWN_TEXT_H

#include <string>
#include <string_view>

// Text that is safe on a terminal and in JSON: valid UTF-8 without control characters (C0, DEL, C1), bidirectional
// controls and line or paragraph separators. Every byte of such a character, and every byte that is not UTF-8, is
// written as a backslash and two hexadecimal digits. That is an escape of the DN syntax, so a name shown so still
// parses to the same DER.
//
// The console takes text in this type alone, so nothing reaches an output without having passed the constructor.
class shown_text_t {
  public:
    shown_text_t() = default;
    explicit shown_text_t(std::string_view raw);

    const std::string& str() const { return text_; }
    bool operator==(const shown_text_t&) const = default;

  private:
    std::string text_;
};

shown_text_t yes_or_no(bool value);

#endif
