// Textual encodings of DER (RFC 7468).
#ifndef DERKIT_TOOLS_FORMATS_PEM_WRITER_H
#define DERKIT_TOOLS_FORMATS_PEM_WRITER_H

#include <string>
#include <string_view>

// A block with its BEGIN and END lines; each line has 64 characters but the last, and ends with LF. The result is
// allocated once, so wiping it leaves no copy behind.
std::string write_pem(std::string_view label, std::string_view der);

#endif
