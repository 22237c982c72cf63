// Bytes that are wiped when they are no longer needed.
#ifndef DERKIT_TOOLS_IO_SECRET_H
#define DERKIT_TOOLS_IO_SECRET_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

// Overwrites bytes in a way that the compiler keeps.
inline void wipe(void* bytes, std::size_t size) {
    explicit_bzero(bytes, size);
}

// A buffer of fixed size that wipes itself. It does not grow, so it leaves no copy of its content in freed memory.
class secret_t {
  public:
    explicit secret_t(std::size_t size) : bytes_(new unsigned char[size]()), size_(size) {}
    explicit secret_t(std::string_view text) : secret_t(text.size()) {
        if (!text.empty()) {
            std::memcpy(bytes_.get(), text.data(), text.size());
        }
    }
    ~secret_t() {
        if (bytes_ != nullptr) {
            wipe(bytes_.get(), size_);
        }
    }
    secret_t(secret_t&&) = default;
    secret_t& operator=(secret_t&&) = delete;
    secret_t(const secret_t&) = delete;
    secret_t& operator=(const secret_t&) = delete;

    unsigned char* data() { return bytes_.get(); }
    const unsigned char* data() const { return bytes_.get(); }
    std::size_t size() const { return size_; }
    std::string_view text() const { return std::string_view(reinterpret_cast<const char*>(data()), size_); }

  private:
    std::unique_ptr<unsigned char[]> bytes_;
    std::size_t size_;
};

// Wipes a string when the scope ends, but no copies that the string left in freed memory when it grew.
class wipe_at_end_t {
  public:
    explicit wipe_at_end_t(std::string& text) : text_(text) {}
    ~wipe_at_end_t() { wipe(text_.data(), text_.size()); }
    wipe_at_end_t(const wipe_at_end_t&) = delete;
    wipe_at_end_t& operator=(const wipe_at_end_t&) = delete;

  private:
    std::string& text_;
};

#endif
