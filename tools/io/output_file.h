// Files that appear whole or not at all.
#ifndef DERKIT_TOOLS_IO_OUTPUT_FILE_H
#define DERKIT_TOOLS_IO_OUTPUT_FILE_H

#include <string>
#include <string_view>

enum class secrecy_t { PUBLIC, SECRET };       // mode 0666 less the umask, or 0600
enum class overwriting_t { REFUSED, ALLOWED }; // what happens to a file that is there

// Writes a file under a temporary name beside its place and then gives it its name, so that nothing half-written is
// ever seen under the name. Unless commit() was reached, destruction removes what was written.
class output_file_t {
  public:
    // Throws failure_t.
    output_file_t(const std::string& path, secrecy_t secrecy, overwriting_t overwriting);
    ~output_file_t();
    output_file_t(const output_file_t&) = delete;
    output_file_t& operator=(const output_file_t&) = delete;

    void write(std::string_view bytes); // throws failure_t
    void commit();                      // throws failure_t, also when the file has come to be there meanwhile

  private:
    std::string path_;
    std::string temporary_;
    overwriting_t overwriting_;
    int descriptor_ = -1;
};

#endif
