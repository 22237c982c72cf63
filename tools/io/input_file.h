// Files as the tool reads them: whole.
#ifndef DERKIT_TOOLS_IO_INPUT_FILE_H
#define DERKIT_TOOLS_IO_INPUT_FILE_H

#include <cstddef>
#include <string>

// Certificates, their bundles and OID maps are far smaller; a device that never ends must not eat the memory.
constexpr std::size_t MAX_INPUT_SIZE = std::size_t(256) << 20;

// How messages and output name a file: "-" is the standard input.
std::string input_name(const std::string& file);

// The bytes of a file, or of standard input for "-". Throws failure_t.
std::string read_input(const std::string& file);

#endif
