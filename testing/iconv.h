// The C library's character tables, to check ours against.
#ifndef DERKIT_TESTING_ICONV_H
#define DERKIT_TESTING_ICONV_H

#include <iconv.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

// The whole of `text` in another encoding; nothing when it does not convert.
inline std::optional<std::string> iconv_text(const char* from, const char* to, std::string_view text) {
    iconv_t converter = iconv_open(to, from);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the C library says so that it failed
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        throw std::runtime_error(std::string("the C library does not convert ") + from + " to " + to);
    }
    std::string in(text);
    std::string out(in.size() * 6 + 6, '\0');
    char* read = in.data();
    char* written = out.data();
    std::size_t unread = in.size();
    std::size_t room = out.size();
    const bool converted = iconv(converter, &read, &unread, &written, &room) == 0 &&
                           iconv(converter, nullptr, nullptr, &written, &room) == 0;
    iconv_close(converter);
    if (!converted) {
        return std::nullopt;
    }
    out.resize(out.size() - room);
    return out;
}

inline std::string utf8_of(const std::u32string& code_points) {
    std::string bytes;
    for (const char32_t code_point : code_points) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes.push_back(static_cast<char>(code_point >> shift & 0xFF));
        }
    }
    return iconv_text("UTF-32BE", "UTF-8", bytes).value();
}

#endif
