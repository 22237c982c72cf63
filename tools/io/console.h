// The outputs of the tool: objects, messages and a line that shows progress.
#ifndef DERKIT_TOOLS_IO_CONSOLE_H
#define DERKIT_TOOLS_IO_CONSOLE_H

#include <functional>
#include <optional>
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

enum class colors_t { AUTOMATIC, ALWAYS, NEVER };

// Writes objects to standard output and one line for each problem to standard error.
//
// An object is written in one go and reaches the output before the call returns; when that fails the call throws
// output_error_t. The first object as text waits until it is known whether anything follows it, since one that is alone
// has no heading. Remembers whether anything failed: that is the exit status.
class console_t {
  public:
    console_t() { set_colors(colors_t::AUTOMATIC); }

    // Automatic: on a terminal, unless NO_COLOR is set.
    void set_colors(colors_t colors);

    // Objects will come of several files: each has a heading, even if it is the only one.
    void expect_several() { several_expected_ = true; }

    // As text, every object has a heading and objects have an empty line between them, unless there is only one.
    void put(const record_t& record, bool as_json);
    void put(const shown_text_t& line);

    // Begins an object as text that is written in pieces, with put_bytes(): its heading, unless it may be the only one.
    void begin(const record_t& object, bool may_be_alone);

    void put_bytes(std::string_view bytes);

    // "derkit: SUBJECT: PROBLEM". The tool goes on but will have failed.
    void fail(const failure_t& failure) { fail(failure.subject, failure.what()); }
    void fail(std::string_view subject, std::string_view problem);

    // "derkit: SUBJECT: warning: REMARK". Not a failure.
    void warn(std::string_view subject, std::string_view remark);

    // Nothing more will follow.
    void finish();

    // Of the work on many objects.
    progress_t& progress() { return progress_; }

    bool failed() const { return failed_; }

  private:
    struct object_t {
        std::string heading;
        std::string lines;
    };

    bool failed_ = false;
    bool colors_on_output_ = false;
    bool colors_on_errors_ = false;
    bool several_expected_ = false;
    bool any_object_ = false; // as text
    std::optional<object_t> first_object_;
    progress_t progress_;

    void release_first_object();
    void write_beside_progress(std::string_view bytes);
    void complain(std::string_view subject, const std::string& kind, std::string_view text);
};

#endif
