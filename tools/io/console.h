// The outputs of the tool: objects, messages and a line that shows progress.
#ifndef DERKIT_TOOLS_IO_CONSOLE_H
#define DERKIT_TOOLS_IO_CONSOLE_H

#include <functional>
#include <string>
#include <string_view>
#include <system_error>

#include "io/failure.h"
#include "io/record.h"

// Standard output cannot be written: disk full, pipe closed.
struct output_error_t : std::system_error {
    using std::system_error::system_error;
};

// A line on the terminal that shows how far long work has come.
//
// It is written to standard error if that is a terminal, a few times a second once the work has taken half a second. It
// is erased when something else is to be written and when the work ends.
class progress_t {
  public:
    progress_t();
    ~progress_t() { hide(); }
    progress_t(const progress_t&) = delete;
    progress_t& operator=(const progress_t&) = delete;

    // Shows the text if it is time. `make_text` is called only then.
    void update(const std::function<std::string()>& make_text);

    void hide();

    // Around a write to standard output.
    void hide_for_output();
    void show_again();

  private:
    bool on_terminal_;
    bool with_output_;         // whether standard output is a terminal too
    long long next_update_ms_; // by a clock that is never set back
    std::string line_;         // empty when none is shown

    void draw();
    void erase();
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
