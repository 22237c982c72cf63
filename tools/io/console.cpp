#include "io/console.h"

#include <cerrno>
#include <cstdio>
#include <string>

namespace {

void write(std::string_view object) {
    const bool written =
        std::fwrite(object.data(), 1, object.size(), stdout) == object.size() && std::fflush(stdout) == 0;
    if (!written) {
        throw output_error_t(errno, std::generic_category());
    }
}

// Nothing can be said when standard error itself fails.
void complain(const std::string& message) {
    const std::string line = "derkit: " + shown_text_t(message).str() + "\n";
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), stderr));
}

std::string join(std::string_view subject, std::string_view separator, std::string_view text) {
    std::string joined(subject);
    joined += separator;
    joined += text;
    return joined;
}

} // namespace

void console_t::put(const record_t& record, bool as_json, const shown_text_t& line_prefix) {
    put_bytes(as_json ? record.json() : record.lines(line_prefix));
}

void console_t::put(const shown_text_t& line) {
    put_bytes(line.str() + "\n");
}

void console_t::put_bytes(std::string_view bytes) {
    progress_.hide_for_output();
    write(bytes);
    progress_.show_again();
}

void console_t::fail(std::string_view subject, std::string_view problem) {
    failed_ = true;
    progress_.hide();
    complain(join(subject, ": ", problem));
}

void console_t::warn(std::string_view subject, std::string_view remark) {
    progress_.hide();
    complain(join(subject, ": warning: ", remark));
}
