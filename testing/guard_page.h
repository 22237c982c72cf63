// Inputs next to a page that may not be touched: a read one octet too far ends the program, on every target and
// whatever the compiler does.
#ifndef DERKIT_TESTING_GUARD_PAGE_H
#define DERKIT_TESTING_GUARD_PAGE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

// A run of pages with a forbidden one on either side.
class guarded_pages_t {
  public:
    explicit guarded_pages_t(std::size_t room = 0x10000)
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), room_((room + page_ - 1) / page_ * page_) {
        void* const mapped =
            mmap(nullptr, room_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (mapped == MAP_FAILED) {
            throw std::runtime_error("no pages");
        }
        base_ = static_cast<unsigned char*>(mapped);
        allow();
    }
    ~guarded_pages_t() { munmap(base_, room_ + 2 * page_); }
    guarded_pages_t(const guarded_pages_t&) = delete;
    guarded_pages_t& operator=(const guarded_pages_t&) = delete;

    unsigned char* begin() const { return base_ + page_; }
    unsigned char* end() const { return begin() + room_; }

    // `size` octets with a forbidden one right after them.
    unsigned char* last(std::size_t size) const {
        if (size > room_) {
            throw std::length_error("more than the pages hold");
        }
        return end() - size;
    }

    // Copies of bytes, right before the second forbidden page and right after the first.
    unsigned char* put_last(std::string_view bytes) const { return put(last(bytes.size()), bytes); }
    unsigned char* put_first(std::string_view bytes) const {
        last(bytes.size());
        return put(begin(), bytes);
    }

    // Forbids what is between the forbidden pages too.
    void forbid() const { protect(PROT_NONE); }
    void allow() const { protect(PROT_READ | PROT_WRITE); }

  private:
    std::size_t page_;
    std::size_t room_;
    unsigned char* base_;

    static unsigned char* put(unsigned char* place, std::string_view bytes) {
        if (!bytes.empty()) {
            std::memcpy(place, bytes.data(), bytes.size());
        }
        return place;
    }

    void protect(int access) const {
        if (mprotect(begin(), room_, access) != 0) {
            throw std::runtime_error("pages keep their protection");
        }
    }
};

#endif
