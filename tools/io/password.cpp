#include "io/password.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include "io/descriptor.h"
#include "io/failure.h"
#include "io/held_signals.h"
#include "io/input.h"
#include "io/record.h"

namespace {

// The longest line of a terminal.
constexpr std::size_t MAX_PASSWORD_SIZE = 4095;

constexpr const char* TERMINAL = "/dev/tty";

// Called before every octet that is read.
using wait_t = std::function<void()>;

void never_wait() {}

// Unbuffered, since a buffer would keep a copy. Returns false at the end.
bool read_octet(int descriptor, unsigned char& out, const std::string& subject) {
    for (;;) {
        const ssize_t size = read(descriptor, &out, 1);
        if (size >= 0) {
            return size != 0;
        }
        if (errno != EINTR) {
            throw failure_t(subject, std::strerror(errno));
        }
    }
}

// A line without its end (LF or CRLF); nothing if there is not even an empty one.
std::optional<secret_t> read_line(int descriptor, const std::string& subject, const wait_t& wait) {
    secret_t buffer(BYTE_ORDER_MARK.size() + MAX_PASSWORD_SIZE + std::string_view("\r\n").size());
    std::size_t size = 0;
    bool ended = false;
    while (!ended && size < buffer.size()) {
        wait();
        if (!read_octet(descriptor, buffer.data()[size], subject)) {
            break;
        }
        ended = buffer.data()[size] == '\n';
        ++size;
    }
    std::string_view line = buffer.text().substr(0, size);
    if (line.empty()) {
        return std::nullopt;
    }
    if (ended) {
        line.remove_suffix(line.ends_with("\r\n") ? 2 : 1);
    }
    line = without_byte_order_mark(line);
    if (line.size() > MAX_PASSWORD_SIZE) {
        throw failure_t(subject, "a password has at most " + std::to_string(MAX_PASSWORD_SIZE) + " bytes");
    }
    return secret_t(line);
}

secret_t read_first_line(int descriptor, const std::string& subject, const wait_t& wait = never_wait) {
    std::optional<secret_t> line = read_line(descriptor, subject, wait);
    if (!line.has_value()) {
        throw failure_t(subject, "has no line with a password, not even an empty one");
    }
    return std::move(*line);
}

// A terminal that does not show what is typed.
class silence_t {
  public:
    explicit silence_t(int terminal) : terminal_(terminal) {
        if (tcgetattr(terminal_, &before_) != 0) {
            throw failure_t(TERMINAL, std::strerror(errno));
        }
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
        if (tcsetattr(terminal_, TCSAFLUSH, &silent) != 0) {
            throw failure_t(TERMINAL, std::strerror(errno));
        }
    }
    // Drops what was typed and not read: it may be half a password.
    ~silence_t() { tcsetattr(terminal_, TCSAFLUSH, &before_); }
    silence_t(const silence_t&) = delete;
    silence_t& operator=(const silence_t&) = delete;

  private:
    int terminal_;
    termios before_;
};

// A prompt that cannot be shown is no reason to stop.
void show(int terminal, const std::string& text) {
    static_cast<void>(!write(terminal, text.data(), text.size()));
}

// Nothing if a signal came instead. No signal may end the program while the terminal does not show what is typed.
std::optional<secret_t> ask_once(int terminal, const std::string& prompt) {
    const held_signals_t signals({SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP});
    const silence_t silence(terminal);
    show(terminal, prompt);
    std::optional<secret_t> answer;
    try {
        answer.emplace(read_first_line(terminal, TERMINAL, [&] { signals.wait_for_input(terminal); }));
    } catch (const interrupted_t&) { // after the terminal is restored
    }
    show(terminal, "\n"); // the typed one was not shown
    return answer;
}

} // namespace

secret_t read_password_from_file(const std::string& file) {
    const descriptor_t opened(open_to_read(file));
    return read_first_line(opened.get(), file);
}

void require_readable(const std::string& file) {
    if (faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
        throw failure_t(file, std::strerror(errno));
    }
}

void require_variable(const std::string& name) {
    if (std::getenv(name.c_str()) == nullptr) {
        throw failure_t(name, "no such variable in the environment");
    }
}

secret_t read_password_from_variable(const std::string& name) {
    require_variable(name);
    return secret_t(std::string_view(std::getenv(name.c_str())));
}

secret_t read_password_from_stdin() {
    return read_first_line(STDIN_FILENO, "(standard input)");
}

// A signal may have stopped the program only for a while, or be ignored: then it asks again.
secret_t ask_for_password(const std::string& what_for) {
    const descriptor_t terminal(open(TERMINAL, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!terminal.is_open()) {
        throw failure_t(what_for, "cannot ask for the password: there is no terminal");
    }
    const std::string prompt = "Password for " + shown_text_t(what_for).str() + ": ";
    for (;;) {
        std::optional<secret_t> answer = ask_once(terminal.get(), prompt);
        if (answer.has_value()) {
            return std::move(*answer);
        }
    }
}
