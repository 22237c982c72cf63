// Files of one directory that appear all or none.
#ifndef DERKIT_TOOLS_IO_FILE_SET_H
#define DERKIT_TOOLS_IO_FILE_SET_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/output_file.h"

// All are written under temporary names before the first gets its own. Unless commit() was reached, destruction
// removes what was written, and the directory if it was not there before.
class file_set_t {
  public:
    // Makes the directory, for its owner alone, when there is none. Throws failure_t.
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
    std::size_t num_named_ = 0; // files that have their own name
};

#endif
