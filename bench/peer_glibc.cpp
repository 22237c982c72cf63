// glibc: iconv with a descriptor that is kept, strftime and strptime.
#include <gnu/libc-version.h>
#include <iconv.h>

#include <ctime>

#include "row.h"
#include "tasks.h"

namespace {

struct iconv_t61_t {
    iconv_t converter = iconv_open("UTF-8", "T.61-8BIT");
    std::string utf8 = std::string(256, '\0');
    std::size_t size = 0;
    ~iconv_t61_t() { iconv_close(converter); }
    void operator()(const t61_text_t& text) {
        char* in = const_cast<char*>(text.t61.data());
        std::size_t unread = text.t61.size();
        char* out = utf8.data();
        std::size_t room = utf8.size();
        iconv(converter, &in, &unread, &out, &room);
        iconv(converter, nullptr, nullptr, &out, &room);
        size = utf8.size() - room;
    }
    std::string shown() const { return utf8.substr(0, size); }
};

struct strftime_t {
    char text[64];
    std::size_t size = 0;
    void operator()(const cert_time_t& time) {
        std::tm broken_down = std::tm();
        broken_down.tm_year = static_cast<int>(time.packed >> 40) - 1900;
        broken_down.tm_mon = static_cast<int>(time.packed >> 32 & 0xFF);
        broken_down.tm_mday = static_cast<int>(time.packed >> 24 & 0xFF);
        broken_down.tm_hour = static_cast<int>(time.packed >> 16 & 0xFF);
        broken_down.tm_min = static_cast<int>(time.packed >> 8 & 0xFF);
        broken_down.tm_sec = static_cast<int>(time.packed & 0xFF);
        size = std::strftime(text, sizeof text, "%d.%m.%Y %H:%M:%S GMT", &broken_down);
    }
    std::string shown() const { return std::string(text, size); }
};

struct strptime_t {
    cert_time64_t packed = 0;
    void operator()(const cert_time_t& time) {
        std::tm broken_down = std::tm();
        strptime(time.log_text.c_str(), "%Y.%m.%d %H:%M:%S", &broken_down);
        const auto field = [](int value, int shift) { return static_cast<cert_time64_t>(value) << shift; };
        packed = field(broken_down.tm_year + 1900, 40) | field(broken_down.tm_mon, 32) |
                 field(broken_down.tm_mday, 24) | field(broken_down.tm_hour, 16) | field(broken_down.tm_min, 8) |
                 field(broken_down.tm_sec, 0);
    }
    std::string shown() const { return std::to_string(packed); }
};

const peer_registration_t registration("glibc", gnu_get_libc_version(),
                                       {contender<iconv_t61_t>("T.61 to UTF-8"), contender<strftime_t>("time to text"),
                                        contender<strptime_t>("text to time")});

} // namespace
