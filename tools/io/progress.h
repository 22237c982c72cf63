// A line on the terminal that tells how far long work is.
#ifndef DERKIT_TOOLS_IO_PROGRESS_H
#define DERKIT_TOOLS_IO_PROGRESS_H

#include <chrono>
#include <functional>
#include <string>

// Written to standard error when that is a terminal, once the work has taken half a second, a few times a second, and
// erased when something else is to be written and when the work ends.
class progress_t {
  public:
    progress_t();
    ~progress_t() { hide(); }
    progress_t(const progress_t&) = delete;
    progress_t& operator=(const progress_t&) = delete;

    // Shows the text if it is time. `make_text` is called only then.
    void update(const std::function<std::string()>& make_text);

    void hide();

    // Around a write to standard output or standard error.
    void hide_for_output();
    void show_again();

  private:
    using clock_t = std::chrono::steady_clock;

    bool on_terminal_;
    bool with_output_; // whether standard output is a terminal too
    clock_t::time_point next_;
    std::string line_; // empty when none is shown

    void draw();
};

#endif
