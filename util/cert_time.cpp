// Certificate times and system times as text.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "derkit/int2str.h"
#include "util/string_room.h"

namespace {

constexpr int TM_BASE_YEAR = 1900;
constexpr unsigned int YEAR_END = 0x1000000; // years have 24 bits
constexpr std::time_t NO_TIME = -1;

constexpr const char* LOG_FORMAT = "%Y.%m.%d %H:%M:%S";
constexpr const char* LOG_FORMAT_GMT = "%Y.%m.%d %H:%M:%S GMT";
constexpr const char* DISPLAY_FORMAT = "%d.%m.%Y %H:%M:%S";
constexpr const char* DISPLAY_FORMAT_GMT = "%d.%m.%Y %H:%M:%S GMT";
constexpr const char* DISPLAY_FORMAT_UTC = "%d.%m.%Y %H:%M:%S UTC";
constexpr const char* LOG_FAILURE = "0000.00.00 00:00:00";
constexpr const char* DISPLAY_FAILURE = "Error time";
constexpr const char* SYSTEM_FAILURE = "Bad time";

// The text of ctime() without its newline. It is longer or shorter for years of other than four digits.
std::size_t ctime_size(const char* text) {
    constexpr std::size_t MAX_SIZE = 24;
    return std::min(MAX_SIZE, std::strcspn(text, "\n"));
}

// The fields as they are; fields that a certificate time lacks are 0.
bool unpack(cert_time64_t t, std::tm& out) {
    const int year = static_cast<int>(t >> 40) - TM_BASE_YEAR;
    if (t == CERT_TIME64_INVALID || year < 0) {
        return false;
    }
    const auto field = [t](int shift) { return static_cast<int>(t >> shift & 0xFF); };
    out = std::tm();
    out.tm_year = year;
    out.tm_mon = field(32);
    out.tm_mday = field(24);
    out.tm_hour = field(16);
    out.tm_min = field(8);
    out.tm_sec = field(0);
    return true;
}

void append_formatted(const char* format, const std::tm& broken_down, std::string& out) {
    char text[255];
    append_text(out, std::string_view(text, std::strftime(text, sizeof text, format, &broken_down)));
}

// Seconds since the epoch of a UTC time, without changing the process's time zone. The offset of local time is that of
// the present moment, so the result is wrong by the change around a change of daylight saving.
std::time_t mktime_utc_(std::tm utc) {
    const std::time_t now = std::time(nullptr);
    std::tm now_utc;
    if (gmtime_r(&now, &now_utc) == nullptr) {
        return NO_TIME;
    }
    now_utc.tm_isdst = -1;
    const std::time_t now_as_local = std::mktime(&now_utc);
    if (now_as_local == NO_TIME) {
        return NO_TIME;
    }
    const std::time_t utc_as_local = std::mktime(&utc);
    if (utc_as_local == NO_TIME) {
        return NO_TIME;
    }
    // In 64 bits so that the sum is defined; a 32-bit time_t wraps.
    return static_cast<std::time_t>(0LL + utc_as_local + now - now_as_local);
}

} // namespace

const char* i2s::LogTimeToString(long t, char (&buf)[32]) {
    const std::time_t seconds = t;
    std::tm local;
    if (localtime_r(&seconds, &local) == nullptr || std::strftime(buf, sizeof buf, LOG_FORMAT, &local) == 0) {
        return LOG_FAILURE;
    }
    return buf;
}

std::string& TimeToString(long t, std::string& out) {
    const std::time_t seconds = t;
    char text[32];
    if (ctime_r(&seconds, text) == nullptr) {
        append_text(out, SYSTEM_FAILURE);
        return out;
    }
    append_text(out, std::string_view(text, ctime_size(text)));
    return out;
}

const char* TimeToString(long t) {
    const std::time_t seconds = t;
    char* const text = std::ctime(&seconds);
    if (text == nullptr) {
        return SYSTEM_FAILURE;
    }
    text[ctime_size(text)] = '\0';
    return text;
}

std::string& CertTimeToStringGMT(cert_time64_t t, std::string& out) {
    std::tm utc;
    if (!unpack(t, utc)) {
        append_text(out, DISPLAY_FAILURE);
        return out;
    }
    append_formatted(DISPLAY_FORMAT_GMT, utc, out);
    return out;
}

// Unlike the others it assigns, and has its own text for a failure.
std::string& CertTimeToLogStringGMT(cert_time64_t t, std::string& out) {
    std::tm utc;
    if (!unpack(t, utc)) {
        return out.assign(LOG_FAILURE);
    }
    out.clear();
    append_formatted(LOG_FORMAT_GMT, utc, out);
    return out;
}

std::string& CertTimeToString(cert_time64_t t, std::string& out) {
    std::tm utc;
    if (!unpack(t, utc)) {
        append_text(out, DISPLAY_FAILURE);
        return out;
    }
    const std::time_t seconds = mktime_utc_(utc);
    std::tm local;
    if (seconds == NO_TIME) {
        append_formatted(DISPLAY_FORMAT_GMT, utc, out);
    } else if (localtime_r(&seconds, &local) != nullptr) {
        append_formatted(DISPLAY_FORMAT, local, out);
    } else {
        append_formatted(DISPLAY_FORMAT_UTC, utc, out);
    }
    return out;
}

cert_time64_t CertTimeFromLogStringGMT(const std::string& s) {
    unsigned int year = 0;
    unsigned int month = 0;
    unsigned int day = 0;
    unsigned int hour = 0;
    unsigned int minute = 0;
    unsigned int second = 0;
    constexpr int NUM_FIELDS = 6;
    // NOLINTNEXTLINE(cert-err34-c): whatever a number too large for its field becomes, it is cut to fields below
    if (std::sscanf(s.c_str(), "%u.%u.%u %u:%u:%u", &year, &month, &day, &hour, &minute, &second) != NUM_FIELDS ||
        year < TM_BASE_YEAR || year >= YEAR_END || month == 0 || day == 0) {
        return CERT_TIME64_INVALID;
    }
    // Month and day are cut to their fields; an hour, minute or second above 255 carries into the next one.
    cert_time64_t packed = year;
    packed = packed << 8 | ((month - 1) & 0xFF);
    packed = packed << 8 | (day & 0xFF);
    packed = packed << 8 | hour;
    packed = packed << 8 | minute;
    packed = packed << 8 | second;
    return packed;
}

long CertTimeTo_time_t(cert_time64_t t) {
    std::tm utc;
    return unpack(t, utc) ? mktime_utc_(utc) : NO_TIME;
}
