#include "io/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/failure.h"

namespace {

constexpr mode_t PUBLIC_MODE = 0666; // less the umask
constexpr mode_t SECRET_MODE = 0600;
constexpr mode_t DIRECTORY_MODE = 0700;

[[noreturn]] void fail(const std::string& path) {
    throw failure_t(path, std::strerror(errno));
}

[[noreturn]] void refuse_to_overwrite(const std::string& path) {
    throw failure_t(path, "is there already (--force overwrites it)");
}

// Renaming a new file would replace a device, a directory or a link such as /dev/stdout.
void check_place(const std::string& path, overwriting_t overwriting) {
    struct stat found = {};
    if (lstat(path.c_str(), &found) != 0) {
        return; // making the file will show why
    }
    if (overwriting == overwriting_t::REFUSED) {
        refuse_to_overwrite(path);
    }
    if (!S_ISREG(found.st_mode)) {
        throw failure_t(path, "is not a regular file");
    }
}

// In the same directory, so that it can be renamed, and short: the final name may have the greatest length allowed.
std::string temporary_name(const std::string& path, unsigned int number) {
    const std::size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    return directory + ".derkit-" + std::to_string(getpid()) + "-" + std::to_string(number);
}

// rename() that does not replace a file. Some file systems lack it; most of them have links, which do not either.
int rename_if_free(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    return link(from, to) == 0 ? unlink(from) : -1;
}

} // namespace

output_file_t::output_file_t(const std::string& path, secrecy_t secrecy, overwriting_t overwriting)
    : path_(path), overwriting_(overwriting) {
    check_place(path_, overwriting_);
    const mode_t mode = secrecy == secrecy_t::SECRET ? SECRET_MODE : PUBLIC_MODE;
    for (unsigned int number = 0; descriptor_ < 0; ++number) {
        temporary_ = temporary_name(path_, number);
        descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor_ < 0 && errno != EEXIST) {
            fail(path_);
        }
    }
}

output_file_t::~output_file_t() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

void output_file_t::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t size = ::write(descriptor_, bytes.data(), bytes.size());
        if (size >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            fail(path_);
        }
    }
}

// The content reaches the disk before the name does: a crash leaves the old file or the new one.
void output_file_t::commit() {
    const bool synced = fsync(descriptor_) == 0;
    const int sync_error = errno;
    const bool closed = close(descriptor_) == 0;
    descriptor_ = -1;
    if (!synced || !closed) {
        errno = synced ? errno : sync_error;
        fail(path_);
    }
    const bool refuse = overwriting_ == overwriting_t::REFUSED;
    const int result =
        refuse ? rename_if_free(temporary_.c_str(), path_.c_str()) : std::rename(temporary_.c_str(), path_.c_str());
    if (result != 0 && refuse && errno == EEXIST) {
        refuse_to_overwrite(path_);
    }
    if (result != 0) {
        fail(path_);
    }
    temporary_.clear();
}

file_set_t::file_set_t(const std::string& directory, overwriting_t overwriting)
    : directory_(directory), overwriting_(overwriting) {
    made_directory_ = mkdir(directory_.c_str(), DIRECTORY_MODE) == 0;
    if (!made_directory_ && errno != EEXIST) {
        fail(directory_);
    }
}

file_set_t::~file_set_t() {
    if (committed_) {
        return;
    }
    files_.clear(); // removes the temporary ones
    for (std::size_t i = 0; i < num_named_; ++i) {
        unlink(paths_[i].c_str());
    }
    if (made_directory_) {
        rmdir(directory_.c_str());
    }
}

void file_set_t::add(const std::string& name, secrecy_t secrecy, std::string_view bytes) {
    paths_.push_back(directory_ + (directory_.ends_with('/') ? "" : "/") + name);
    files_.push_back(std::make_unique<output_file_t>(paths_.back(), secrecy, overwriting_));
    files_.back()->write(bytes);
}

void file_set_t::commit() {
    for (const std::unique_ptr<output_file_t>& file : files_) {
        file->commit();
        ++num_named_;
    }
    committed_ = true;
}
