#include "io/input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/failure.h"

namespace {

constexpr std::size_t CHUNK_SIZE = 65536;

int open_input(const std::string& file) {
    return file == "-" ? STDIN_FILENO : open_to_read(file);
}

// 0 for pipes and devices.
unsigned long long size_of_file(int descriptor) {
    struct stat status;
    const bool known = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
    return known ? static_cast<unsigned long long>(status.st_size) : 0;
}

} // namespace

int open_to_read(const std::string& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw failure_t(file, std::strerror(errno));
    }
    return descriptor;
}

std::string input_name(const std::string& file) {
    return file == "-" ? "(standard input)" : file;
}

std::string read_input(const std::string& file) {
    return input_stream_t(file).take_all();
}

std::string read_filled_input(const std::string& file) {
    std::string bytes = read_input(file);
    if (bytes.empty()) {
        throw failure_t(input_name(file), "is empty");
    }
    return bytes;
}

input_stream_t::input_stream_t(const std::string& file)
    : name_(input_name(file)), descriptor_(open_input(file)), file_size_(size_of_file(descriptor_)) {}

input_stream_t::~input_stream_t() {
    if (descriptor_ != STDIN_FILENO) {
        close(descriptor_);
    }
}

std::string_view input_stream_t::look(std::size_t wanted) {
    while (buffer_.size() - begin_ < wanted && !at_end_) {
        read_more();
    }
    return std::string_view(buffer_).substr(begin_);
}

std::string input_stream_t::take_all() {
    look(std::numeric_limits<std::size_t>::max());
    return std::move(buffer_);
}

void input_stream_t::pass(std::size_t size) {
    begin_ += size;
    item_size_ += size;
    passed_ += size;
}

unsigned long long input_stream_t::pass_rest() {
    unsigned long long size = 0;
    for (std::size_t more; (more = look(1).size()) != 0; size += more) {
        pass(more);
    }
    return size;
}

std::string input_stream_t::progress_text(unsigned int number, const char* things) const {
    std::string text = std::to_string(number) + " " + things;
    if (file_size_ != 0) {
        text += ", " + std::to_string(std::min(passed_, file_size_) * 100 / file_size_) + "%";
    }
    return text + " of " + name_;
}

void input_stream_t::read_more() {
    buffer_.erase(0, begin_);
    begin_ = 0;
    if (item_size_ + buffer_.size() > MAX_INPUT_SIZE) {
        throw failure_t(name_, "larger than " + std::to_string(MAX_INPUT_SIZE >> 20) + " MiB");
    }
    const std::size_t old_size = buffer_.size();
    buffer_.resize(old_size + CHUNK_SIZE);
    ssize_t num_read;
    do {
        num_read = read(descriptor_, buffer_.data() + old_size, CHUNK_SIZE);
    } while (num_read < 0 && errno == EINTR);
    buffer_.resize(old_size + static_cast<std::size_t>(std::max<ssize_t>(num_read, 0)));
    if (num_read < 0) {
        throw failure_t(name_, std::strerror(errno));
    }
    at_end_ = num_read == 0;
}
