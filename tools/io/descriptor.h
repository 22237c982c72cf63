// File descriptors that close themselves.
#ifndef DERKIT_TOOLS_IO_DESCRIPTOR_H
#define DERKIT_TOOLS_IO_DESCRIPTOR_H

#include <utility>

#include <unistd.h>

class descriptor_t {
  public:
    descriptor_t() = default;
    explicit descriptor_t(int number) : number_(number) {} // negative: none is open
    descriptor_t(descriptor_t&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor_t& operator=(descriptor_t&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    descriptor_t(const descriptor_t&) = delete;
    descriptor_t& operator=(const descriptor_t&) = delete;
    ~descriptor_t() {
        if (is_open()) {
            close(number_);
        }
    }

    int get() const { return number_; }
    bool is_open() const { return number_ >= 0; }

  private:
    int number_ = -1;
};

#endif
