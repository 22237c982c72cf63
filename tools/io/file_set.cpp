#include "io/file_set.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "io/failure.h"

namespace {

constexpr mode_t DIRECTORY_MODE = 0700;

} // namespace

file_set_t::file_set_t(const std::string& directory, overwriting_t overwriting)
    : directory_(directory), overwriting_(overwriting) {
    made_directory_ = mkdir(directory_.c_str(), DIRECTORY_MODE) == 0;
    if (!made_directory_ && errno != EEXIST) {
        throw failure_t(directory_, std::strerror(errno));
    }
}

file_set_t::~file_set_t() {
    if (committed_) {
        return;
    }
    files_.clear(); // what has a temporary name is gone with that
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
