#include "io/input_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "io/failure.h"

namespace {

std::string read_all(std::FILE* stream, const std::string& name) {
    std::string bytes;
    char chunk[65536];
    while (const std::size_t size = std::fread(chunk, 1, sizeof chunk, stream)) {
        if (size > MAX_INPUT_SIZE - bytes.size()) {
            throw failure_t(name, "larger than " + std::to_string(MAX_INPUT_SIZE >> 20) + " MiB");
        }
        bytes.append(chunk, size);
    }
    if (std::ferror(stream) != 0) {
        throw failure_t(name, std::strerror(errno));
    }
    return bytes;
}

} // namespace

std::string input_name(const std::string& file) {
    return file == "-" ? "(standard input)" : file;
}

std::string read_input(const std::string& file) {
    if (file == "-") {
        return read_all(stdin, input_name(file));
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"), std::fclose);
    if (stream == nullptr) {
        throw failure_t(file, std::strerror(errno));
    }
    return read_all(stream.get(), file);
}
