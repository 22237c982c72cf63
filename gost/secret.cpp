#include "derkit/gost/secret.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace derkit::gost {

namespace {

std::size_t whole_pages(std::size_t size) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (size > static_cast<std::size_t>(-1) - page) {
        throw std::bad_alloc();
    }
    return (size + page - 1) / page * page;
}

unsigned char* map_pages(std::size_t size) {
    void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) {
        throw std::bad_alloc();
    }
    madvise(pages, size, MADV_DONTDUMP); // a kernel without it offers nothing else
    return static_cast<unsigned char*>(pages);
}

} // namespace

void wipe(void* data, std::size_t size) noexcept {
    if (size != 0) {
        explicit_bzero(data, size);
    }
}

bool equal_in_constant_time(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) {
        return false;
    }
    volatile unsigned char difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    }
    return difference == 0;
}

secret::secret(std::size_t size) {
    resize(size);
}

secret::secret(std::string_view octets) {
    append(octets);
}

secret::secret(const secret& other) : secret(other.view()) {}

secret& secret::operator=(const secret& other) {
    if (this != &other) {
        *this = secret(other);
    }
    return *this;
}

secret::secret(secret&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)), locked_(std::exchange(other.locked_, false)) {}

secret& secret::operator=(secret&& other) noexcept {
    secret taken(std::move(other));
    std::swap(data_, taken.data_);
    std::swap(size_, taken.size_);
    std::swap(capacity_, taken.capacity_);
    std::swap(locked_, taken.locked_);
    return *this;
}

secret::~secret() {
    clear();
}

void secret::reserve(std::size_t capacity) {
    if (capacity <= capacity_) {
        return;
    }
    secret larger;
    larger.capacity_ = whole_pages(capacity);
    larger.data_ = map_pages(larger.capacity_);
    larger.locked_ = mlock(larger.data_, larger.capacity_) == 0;
    larger.size_ = size_;
    if (size_ != 0) {
        std::memcpy(larger.data_, data_, size_);
    }
    *this = std::move(larger);
}

void secret::append(std::string_view octets) {
    if (octets.empty()) {
        return;
    }
    const std::size_t new_size = size_ + octets.size();
    if (new_size < size_) {
        throw std::bad_alloc();
    }
    if (new_size <= capacity_) {
        std::memmove(data_ + size_, octets.data(), octets.size());
        size_ = new_size;
        return;
    }
    secret larger;
    larger.reserve(std::max(new_size, 2 * size_)); // appending little by little takes linear time
    larger.append(view());
    larger.append(octets); // before the old octets, which they may be a part of, are released
    *this = std::move(larger);
}

void secret::resize(std::size_t size) {
    reserve(size);
    if (size < size_) {
        wipe(data_ + size, size_ - size);
    }
    size_ = size; // new octets are zero: fresh pages are, and removed octets were wiped
}

void secret::remove_prefix(std::size_t size) noexcept {
    const std::size_t removed = std::min(size, size_);
    if (removed != 0) {
        std::memmove(data_, data_ + removed, size_ - removed);
        wipe(data_ + size_ - removed, removed);
        size_ -= removed;
    }
}

void secret::clear() noexcept {
    if (data_ != nullptr) {
        wipe(data_, size_);
        munmap(data_, capacity_); // unlocks too
    }
    data_ = nullptr;
    size_ = 0;
    capacity_ = 0;
    locked_ = false;
}

} // namespace derkit::gost
