// Certificate times and system times, in a process whose local time is UTC.
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "derkit/int2str.h"
#include "support/input.h"

namespace {

constexpr unsigned int FIRST_YEAR = 1900;
constexpr long long SECONDS_PER_DAY = 86400;

struct fields_t {
    unsigned int year;
    unsigned int month; // from 0
    unsigned int day;
    unsigned int hour;
    unsigned int minute;
    unsigned int second;
};

fields_t fields_of(cert_time64_t t) {
    const auto field = [t](int shift) { return static_cast<unsigned int>(t >> shift & 0xFF); };
    return {static_cast<unsigned int>(t >> 40), field(32), field(24), field(16), field(8), field(0)};
}

bool is_valid(cert_time64_t t) {
    return t != CERT_TIME64_INVALID && fields_of(t).year >= FIRST_YEAR;
}

// Days from 1970-01-01 to the first of January.
long long days_before_year(long long year) {
    const long long past = year - 1;
    return 365 * (year - 1970) + past / 4 - past / 100 + past / 400 - (1969 / 4 - 1969 / 100 + 1969 / 400);
}

long long days_before_month(long long year, unsigned int month) {
    static constexpr int DAYS[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return days_before_year(year) + DAYS[month] + (leap && month > 1 ? 1 : 0);
}

// Fields out of range carry over: the 32nd of January is the first of February.
long long seconds_of(const fields_t& fields) {
    const long long days = days_before_month(fields.year + fields.month / 12, fields.month % 12) + fields.day - 1;
    return days * SECONDS_PER_DAY + 3600LL * fields.hour + 60LL * fields.minute + fields.second;
}

std::string format(const char* layout, unsigned int a, unsigned int b, unsigned int c, const fields_t& fields) {
    char text[128];
    std::snprintf(text, sizeof text, layout, a, b, c, fields.hour, fields.minute, fields.second);
    return text;
}

void check_texts(cert_time64_t t) {
    const fields_t fields = fields_of(t);
    std::string display = "kept ";
    std::string log = "gone";
    require(&CertTimeToStringGMT(t, display) == &display && &CertTimeToLogStringGMT(t, log) == &log,
            "the caller's string is handed back");
    if (!is_valid(t)) {
        require_same("kept Error time", display, "an invalid time has a text for display");
        require_same("0000.00.00 00:00:00", log, "an invalid time has a text for logs");
        return;
    }
    require_same(format("kept %02u.%02u.%04u %02u:%02u:%02u GMT", fields.day, fields.month + 1, fields.year, fields),
                 display, "display shows the fields");
    require_same(format("%04u.%02u.%02u %02u:%02u:%02u GMT", fields.year, fields.month + 1, fields.day, fields), log,
                 "logs show the fields");
    const bool can_be_parsed = fields.day != 0;
    require(CertTimeFromLogStringGMT(log) == (can_be_parsed ? t : CERT_TIME64_INVALID), "a time for logs parses back");
}

void check_seconds(cert_time64_t t) {
    const long seconds = CertTimeTo_time_t(t);
    std::string local = "kept ";
    CertTimeToString(t, local);
    if (!is_valid(t)) {
        require(seconds == -1, "an invalid time has no seconds");
        require_same("kept Error time", local, "an invalid time has no local time");
        return;
    }
    const long long expected = seconds_of(fields_of(t));
    const bool fits =
        expected >= std::numeric_limits<long>::min() && expected <= std::numeric_limits<long>::max() && expected != -1;
    require(seconds == (fits ? static_cast<long>(expected) : -1), "a time has these seconds");
    if (!fits) {
        std::string utc = "kept ";
        require_same(CertTimeToStringGMT(t, utc), local, "what has no seconds is shown as UTC");
    }
}

void check_system_time(long seconds) {
    char buffer[32];
    const char* const log = i2s::LogTimeToString(seconds, buffer);
    const cert_time64_t packed = CertTimeFromLogStringGMT(log);
    if (packed != CERT_TIME64_INVALID && seconds != -1) {
        require(CertTimeTo_time_t(packed) == seconds, "a system time for logs parses back");
    }
    std::string text = "kept";
    TimeToString(seconds, text);
    const std::string again = "kept" + std::string(TimeToString(seconds));
    // Only the static buffer has room for a year of more than four digits.
    require(text == again || text == "keptBad time", "both forms of a system time are the same");
    require(text.find('\n') == std::string::npos && text.size() > 4 && text.size() <= 28, "a system time is one line");
}

// The rules need local time to be UTC.
void use_utc() {
    static const bool done = setenv("TZ", "UTC0", 1) == 0;
    require(done, "the time zone is UTC");
}

} // namespace

void check_input(std::string_view input) {
    use_utc();
    const std::string text(input);
    const cert_time64_t parsed = CertTimeFromLogStringGMT(text);
    require(parsed == CERT_TIME64_INVALID || is_valid(parsed), "what is parsed is a time");
    require(parsed == CertTimeFromLogStringGMT(std::string(up_to_zero(text))), "a text ends at its first zero byte");

    const cert_time64_t packed = taker_t(input).number(8);
    // Random octets seldom make a year that can be shown as seconds, so these years are near the present.
    const cert_time64_t near_ours = (packed & 0xFFFFFFFFFF) | (FIRST_YEAR + (packed >> 40) % 1000) << 40;
    for (const cert_time64_t t : {parsed, packed, near_ours, CERT_TIME64_INVALID + 0}) {
        check_texts(t);
        check_seconds(t);
    }
    check_system_time(static_cast<long>(packed));
    check_system_time(static_cast<long>(packed % 0x100000000));
}
