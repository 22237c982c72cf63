// Counts or fails the allocations of a call of the catalogue: those of the library, not those around it.
#ifndef DERKIT_TESTING_LIBRARY_ALLOCATIONS_H
#define DERKIT_TESTING_LIBRARY_ALLOCATIONS_H

#include "testing/calls.h"
#include "testing/failing_allocator.h"

class library_allocations_t final : public observer_t {
  public:
    explicit library_allocations_t(std::size_t failing = 0, bool failing_from_there = false) {
        const watched_allocations_t from_now_on(failing, failing_from_there);
    }
    void begin() override { allocator.watching = true; }
    void end() override { allocator.watching = false; }
};

#endif
