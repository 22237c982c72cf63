#include "probe_etc_dir.h"

#include <grp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string_view>

#include "platform/system_etc_dir.h"

int num_etc_dir_calls = 0;

namespace {

constexpr unsigned int NOBODY = 65534;

void become_nobody() {
    if (geteuid() != 0) {
        return;
    }
    if (setgroups(0, nullptr) != 0 || setgid(NOBODY) != 0 || setuid(NOBODY) != 0) {
        _exit(PROBE_CANNOT_DROP_ROOT);
    }
    // A leak checker looks into its own process, which a change of user forbids.
    prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
}

void limit_descriptors(rlim_t limit) {
    rlimit limits = {};
    if (getrlimit(RLIMIT_NOFILE, &limits) == 0) {
        limits.rlim_cur = std::min(limit, limits.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limits);
    }
}

[[noreturn]] void throw_what(std::string_view what) {
    if (what == "bad_alloc") {
        throw std::bad_alloc();
    }
    if (what == "int") {
        throw 1;
    }
    throw std::runtime_error("no configuration directory");
}

} // namespace

void allow_descriptors() {
    limit_descriptors(RLIM_INFINITY);
}

std::string systemEtcDir() {
    ++num_etc_dir_calls;
    if (const char* const what = std::getenv(PROBE_THROW)) {
        throw_what(what);
    }
    if (std::getenv(PROBE_DROP_ROOT) != nullptr) {
        become_nobody();
    }
    if (std::getenv(PROBE_NO_DESCRIPTORS) != nullptr) {
        limit_descriptors(0);
    }
    const char* const dir = std::getenv(PROBE_ETC_DIR);
    if (dir == nullptr) {
        std::abort(); // every case of the tests names one
    }
    return dir;
}
