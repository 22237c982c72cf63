#include "io/console.h"

#include <cerrno>
#include <cstdio>
#include <ctime>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr long long PROGRESS_DELAY_MS = 500;
constexpr long long PROGRESS_INTERVAL_MS = 200;
constexpr std::size_t USUAL_WIDTH = 80;

void write_object(std::string_view object) {
    const bool written =
        std::fwrite(object.data(), 1, object.size(), stdout) == object.size() && std::fflush(stdout) == 0;
    if (!written) {
        throw output_error_t(errno, std::generic_category());
    }
}

// Nothing can be reported when standard error itself fails.
void write_message(std::string_view text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

void complain(std::string_view subject, std::string_view separator, std::string_view text) {
    std::string message(subject);
    message += separator;
    message += text;
    write_message("derkit: " + shown_text_t(message).str() + "\n");
}

long long now_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
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
      next_update_ms_(now_ms() + PROGRESS_DELAY_MS) {}

void progress_t::update(const std::function<std::string()>& make_text) {
    if (!on_terminal_ || now_ms() < next_update_ms_) {
        return;
    }
    next_update_ms_ = now_ms() + PROGRESS_INTERVAL_MS;
    hide();
    line_ = cut_to_width(shown_text_t(make_text()).str());
    draw();
}

void progress_t::hide() {
    if (!line_.empty()) {
        erase();
        line_.clear();
    }
}

void progress_t::hide_for_output() {
    if (!line_.empty() && with_output_) {
        erase();
    }
}

void progress_t::show_again() {
    if (!line_.empty() && with_output_) {
        draw();
    }
}

void progress_t::draw() {
    write_message("\r");
    write_message(line_);
}

void progress_t::erase() {
    write_message("\r");
    write_message(std::string(line_.size(), ' '));
    write_message("\r");
}

void console_t::put(const record_t& record, bool as_json, const shown_text_t& line_prefix) {
    put_bytes(as_json ? record.json() : record.lines(line_prefix));
}

void console_t::put(const shown_text_t& line) {
    put_bytes(line.str() + "\n");
}

void console_t::put_bytes(std::string_view bytes) {
    progress_.hide_for_output();
    write_object(bytes);
    progress_.show_again();
}

void console_t::fail(std::string_view subject, std::string_view problem) {
    failed_ = true;
    progress_.hide();
    complain(subject, ": ", problem);
}

void console_t::warn(std::string_view subject, std::string_view remark) {
    progress_.hide();
    complain(subject, ": warning: ", remark);
}
