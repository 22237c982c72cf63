#include "io/console.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr long long PROGRESS_DELAY_MS = 500;
constexpr long long PROGRESS_INTERVAL_MS = 200;
constexpr std::size_t USUAL_WIDTH = 80;

// Without a buffer, which would keep a copy of a private key.
void write_object(std::string_view object) {
    while (!object.empty()) {
        const ssize_t size = write(STDOUT_FILENO, object.data(), object.size());
        if (size >= 0) {
            object.remove_prefix(static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            throw output_error_t(errno, std::generic_category());
        }
    }
}

// Nothing can be reported when standard error itself fails.
void write_message(std::string_view text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

constexpr const char* BOLD = "\x1b[1m";
constexpr const char* YELLOW = "\x1b[33m";
constexpr const char* PLAIN = "\x1b[0m";

std::string in_color(const char* color, const std::string& text, bool colors) {
    return colors ? color + text + PLAIN : text;
}

// https://no-color.org
bool allows_color(int descriptor) {
    const char* const no_color = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool is_dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return (no_color == nullptr || *no_color == '\0') && !is_dumb && isatty(descriptor) != 0;
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

// What a signal that ends the program erases.
volatile std::sig_atomic_t shown_width = 0;

void write_octet(char octet) {
    static_cast<void>(!write(STDERR_FILENO, &octet, 1));
}

// Does only what a handler may do. The signal then acts as it would without a handler.
void erase_and_end(int number) {
    if (const int width = shown_width; width != 0) {
        write_octet('\r');
        for (int i = 0; i < width; ++i) {
            write_octet(' ');
        }
        write_octet('\r');
    }
    static_cast<void>(raise(number));
}

// Signals that are ignored stay so.
void erase_on_signals() {
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_handler = erase_and_end;
            action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
            sigaction(number, &action, nullptr);
        }
    }
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
    erase_on_signals();
    shown_width = static_cast<int>(line_.size());
    write_message("\r");
    write_message(line_);
}

void progress_t::erase() {
    write_message("\r");
    write_message(std::string(line_.size(), ' '));
    write_message("\r");
    shown_width = 0;
}

void console_t::set_colors(colors_t colors) {
    const bool is_automatic = colors == colors_t::AUTOMATIC;
    colors_on_output_ = is_automatic ? allows_color(STDOUT_FILENO) : colors == colors_t::ALWAYS;
    colors_on_errors_ = is_automatic ? allows_color(STDERR_FILENO) : colors == colors_t::ALWAYS;
}

void console_t::put(const record_t& record, bool as_json) {
    if (as_json) {
        return put_bytes(record.json());
    }
    object_t object = {in_color(BOLD, record.heading().str(), colors_on_output_), record.lines()};
    if (!any_object_ && !several_expected_) {
        first_object_ = std::move(object);
    } else {
        put_bytes((any_object_ ? "\n" : "") + object.heading + "\n" + object.lines);
    }
    any_object_ = true;
}

void console_t::begin(const record_t& object, bool may_be_alone) {
    if (!may_be_alone || any_object_ || several_expected_) {
        const std::string heading = in_color(BOLD, object.heading().str(), colors_on_output_);
        put_bytes((any_object_ ? "\n" : "") + heading + "\n");
    }
    any_object_ = true;
}

void console_t::put(const shown_text_t& line) {
    put_bytes(line.str() + "\n");
}

void console_t::put_bytes(std::string_view bytes) {
    release_first_object();
    write_beside_progress(bytes);
}

void console_t::fail(std::string_view subject, std::string_view problem) {
    failed_ = true;
    complain(subject, "", problem);
}

void console_t::warn(std::string_view subject, std::string_view remark) {
    complain(subject, in_color(YELLOW, "warning: ", colors_on_errors_), remark);
}

void console_t::finish() {
    if (const std::optional<object_t> object = std::exchange(first_object_, std::nullopt)) {
        write_beside_progress(object->lines);
    }
}

// Something follows it.
void console_t::release_first_object() {
    if (const std::optional<object_t> object = std::exchange(first_object_, std::nullopt)) {
        write_beside_progress(object->heading + "\n" + object->lines);
    }
}

void console_t::write_beside_progress(std::string_view bytes) {
    progress_.hide_for_output();
    write_object(bytes);
    progress_.show_again();
}

void console_t::complain(std::string_view subject, const std::string& kind, std::string_view text) {
    release_first_object();
    progress_.hide();
    write_message("derkit: " + shown_text_t(subject).str() + ": " + kind + shown_text_t(text).str() + "\n");
}
