#include "io/held_signals.h"

#include <cerrno>
#include <system_error>

#include <poll.h>
#include <sys/signalfd.h>

namespace {

// A blocked signal becomes pending even if it is ignored.
bool is_ignored(int number) {
    struct sigaction action = {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

held_signals_t::held_signals_t(std::initializer_list<int> numbers) {
    sigset_t held;
    sigemptyset(&held);
    for (const int number : numbers) {
        if (!is_ignored(number)) {
            sigaddset(&held, number);
        }
    }
    arrivals_ = descriptor_t(signalfd(-1, &held, SFD_CLOEXEC));
    if (!arrivals_.is_open()) {
        throw std::system_error(errno, std::generic_category(), "signals");
    }
    sigprocmask(SIG_BLOCK, &held, &before_);
}

held_signals_t::~held_signals_t() {
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void held_signals_t::check() const {
    pause(0);
}

void held_signals_t::wait_for_input(int descriptor) const {
    wait(descriptor, POLLIN, -1);
}

void held_signals_t::wait_for_room(int descriptor) const {
    wait(descriptor, POLLOUT, -1);
}

void held_signals_t::pause(int milliseconds) const {
    wait(-1, 0, milliseconds);
}

void held_signals_t::wait(int descriptor, short events, int milliseconds) const {
    pollfd waiting[] = {{descriptor, events, 0}, {arrivals_.get(), POLLIN, 0}};
    while (poll(waiting, 2, milliseconds) < 0 && errno == EINTR) {
    }
    if (waiting[1].revents != 0) {
        throw interrupted_t();
    }
}
