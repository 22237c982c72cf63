// operator new and delete for a whole test program: they count blocks, remember the largest requested one, and fail
// when told to. Include it in one source of a program.
//
// A sanitizer still checks: the blocks come from its malloc(), and these operators replace its own.
#ifndef DERKIT_TESTING_FAILING_ALLOCATOR_H
#define DERKIT_TESTING_FAILING_ALLOCATOR_H

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

// The compiler sees that delete calls free(), but not that new below calls malloc().
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

struct allocator_t {
    static constexpr std::size_t ANY_SIZE = static_cast<std::size_t>(-1);

    bool watching = false;
    std::size_t num_allocations = 0; // while watching
    std::size_t largest = 0;         // while watching, failed ones too
    std::size_t failing = 0;         // the allocation that fails, counted from 1; 0: none
    bool failing_from_there = false; // all after it fail too
    std::size_t max_size = ANY_SIZE; // larger blocks fail while watching
    std::ptrdiff_t num_live = 0;     // always
};
inline allocator_t allocator;

inline bool allocation_fails(std::size_t size) {
    if (!allocator.watching) {
        return false;
    }
    const std::size_t number = ++allocator.num_allocations;
    allocator.largest = std::max(allocator.largest, size);
    const bool chosen = allocator.failing != 0 &&
                        (number == allocator.failing || (allocator.failing_from_there && number > allocator.failing));
    return chosen || size > allocator.max_size;
}

// They may not be inline; a program includes this header in one source.
// NOLINTNEXTLINE(misc-definitions-in-headers): see above
void* operator new(std::size_t size) {
    void* const block = allocation_fails(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++allocator.num_live;
    return block;
}

// NOLINTNEXTLINE(misc-definitions-in-headers): see above
void operator delete(void* block) noexcept {
    allocator.num_live -= block != nullptr ? 1 : 0;
    std::free(block);
}

// NOLINTNEXTLINE(misc-definitions-in-headers): see above
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

// A sanitizer's own array forms would not call these operators.
// NOLINTNEXTLINE(misc-definitions-in-headers): see above
void* operator new[](std::size_t size) {
    return operator new(size);
}

// NOLINTNEXTLINE(misc-definitions-in-headers): see above
void operator delete[](void* block) noexcept {
    operator delete(block);
}

// NOLINTNEXTLINE(misc-definitions-in-headers): see above
void operator delete[](void* block, std::size_t) noexcept {
    operator delete(block);
}

// Watches allocations while it lives, and fails those it is told to.
class watched_allocations_t {
  public:
    explicit watched_allocations_t(std::size_t failing = 0, bool failing_from_there = false,
                                   std::size_t max_size = allocator_t::ANY_SIZE) {
        allocator.num_allocations = 0;
        allocator.largest = 0;
        allocator.failing = failing;
        allocator.failing_from_there = failing_from_there;
        allocator.max_size = max_size;
        allocator.watching = true;
    }
    ~watched_allocations_t() { allocator.watching = false; }
    watched_allocations_t(const watched_allocations_t&) = delete;
    watched_allocations_t& operator=(const watched_allocations_t&) = delete;
};

// Ignores allocations while it lives: for the test's own.
class unwatched_allocations_t {
  public:
    unwatched_allocations_t() : watching_(allocator.watching) { allocator.watching = false; }
    ~unwatched_allocations_t() { allocator.watching = watching_; }
    unwatched_allocations_t(const unwatched_allocations_t&) = delete;
    unwatched_allocations_t& operator=(const unwatched_allocations_t&) = delete;

  private:
    bool watching_;
};

#endif
