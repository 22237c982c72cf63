// Output files that appear whole or not at all.
#ifndef DERKIT_TOOLS_IO_OUTPUT_H
#define DERKIT_TOOLS_IO_OUTPUT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

enum class secrecy_t { PUBLIC, SECRET };       // mode 0666 less the umask, or 0600
enum class overwriting_t { REFUSED, ALLOWED }; // of an existing file

// Writes a file under a temporary name in its directory and renames it when it is complete, so that a half-written file
// is never seen under its name. Unless commit() succeeded, destruction removes what was written.
class output_file_t {
  public:
    // Throws failure_t.
    output_file_t(const std::string& path, secrecy_t secrecy, overwriting_t overwriting);
    ~output_file_t();
    output_file_t(const output_file_t&) = delete;
    output_file_t& operator=(const output_file_t&) = delete;

    void write(std::string_view bytes); // throws failure_t
    void commit();                      // throws failure_t, also if the file was made meanwhile

  private:
    std::string path_;
    std::string temporary_;
    overwriting_t overwriting_;
    int descriptor_ = -1;
};

// Files of one directory that appear all or none: all are written under temporary names before the first is renamed.
// Unless commit() succeeded, destruction removes what was written, and the directory if this object made it.
class file_set_t {
  public:
    // Makes the directory, for its owner alone, if there is none. Throws failure_t.
    file_set_t(const std::string& directory, overwriting_t overwriting);
    ~file_set_t();
    file_set_t(const file_set_t&) = delete;
    file_set_t& operator=(const file_set_t&) = delete;

    void add(const std::string& name, secrecy_t secrecy, std::string_view bytes); // throws failure_t
    void commit();                                                                // throws failure_t

    // In the order in which they were added.
    const std::vector<std::string>& paths() const { return paths_; }

  private:
    std::string directory_;
    overwriting_t overwriting_;
    bool made_directory_ = false;
    bool committed_ = false;
    std::vector<std::unique_ptr<output_file_t>> files_;
    std::vector<std::string> paths_;
    std::size_t num_named_ = 0; // files that were renamed
};

#endif
