#include "io/progress.h"

#include <cstdio>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

#include "io/shown_text.h"

namespace {

constexpr std::chrono::milliseconds DELAY(500);
constexpr std::chrono::milliseconds INTERVAL(200);
constexpr std::size_t USUAL_WIDTH = 80;

void write_to_terminal(std::string_view text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

std::size_t terminal_width() {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? size.ws_col : USUAL_WIDTH;
}

// A line that filled the terminal would wrap and could not be erased. No character is wider than it has bytes.
std::string cut_to_width(std::string text) {
    const std::size_t room = terminal_width() - 1;
    if (text.size() <= room) {
        return text;
    }
    std::size_t size = room;
    while (size != 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) {
        --size;
    }
    text.resize(size);
    return text;
}

} // namespace

progress_t::progress_t()
    : on_terminal_(isatty(STDERR_FILENO) != 0), with_output_(isatty(STDOUT_FILENO) != 0),
      next_(clock_t::now() + DELAY) {}

void progress_t::update(const std::function<std::string()>& make_text) {
    if (!on_terminal_ || clock_t::now() < next_) {
        return;
    }
    next_ = clock_t::now() + INTERVAL;
    hide();
    line_ = cut_to_width(shown_text_t(make_text()).str());
    draw();
}

void progress_t::hide() {
    if (!line_.empty()) {
        write_to_terminal("\r" + std::string(line_.size(), ' ') + "\r");
        line_.clear();
    }
}

void progress_t::hide_for_output() {
    if (!line_.empty() && with_output_) {
        write_to_terminal("\r" + std::string(line_.size(), ' ') + "\r");
    }
}

void progress_t::show_again() {
    if (!line_.empty() && with_output_) {
        draw();
    }
}

void progress_t::draw() {
    write_to_terminal("\r" + line_);
}
