#include "commands/password_option.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "io/failure.h"
#include "io/shown_text.h"

namespace {

// A terminal gives no longer lines either.
constexpr std::size_t MAX_PASSWORD_SIZE = 4095;

constexpr const char* TERMINAL = "/dev/tty";

constexpr const char* PASSWORD_GROUP = "Password, one of these";

class descriptor_t {
  public:
    explicit descriptor_t(int descriptor) : descriptor_(descriptor) {}
    ~descriptor_t() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    descriptor_t(const descriptor_t&) = delete;
    descriptor_t& operator=(const descriptor_t&) = delete;

    int get() const { return descriptor_; }

  private:
    int descriptor_;
};

// Without a buffer, which would keep a copy. Gives false at the end.
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

// A line without its end (LF or CRLF); nothing when there is not even an empty one.
std::optional<secret_t> read_line(int descriptor, const std::string& subject) {
    secret_t buffer(MAX_PASSWORD_SIZE + std::string_view("\r\n").size());
    std::size_t size = 0;
    bool ended = false;
    while (!ended && size < buffer.size() && read_octet(descriptor, buffer.data()[size], subject)) {
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
    if (line.size() > MAX_PASSWORD_SIZE) {
        throw failure_t(subject, "a password has at most " + std::to_string(MAX_PASSWORD_SIZE) + " bytes");
    }
    return secret_t(line);
}

secret_t read_first_line(int descriptor, const std::string& subject) {
    std::optional<secret_t> line = read_line(descriptor, subject);
    if (!line.has_value()) {
        throw failure_t(subject, "has no line with a password, not even an empty one");
    }
    return std::move(*line);
}

secret_t read_from_file(const std::string& file) {
    const descriptor_t opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (opened.get() < 0) {
        throw failure_t(file, std::strerror(errno));
    }
    return read_first_line(opened.get(), file);
}

secret_t read_from_variable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    if (value == nullptr) {
        throw failure_t(name, "no such variable in the environment");
    }
    return secret_t(std::string_view(value));
}

// Holds the signals back that end or stop a program, so that none does while the terminal is silent. They come
// through when this ends.
class held_signals_t {
  public:
    held_signals_t() {
        sigemptyset(&held_);
        for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP}) {
            sigaddset(&held_, number);
        }
        sigprocmask(SIG_BLOCK, &held_, &before_);
        descriptor_ = signalfd(-1, &held_, SFD_CLOEXEC);
    }
    ~held_signals_t() {
        close(descriptor_);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
    held_signals_t(const held_signals_t&) = delete;
    held_signals_t& operator=(const held_signals_t&) = delete;

    // Waits until there is something to read, or gives false when a signal has come first.
    bool wait_for(int input) const {
        pollfd waiting[] = {{input, POLLIN, 0}, {descriptor_, POLLIN, 0}};
        while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
        }
        return waiting[1].revents == 0;
    }

  private:
    sigset_t held_;
    sigset_t before_;
    int descriptor_;
};

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
    // What was typed and not taken is dropped: it may be half a password.
    ~silence_t() { tcsetattr(terminal_, TCSAFLUSH, &before_); }
    silence_t(const silence_t&) = delete;
    silence_t& operator=(const silence_t&) = delete;

  private:
    int terminal_;
    termios before_;
};

// Nothing can be done about a prompt that is not shown.
void show(int terminal, const std::string& text) {
    static_cast<void>(!write(terminal, text.data(), text.size()));
}

// Nothing when a signal came instead.
std::optional<secret_t> ask_once(int terminal, const std::string& prompt) {
    const held_signals_t signals;
    const silence_t silence(terminal);
    show(terminal, prompt);
    const bool answered = signals.wait_for(terminal);
    std::optional<secret_t> answer;
    if (answered) {
        answer.emplace(read_first_line(terminal, TERMINAL));
    }
    show(terminal, "\n"); // the one typed was not shown
    return answer;
}

// A signal that was held back may have stopped the program only for a while, or be ignored: then it asks again.
secret_t ask_at_terminal(const std::string& what_for) {
    const descriptor_t terminal(open(TERMINAL, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (terminal.get() < 0) {
        throw failure_t(what_for, "there is no terminal to ask for the password at");
    }
    const std::string prompt = "Password for " + shown_text_t(what_for).str() + ": ";
    for (;;) {
        std::optional<secret_t> answer = ask_once(terminal.get(), prompt);
        if (answer.has_value()) {
            return std::move(*answer);
        }
    }
}

} // namespace

void password_option_t::add_to(CLI::App& command) {
    const auto from_name = [this](source_t source) {
        return [this, source](const std::string& name) {
            source_ = source;
            name_ = name;
        };
    };
    const auto from = [this](source_t source) { return [this, source](std::int64_t) { source_ = source; }; };
    CLI::Option* const file = command.add_option_function<std::string>("--password-file", from_name(source_t::IN_FILE),
                                                                       "The password is the first line of FILE");
    CLI::Option* const variable = command.add_option_function<std::string>(
        "--password-env", from_name(source_t::IN_VARIABLE), "The password is the value of VARIABLE in the environment");
    CLI::Option* const input = command.add_flag_function("--password-stdin", from(source_t::ON_STDIN),
                                                         "The password is the first line of the standard input");
    CLI::Option* const ask = command.add_flag_function("--password-ask", from(source_t::AT_TERMINAL),
                                                       "Ask for the password at the terminal, without echo");
    file->type_name("FILE")->excludes(variable)->excludes(input)->excludes(ask);
    variable->type_name("VARIABLE")->excludes(input)->excludes(ask);
    input->excludes(ask);
    for (CLI::Option* const option : {file, variable, input, ask}) {
        option->group(PASSWORD_GROUP);
    }
}

std::optional<secret_t> password_option_t::read(const std::string& what_for) const {
    switch (source_) {
    case source_t::NONE:
        break;
    case source_t::IN_FILE:
        return read_from_file(name_);
    case source_t::IN_VARIABLE:
        return read_from_variable(name_);
    case source_t::ON_STDIN:
        return read_first_line(STDIN_FILENO, "(standard input)");
    case source_t::AT_TERMINAL:
        return ask_at_terminal(what_for);
    }
    return std::nullopt;
}

secret_t password_option_t::read_or_ask(const std::string& what_for) const {
    std::optional<secret_t> password = read(what_for);
    return password.has_value() ? std::move(*password) : ask_at_terminal(what_for);
}
