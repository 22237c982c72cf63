// Output files that appear all or none.
#ifndef DERKIT_TOOLS_IO_OUTPUT_H
#define DERKIT_TOOLS_IO_OUTPUT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "io/console.h"
#include "io/descriptor.h"
#include "io/held_signals.h"

enum class secrecy_t { PUBLIC, SECRET };             // mode 0666 less the umask, or 0600
enum class overwriting_t { REFUSED, ALLOWED };       // of existing files
enum class missing_directory_t { REFUSED, CREATED }; // for its owner alone

// Where files go. An empty directory is the current one.
struct destination_t {
    std::string directory;
    missing_directory_t missing = missing_directory_t::REFUSED;
    overwriting_t overwriting = overwriting_t::REFUSED;
};

// A path, taken apart at its last slash. Throws failure_t if it names no file.
struct file_path_t {
    std::string directory;
    std::string name;

    explicit file_path_t(const std::string& path);
};

// Checks that files of these names can be created, as far as this can be told without creating them. Throws failure_t.
void require_room_for(const destination_t& destination, const std::vector<std::string>& names);

// Files of one directory that appear all or none.
//
// All of them are complete and on the disk before the first one gets its name: the first few without any name, which
// leaves nothing behind however the program ends, the others in a subdirectory that is removed at the end. Files that
// are overwritten are kept there until keep(). Unless that was called, destruction puts everything back as it was, but
// for names that another program has meanwhile given to a file of its own.
//
// Signals that would end the program are held meanwhile; add() and place() throw interrupted_t when one arrives.
class file_set_t {
  public:
    // Creates the directory if it is missing and may be created. Throws failure_t.
    explicit file_set_t(const destination_t& destination);
    ~file_set_t();
    file_set_t(const file_set_t&) = delete;
    file_set_t& operator=(const file_set_t&) = delete;

    // Throws failure_t, also if a file of that name exists and may not be overwritten.
    void add(const std::string& name, secrecy_t secrecy, std::string_view bytes);

    // Gives all files their names, one process at a time in each directory: a warning says that it waits for another
    // one. Throws failure_t after having put everything back.
    void place(console_t& console);

    // After place(): makes it final. Throws failure_t if files that were overwritten cannot be removed.
    void keep();

    // In the order in which they were added.
    std::vector<std::string> paths() const;

    const held_signals_t& signals() const { return signals_; }

  private:
    enum class state_t { WRITTEN, ADDED, REPLACED };

    struct file_t {
        std::string name;
        std::string staged;   // its name in the staging directory, or that of the file that it replaced
        descriptor_t unnamed; // open while the file has no name
        ino_t inode = 0;
        state_t state = state_t::WRITTEN;
    };

    held_signals_t signals_; // released last
    std::string path_;       // of the directory
    overwriting_t overwriting_;
    bool created_directory_ = false;
    bool kept_ = false;
    descriptor_t directory_;
    std::string staging_name_; // empty: there is none
    descriptor_t staging_;
    std::vector<file_t> files_;

    descriptor_t create(file_t& file, mode_t mode);
    void create_staging_directory();
    void name_in_staging_directory(file_t& file);
    void wait_for_lock(console_t& console);
    void place_all(console_t& console);
    void sync_files();
    void place(file_t& file);
    void exchange(file_t& file);
    void sync_directory();
    bool take_back() noexcept;
    bool take_back(file_t& file) noexcept;
    bool has_its_name(const file_t& file) const noexcept;
    bool remove_staging_directory() noexcept;
    void remove_created_directory() noexcept;
    std::string path_of(const file_t& file) const;
};

#endif
