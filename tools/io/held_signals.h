// Signals held back while the program must not end.
#ifndef DERKIT_TOOLS_IO_HELD_SIGNALS_H
#define DERKIT_TOOLS_IO_HELD_SIGNALS_H

#include <csignal>
#include <initializer_list>

#include "io/descriptor.h"

// A held signal has arrived. Whoever holds it cleans up and releases it, which usually ends the program; if it does
// not, the work was given up all the same.
struct interrupted_t {};

// Blocks signals until it is destroyed, which delivers those that arrived. Ignored signals stay ignored.
class held_signals_t {
  public:
    explicit held_signals_t(std::initializer_list<int> numbers);
    ~held_signals_t();
    held_signals_t(const held_signals_t&) = delete;
    held_signals_t& operator=(const held_signals_t&) = delete;

    // All throw interrupted_t if a held signal has arrived or does so while they wait.
    void check() const;
    void wait_for_input(int descriptor) const;
    void wait_for_room(int descriptor) const; // to write
    void pause(int milliseconds) const;

  private:
    sigset_t before_;
    descriptor_t arrivals_;

    void wait(int descriptor, short events, int milliseconds) const;
};

#endif
