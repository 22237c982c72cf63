#include "io/output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

#include "io/bytes.h"
#include "io/failure.h"

namespace {

constexpr mode_t PUBLIC_MODE = 0666; // less the umask
constexpr mode_t SECRET_MODE = 0600;
constexpr mode_t DIRECTORY_MODE = 0700;

// Each of them keeps a descriptor open, of which a process may have as few as 64.
constexpr std::size_t MAX_UNNAMED_FILES = 16;

constexpr int LOCK_INTERVAL_MS = 20;
constexpr int LOCK_INTERVALS_IN_SILENCE = 25; // half a second

[[noreturn]] void fail(const std::string& path) {
    throw failure_t(path, std::strerror(errno));
}

[[noreturn]] void refuse_to_overwrite(const std::string& path) {
    throw failure_t(path, "already exists (--force overwrites it)");
}

std::string join(const std::string& directory, const std::string& name) {
    return directory.empty() || directory.ends_with('/') ? directory + name : directory + "/" + name;
}

const char* to_open(const std::string& directory) {
    return directory.empty() ? "." : directory.c_str();
}

// Replacing a device, a directory or a link such as /dev/stdout is never wanted.
void require_free_name(int directory, const std::string& name, const std::string& path, overwriting_t overwriting) {
    struct stat found = {};
    if (fstatat(directory, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
        return; // creating the file will show why
    }
    if (overwriting == overwriting_t::REFUSED) {
        refuse_to_overwrite(path);
    }
    if (!S_ISREG(found.st_mode)) {
        throw failure_t(path, "is not a regular file");
    }
}

void require_writable_directory(const std::string& path) {
    if (faccessat(AT_FDCWD, to_open(path), W_OK | X_OK, AT_EACCESS) != 0) {
        fail(path.empty() ? "." : path);
    }
}

// The directory that the last part of a path is in.
std::string parent_of(std::string path) {
    path.erase(path.find_last_not_of('/') + 1);
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, std::max<std::size_t>(slash, 1));
}

// So that any number of processes find one at once.
std::string random_name() {
    unsigned char octets[8];
    if (getrandom(octets, sizeof octets, 0) != static_cast<ssize_t>(sizeof octets)) {
        throw failure_t("getrandom", std::strerror(errno));
    }
    return ".derkit-" + to_hex(chars(octets, sizeof octets));
}

std::string link_to(const descriptor_t& file) {
    return "/proc/self/fd/" + std::to_string(file.get());
}

// None if the file system has no such files, or none that could get a name later.
descriptor_t open_unnamed(const descriptor_t& directory, mode_t mode) {
    descriptor_t file(openat(directory.get(), ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, mode));
    return file.is_open() && faccessat(AT_FDCWD, link_to(file).c_str(), F_OK, 0) == 0 ? std::move(file)
                                                                                      : descriptor_t();
}

void write_all(const descriptor_t& file, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t size = write(file.get(), bytes.data(), bytes.size());
        if (size >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            fail(path);
        }
    }
}

ino_t inode_of(const descriptor_t& file, const std::string& path) {
    struct stat found = {};
    if (fstat(file.get(), &found) != 0) {
        fail(path);
    }
    return found.st_ino;
}

// Some file systems do not know the flags.
bool lacks_flags() {
    return errno == EINVAL || errno == ENOSYS;
}

// rename() that does not replace a file. Where there is none, linking does not replace one either; the file has both
// names then.
int rename_if_free(int from_directory, const char* from, int to_directory, const char* to) {
    const int result = renameat2(from_directory, from, to_directory, to, RENAME_NOREPLACE);
    if (result == 0 || !lacks_flags()) {
        return result;
    }
    return linkat(from_directory, from, to_directory, to, 0);
}

} // namespace

file_path_t::file_path_t(const std::string& path) : directory(parent_of(path)), name(path) {
    name.erase(0, path.rfind('/') + 1); // nothing without a slash
    if (name.empty()) {
        throw failure_t(path, "names no file");
    }
}

void require_room_for(const destination_t& destination, const std::vector<std::string>& names) {
    const std::string& path = destination.directory;
    const descriptor_t directory(open(to_open(path), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!directory.is_open() && errno == ENOENT && destination.missing == missing_directory_t::CREATED) {
        return require_writable_directory(parent_of(path));
    }
    if (!directory.is_open()) {
        fail(path);
    }
    for (const std::string& name : names) {
        require_free_name(directory.get(), name, join(path, name), destination.overwriting);
    }
    require_writable_directory(path);
}

file_set_t::file_set_t(const destination_t& destination)
    : signals_({SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO, SIGPWR,
                SIGSTKFLT}),
      path_(destination.directory), overwriting_(destination.overwriting) {
    if (destination.missing == missing_directory_t::CREATED) {
        created_directory_ = mkdir(path_.c_str(), DIRECTORY_MODE) == 0;
        if (!created_directory_ && errno != EEXIST) {
            fail(path_);
        }
    }
    directory_ = descriptor_t(open(to_open(path_), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory_.is_open()) {
        const int error = errno;
        remove_created_directory();
        errno = error;
        fail(path_);
    }
}

file_set_t::~file_set_t() {
    if (!kept_) {
        take_back();
        remove_staging_directory();
        remove_created_directory();
    }
}

void file_set_t::add(const std::string& name, secrecy_t secrecy, std::string_view bytes) {
    signals_.check();
    const std::string path = join(path_, name);
    require_free_name(directory_.get(), name, path, overwriting_);
    file_t& file = files_.emplace_back();
    file.name = name;
    file.staged = std::to_string(files_.size());
    descriptor_t opened = create(file, secrecy == secrecy_t::SECRET ? SECRET_MODE : PUBLIC_MODE);
    const descriptor_t& written = file.unnamed.is_open() ? file.unnamed : opened;
    write_all(written, bytes, path);
    file.inode = inode_of(written, path);
}

// Returns the descriptor unless the file keeps it.
descriptor_t file_set_t::create(file_t& file, mode_t mode) {
    if (files_.size() <= MAX_UNNAMED_FILES) {
        file.unnamed = open_unnamed(directory_, mode);
        if (file.unnamed.is_open()) {
            return {};
        }
    }
    create_staging_directory();
    descriptor_t created(openat(staging_.get(), file.staged.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!created.is_open()) {
        fail(path_of(file));
    }
    return created;
}

void file_set_t::create_staging_directory() {
    if (staging_.is_open()) {
        return;
    }
    const std::string name = random_name();
    if (mkdirat(directory_.get(), name.c_str(), DIRECTORY_MODE) != 0) {
        fail(path_);
    }
    staging_name_ = name;
    staging_ = descriptor_t(openat(directory_.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!staging_.is_open()) {
        fail(path_);
    }
}

void file_set_t::name_in_staging_directory(file_t& file) {
    create_staging_directory();
    const int result =
        linkat(AT_FDCWD, link_to(file.unnamed).c_str(), staging_.get(), file.staged.c_str(), AT_SYMLINK_FOLLOW);
    if (result != 0) {
        fail(path_of(file));
    }
    file.unnamed = descriptor_t();
}

// Without it, two sets that are placed at the same time could be mixed.
void file_set_t::wait_for_lock(console_t& console) {
    for (int num_intervals = 0; flock(directory_.get(), LOCK_EX | LOCK_NB) != 0; ++num_intervals) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            fail(path_);
        }
        if (num_intervals == LOCK_INTERVALS_IN_SILENCE) {
            console.warn(path_.empty() ? "." : path_, "waiting for another program that puts files there");
        }
        signals_.pause(LOCK_INTERVAL_MS);
    }
}

void file_set_t::place(console_t& console) {
    try {
        place_all(console);
    } catch (const failure_t& failure) {
        const bool restored = take_back();
        if (restored && remove_staging_directory()) {
            throw;
        }
        const char* const left = restored ? "; cannot be removed: " : "; the files that were there before are in ";
        throw failure_t(failure.subject, failure.what() + (left + join(path_, staging_name_)));
    }
}

void file_set_t::place_all(console_t& console) {
    sync_files();
    for (file_t& file : files_) {
        if (file.unnamed.is_open()) {
            name_in_staging_directory(file);
        }
    }
    wait_for_lock(console);
    for (file_t& file : files_) {
        signals_.check();
        place(file);
    }
    sync_directory();
}

// Many files at once: one by one, the disk would take milliseconds for each.
void file_set_t::sync_files() {
    if (staging_.is_open() && syncfs(staging_.get()) != 0) {
        fail(join(path_, staging_name_));
    }
    for (const file_t& file : files_) {
        if (file.unnamed.is_open() && fsync(file.unnamed.get()) != 0) {
            fail(path_of(file));
        }
    }
}

void file_set_t::place(file_t& file) {
    if (rename_if_free(staging_.get(), file.staged.c_str(), directory_.get(), file.name.c_str()) == 0) {
        file.state = state_t::ADDED;
        return;
    }
    if (errno != EEXIST) {
        fail(path_of(file));
    }
    if (overwriting_ == overwriting_t::REFUSED) {
        refuse_to_overwrite(path_of(file));
    }
    exchange(file);
}

// The new file takes the place of the old one, which takes its place in the staging directory.
void file_set_t::exchange(file_t& file) {
    const int from = staging_.get();
    const int to = directory_.get();
    int result = renameat2(from, file.staged.c_str(), to, file.name.c_str(), RENAME_EXCHANGE);
    if (result == 0) {
        file.state = state_t::REPLACED;
        return;
    }
    if (!lacks_flags()) {
        fail(path_of(file));
    }
    const std::string written = std::exchange(file.staged, file.staged + ".old");
    result = renameat(to, file.name.c_str(), from, file.staged.c_str());
    if (result == 0) {
        file.state = state_t::REPLACED;
        result = renameat(from, written.c_str(), to, file.name.c_str());
    }
    if (result != 0) {
        const int error = errno;
        unlinkat(from, written.c_str(), 0);
        errno = error;
        fail(path_of(file));
    }
}

// Then a crash leaves the names in place. Some file systems cannot synchronise a directory.
void file_set_t::sync_directory() {
    if (fsync(directory_.get()) != 0 && errno != EINVAL) {
        fail(path_.empty() ? "." : path_);
    }
    if (created_directory_) {
        const descriptor_t parent(openat(directory_.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (parent.is_open() && fsync(parent.get()) != 0 && errno != EINVAL) {
            fail(path_);
        }
    }
}

void file_set_t::keep() {
    kept_ = true;
    if (!remove_staging_directory()) {
        fail(join(path_, staging_name_));
    }
}

// Returns false if a file that was replaced could not be put back; it stays in the staging directory then.
bool file_set_t::take_back() noexcept {
    bool done = true;
    for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
        done = take_back(*file) && done;
    }
    return done;
}

// A file of another program keeps the name; the one that it replaced stays in the staging directory.
bool file_set_t::take_back(file_t& file) noexcept {
    if (file.state != state_t::WRITTEN && !has_its_name(file)) {
        return file.state == state_t::ADDED;
    }
    int result = 0;
    if (file.state == state_t::ADDED) {
        result = unlinkat(directory_.get(), file.name.c_str(), 0);
    } else if (file.state == state_t::REPLACED) {
        result = renameat(staging_.get(), file.staged.c_str(), directory_.get(), file.name.c_str());
    }
    if (result == 0) {
        file.state = state_t::WRITTEN;
    }
    return result == 0;
}

bool file_set_t::has_its_name(const file_t& file) const noexcept {
    struct stat found = {};
    return fstatat(directory_.get(), file.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 && found.st_ino == file.inode;
}

// Keeps files that could not be put back.
bool file_set_t::remove_staging_directory() noexcept {
    if (staging_name_.empty()) {
        return true;
    }
    for (const file_t& file : files_) {
        if (kept_ || file.state != state_t::REPLACED) {
            unlinkat(staging_.get(), file.staged.c_str(), 0);
        }
    }
    return unlinkat(directory_.get(), staging_name_.c_str(), AT_REMOVEDIR) == 0;
}

void file_set_t::remove_created_directory() noexcept {
    if (created_directory_) {
        rmdir(path_.c_str());
    }
}

std::vector<std::string> file_set_t::paths() const {
    std::vector<std::string> paths;
    std::ranges::transform(files_, std::back_inserter(paths), [this](const file_t& file) { return path_of(file); });
    return paths;
}

std::string file_set_t::path_of(const file_t& file) const {
    return join(path_, file.name);
}
