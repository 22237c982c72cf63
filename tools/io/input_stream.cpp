#include "io/input_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "derkit/asn_reader.h"
#include "io/bytes.h"
#include "io/failure.h"
#include "io/input_file.h"

namespace {

constexpr std::size_t CHUNK_SIZE = 65536;
constexpr std::size_t MAX_HEADER_SIZE = 6; // identifier, and length in at most five octets

int open_input(const std::string& file) {
    const int descriptor = file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw failure_t(file, std::strerror(errno));
    }
    return descriptor;
}

// 0 for pipes and devices.
unsigned long long size_of_file(int descriptor) {
    struct stat status;
    const bool known = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
    return known ? static_cast<unsigned long long>(status.st_size) : 0;
}

} // namespace

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

void input_stream_t::pass(std::size_t size) {
    begin_ += size;
    item_size_ += size;
    passed_ += size;
}

std::optional<unsigned int> input_stream_t::percentage() const {
    if (file_size_ == 0) {
        return std::nullopt;
    }
    return static_cast<unsigned int>(std::min(passed_, file_size_) * 100 / file_size_);
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

// The reader of headers stores the length also when the content is not there yet.
std::string_view look_at_element(input_stream_t& input, unsigned char identifier) {
    const std::string_view start = input.look(MAX_HEADER_SIZE);
    unsigned int content_size = 0;
    asn1_read_tag(static_cast<asn_tag_t::Type>(identifier), octets(start), size_of(start), &content_size);
    return input.look(std::min<std::size_t>(content_size, MAX_INPUT_SIZE) + MAX_HEADER_SIZE);
}

unsigned long long pass_rest(input_stream_t& input) {
    unsigned long long size = 0;
    for (std::size_t more; (more = input.look(1).size()) != 0; size += more) {
        input.pass(more);
    }
    return size;
}

std::string progress_text(unsigned int number, const char* things, const input_stream_t& input) {
    const std::optional<unsigned int> percentage = input.percentage();
    const std::string how_far = percentage.has_value() ? ", " + std::to_string(*percentage) + "% of " : " of ";
    return std::to_string(number) + " " + things + how_far + input.name();
}
