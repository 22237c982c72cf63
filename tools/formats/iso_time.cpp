#include "formats/iso_time.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <limits>

namespace {

struct fields_t {
    int year;
    unsigned int month; // from 1
    unsigned int day;
    unsigned int hour;
    unsigned int minute;
    unsigned int second;

    std::chrono::year_month_day date() const {
        return {std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    }
};

unsigned int octet(cert_time64_t time, unsigned int shift) {
    return static_cast<unsigned int>(time >> shift & 0xFF);
}

// Years above 32767 are beyond std::chrono, but have the calendar of the year 400 before.
bool is_in_calendar(fields_t fields) {
    fields.year = fields.year % 400 + 400;
    return fields.date().ok() && fields.hour < 24 && fields.minute < 60 && fields.second < 60;
}

std::optional<fields_t> split(cert_time64_t time) {
    const fields_t fields = {static_cast<int>(time >> 40),
                             octet(time, 32) + 1,
                             octet(time, 24),
                             octet(time, 16),
                             octet(time, 8),
                             octet(time, 0)};
    return time != CERT_TIME64_INVALID && is_in_calendar(fields) ? std::optional(fields) : std::nullopt;
}

std::string text_of(const fields_t& fields) {
    char text[64];
    static_cast<void>(std::snprintf(
        text, sizeof text, fields.year > 9999 ? "+%d-%02u-%02uT%02u:%02u:%02u" : "%04d-%02u-%02uT%02u:%02u:%02u",
        fields.year, fields.month, fields.day, fields.hour, fields.minute, fields.second));
    return text;
}

std::string offset_text(long seconds) {
    const long minutes = (seconds < 0 ? -seconds : seconds) / 60;
    char text[32];
    static_cast<void>(
        std::snprintf(text, sizeof text, "%c%02ld:%02ld", seconds < 0 ? '-' : '+', minutes / 60, minutes % 60));
    return text;
}

// Nothing if the system's clock does not reach so far.
std::optional<std::time_t> clock_time(const fields_t& fields) {
    using limits_t = std::numeric_limits<std::time_t>;
    if (fields.year > static_cast<int>(std::chrono::year::max())) {
        return std::nullopt;
    }
    const long long days = std::chrono::sys_days(fields.date()).time_since_epoch().count();
    const long long seconds = ((days * 24 + fields.hour) * 60 + fields.minute) * 60 + fields.second;
    const bool fits = seconds >= limits_t::min() && seconds <= limits_t::max();
    return fits ? std::optional(static_cast<std::time_t>(seconds)) : std::nullopt;
}

fields_t fields_of(const std::tm& time) {
    const auto number = [](int field) { return static_cast<unsigned int>(field); };
    return {time.tm_year + 1900,  number(time.tm_mon) + 1, number(time.tm_mday),
            number(time.tm_hour), number(time.tm_min),     number(time.tm_sec)};
}

} // namespace

std::optional<std::string> utc_text(cert_time64_t time) {
    const std::optional<fields_t> fields = split(time);
    return fields.has_value() ? std::optional(text_of(*fields) + "Z") : std::nullopt;
}

std::optional<std::string> local_text(cert_time64_t time) {
    const std::optional<fields_t> fields = split(time);
    const std::optional<std::time_t> moment = fields.has_value() ? clock_time(*fields) : std::nullopt;
    std::tm local = {};
    if (!moment.has_value() || localtime_r(&*moment, &local) == nullptr) {
        return utc_text(time);
    }
    return text_of(fields_of(local)) + offset_text(local.tm_gmtoff);
}

std::optional<cert_time64_t> time_from_utc_text(const std::string& text) {
    fields_t fields = {};
    // NOLINTNEXTLINE(cert-err34-c): numbers of other sizes do not come back
    if (std::sscanf(text.c_str(), "%d-%u-%uT%u:%u:%u", &fields.year, &fields.month, &fields.day, &fields.hour,
                    &fields.minute, &fields.second) != 6 ||
        fields.year < 0) {
        return std::nullopt;
    }
    cert_time64_t time = static_cast<cert_time64_t>(fields.year);
    for (const unsigned int field : {fields.month - 1, fields.day, fields.hour, fields.minute, fields.second}) {
        time = time << 8 | (field & 0xFF);
    }
    return utc_text(time) == text ? std::optional(time) : std::nullopt;
}
