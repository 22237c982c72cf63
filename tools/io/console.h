// The two outputs of the tool.
#ifndef DERKIT_TOOLS_IO_CONSOLE_H
#define DERKIT_TOOLS_IO_CONSOLE_H

#include <string_view>
#include <system_error>

#include "io/failure.h"
#include "io/progress.h"
#include "io/record.h"
#include "io/shown_text.h"

// Standard output cannot be written: disk full, pipe closed.
struct output_error_t : std::system_error {
    using std::system_error::system_error;
};

// Writes objects to standard output and one line for each problem to standard error.
//
// An object is written in one go and reaches the output before the call returns; when that fails the call throws
// output_error_t. Remembers whether anything failed: that is the exit status.
class console_t {
  public:
    void put(const record_t& record, bool as_json, const shown_text_t& line_prefix = shown_text_t());
    void put(const shown_text_t& line);
    void put_bytes(std::string_view bytes);

    // "derkit: SUBJECT: PROBLEM". The tool goes on but will have failed.
    void fail(const failure_t& failure) { fail(failure.subject, failure.what()); }
    void fail(std::string_view subject, std::string_view problem);

    // "derkit: SUBJECT: warning: REMARK". Not a failure.
    void warn(std::string_view subject, std::string_view remark);

    // Of the work on many objects.
    progress_t& progress() { return progress_; }

    bool failed() const { return failed_; }

  private:
    bool failed_ = false;
    progress_t progress_;
};

#endif
