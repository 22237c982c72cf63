// Loaded into the tool before the C library: makes chosen calls that change files fail, or has a signal arrive just
// before them. At the end it reports how often each kind of call was made.
//
// FILE_FAULTS is "KIND NUMBER ACTION", several separated by commas: the NUMBERth call of that kind, 0 for every one,
// fails with errno ACTION or, if that is negative, is preceded by the signal -ACTION. FILE_FAULTS_REPORT is the file of
// the report.
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::array<std::string_view, 9> KINDS = {"mkdir", "unnamed", "create", "write", "sync",
                                                   "link",  "lock",    "rename", "remove"};

std::array<int, KINDS.size()> counts;

struct fault_t {
    std::string kind;
    int number;
    int action;
};

std::vector<fault_t> read_faults() {
    std::vector<fault_t> faults;
    const char* const text = std::getenv("FILE_FAULTS");
    std::istringstream lines(text != nullptr ? text : "");
    for (std::string line; std::getline(lines, line, ',');) {
        fault_t fault;
        std::istringstream(line) >> fault.kind >> fault.number >> fault.action;
        faults.push_back(fault);
    }
    return faults;
}

const std::vector<fault_t>& faults() {
    static const std::vector<fault_t> read = read_faults();
    return read;
}

template <typename FUNCTION> FUNCTION* find_real(const char* name, FUNCTION*) {
    return reinterpret_cast<FUNCTION*>(dlsym(RTLD_NEXT, name));
}

// Whether this call of that kind fails; errno says how.
bool fails(std::string_view kind) {
    std::size_t index = 0;
    while (KINDS[index] != kind) {
        ++index;
    }
    const int number = ++counts[index];
    for (const fault_t& fault : faults()) {
        if (fault.kind == kind && (fault.number == 0 || fault.number == number)) {
            if (fault.action > 0) {
                errno = fault.action;
                return true;
            }
            kill(getpid(), -fault.action);
        }
    }
    return false;
}

bool open_fails(int flags) {
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        return fails("unnamed");
    }
    return (flags & O_CREAT) != 0 && fails("create");
}

bool is_regular_file(int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

struct report_t {
    ~report_t() {
        const char* const path = std::getenv("FILE_FAULTS_REPORT");
        std::FILE* const file = path != nullptr ? std::fopen(path, "w") : nullptr;
        if (file != nullptr) {
            for (std::size_t i = 0; i < KINDS.size(); ++i) {
                std::fprintf(file, "%s %d\n", std::string(KINDS[i]).c_str(), counts[i]);
            }
            std::fclose(file);
        }
    }
} report;

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    static const auto real = find_real("open", &open);
    return open_fails(flags) ? -1 : real(path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    static const auto real = find_real("openat", &openat);
    return open_fails(flags) ? -1 : real(directory, path, flags, mode);
}

int mkdir(const char* path, mode_t mode) noexcept {
    static const auto real = find_real("mkdir", &mkdir);
    return fails("mkdir") ? -1 : real(path, mode);
}

int mkdirat(int directory, const char* path, mode_t mode) noexcept {
    static const auto real = find_real("mkdirat", &mkdirat);
    return fails("mkdir") ? -1 : real(directory, path, mode);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    static const auto real = find_real("write", &write);
    return is_regular_file(descriptor) && fails("write") ? -1 : real(descriptor, bytes, size);
}

// Nothing reaches the disk, which would take the time of a test.
int fsync(int) {
    return fails("sync") ? -1 : 0;
}

int syncfs(int) noexcept {
    return fails("sync") ? -1 : 0;
}

int link(const char* from, const char* to) noexcept {
    static const auto real = find_real("link", &link);
    return fails("link") ? -1 : real(from, to);
}

int linkat(int from_directory, const char* from, int to_directory, const char* to, int flags) noexcept {
    static const auto real = find_real("linkat", &linkat);
    return fails("link") ? -1 : real(from_directory, from, to_directory, to, flags);
}

int lock_file(int descriptor, int operation) noexcept __asm__("flock"); // a type has its name

int lock_file(int descriptor, int operation) noexcept {
    static const auto real = find_real("flock", &lock_file);
    return fails("lock") ? -1 : real(descriptor, operation);
}

int rename(const char* from, const char* to) noexcept {
    static const auto real = find_real("rename", &rename);
    return fails("rename") ? -1 : real(from, to);
}

int renameat(int from_directory, const char* from, int to_directory, const char* to) noexcept {
    static const auto real = find_real("renameat", &renameat);
    return fails("rename") ? -1 : real(from_directory, from, to_directory, to);
}

int renameat2(int from_directory, const char* from, int to_directory, const char* to, unsigned int flags) noexcept {
    static const auto real = find_real("renameat2", &renameat2);
    return fails("rename") ? -1 : real(from_directory, from, to_directory, to, flags);
}

int unlink(const char* path) noexcept {
    static const auto real = find_real("unlink", &unlink);
    return fails("remove") ? -1 : real(path);
}

int unlinkat(int directory, const char* path, int flags) noexcept {
    static const auto real = find_real("unlinkat", &unlinkat);
    return fails("remove") ? -1 : real(directory, path, flags);
}

int rmdir(const char* path) noexcept {
    static const auto real = find_real("rmdir", &rmdir);
    return fails("remove") ? -1 : real(path);
}

} // extern "C"
