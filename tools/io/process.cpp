#include "io/process.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "io/failure.h"

namespace {

constexpr const char* NOTHING = "/dev/null";

// Opens a closed stream in the direction in which nobody uses it. The lowest free descriptor is the one that is taken.
void reserve(int stream, int unusable_mode) {
    const bool is_closed = fcntl(stream, F_GETFD) < 0 && errno == EBADF;
    if (is_closed && open(NOTHING, unusable_mode) != stream) {
        throw failure_t(NOTHING, std::strerror(errno));
    }
}

void forbid_core_dumps() {
    const rlimit none = {0, 0};
    if (setrlimit(RLIMIT_CORE, &none) != 0 || prctl(PR_SET_DUMPABLE, 0) != 0) {
        throw failure_t("core dumps", std::strerror(errno));
    }
}

} // namespace

void prepare_process() {
    reserve(STDIN_FILENO, O_WRONLY);
    reserve(STDOUT_FILENO, O_RDONLY);
    reserve(STDERR_FILENO, O_RDONLY);
    forbid_core_dumps();
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}
