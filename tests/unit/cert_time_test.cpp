// Certificate times: their text, and their conversion to seconds and to the process's time zone.
#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "derkit/int2str.h"
#include "support/expect.h"
#include "support/vectors.h"
#include "testing/bytes.h"
#include "testing/time_zone.h"

namespace {

// What time() and localtime_r() do for a test.
struct stand_in_t {
    bool time_is_set = false;
    std::time_t time = 0;
    bool localtime_fails = false;
};
stand_in_t stand_in;

} // namespace

// The program's functions take precedence over those of the C library. Otherwise the present moment could not be chosen,
// nor localtime_r() fail.
extern "C" std::time_t time(std::time_t* out) noexcept {
    std::timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::time_t seconds = stand_in.time_is_set ? stand_in.time : now.tv_sec;
    if (out != nullptr) {
        *out = seconds;
    }
    return seconds;
}

extern "C" std::tm* localtime_r(const std::time_t* t, std::tm* out) noexcept {
    using localtime_r_t = std::tm* (*)(const std::time_t*, std::tm*);
    static const auto of_the_c_library = reinterpret_cast<localtime_r_t>(dlsym(RTLD_NEXT, "localtime_r"));
    if (stand_in.localtime_fails) {
        errno = EOVERFLOW;
        return nullptr;
    }
    return of_the_c_library(t, out);
}

namespace {

// Sets the present moment for the lifetime of the object.
class present_t {
  public:
    explicit present_t(std::time_t now) {
        stand_in.time_is_set = true;
        stand_in.time = now;
    }
    ~present_t() { stand_in = stand_in_t(); }
    present_t(const present_t&) = delete;
    present_t& operator=(const present_t&) = delete;
};

class failing_localtime_t {
  public:
    failing_localtime_t() { stand_in.localtime_fails = true; }
    ~failing_localtime_t() { stand_in.localtime_fails = false; }
    failing_localtime_t(const failing_localtime_t&) = delete;
    failing_localtime_t& operator=(const failing_localtime_t&) = delete;
};

constexpr cert_time64_t fields(cert_time64_t year, unsigned int month_from_0, unsigned int day, unsigned int hour,
                               unsigned int minute, unsigned int second) {
    const cert_time64_t low = static_cast<cert_time64_t>(month_from_0) << 32 | static_cast<cert_time64_t>(day) << 24;
    return year << 40 | low | hour << 16 | minute << 8 | second;
}

constexpr cert_time64_t WINTER = fields(2024, 0, 15, 12, 0, 0);
constexpr cert_time64_t SUMMER = fields(2024, 6, 15, 12, 0, 0);

// "2024.02.29 13:05:09", not by the library's own parser.
cert_time64_t time_of(const std::string& text) {
    unsigned int f[6];
    if (std::sscanf(text.c_str(), "%u.%u.%u %u:%u:%u", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]) != 6) {
        throw std::invalid_argument(text);
    }
    return fields(f[0], f[1] - 1, f[2], f[3], f[4], f[5]);
}

// "0007E8 01 1D 0D 05 09"
std::string bits(cert_time64_t t) {
    std::string octets;
    for (int shift = 56; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<char>(t >> shift & 0xFF));
    }
    const std::string hex = to_hex(octets);
    return hex.substr(0, 2) + hex.substr(3, 2) + hex.substr(6);
}

cert_time64_t packed_time(const vector_t& vector) {
    cert_time64_t t = 0;
    for (const char c : vector.bytes("time")) {
        t = t << 8 | static_cast<unsigned char>(c);
    }
    return t;
}

std::string text_gmt(cert_time64_t t) {
    std::string out;
    return CertTimeToStringGMT(t, out);
}

std::string text_log(cert_time64_t t) {
    std::string out;
    return CertTimeToLogStringGMT(t, out);
}

std::string text_local(cert_time64_t t) {
    std::string out;
    return CertTimeToString(t, out);
}

// Text in GMT

// The process's zone does not matter.
TEST(cert_time_in_gmt, parses_and_is_written) {
    for (const char* const name : {ZONE_UTC, ZONE_PARIS, ZONE_MARQUESAS, ZONE_KIRITIMATI}) {
        const time_zone_t zone(name);
        for_each_vector("cert-times.txt", [](const vector_t& vector) {
            const std::string way = vector.field("way");
            const cert_time64_t t = way == "refused" ? CERT_TIME64_INVALID : packed_time(vector);
            if (way != "format") {
                EXPECT_EQ(bits(t), bits(CertTimeFromLogStringGMT(vector.text("log text"))));
            }
            if (way == "both" || way == "format") {
                EXPECT_EQ(vector.text("log text"), text_log(t));
                EXPECT_EQ(vector.text("display text"), text_gmt(t));
            }
        });
    }
}

TEST(invalid_cert_time, is_all_bits_set) {
    EXPECT_EQ(0xFFFFFFFFFFFFFFFFU, static_cast<cert_time64_t>(CERT_TIME64_INVALID));
}

TEST(invalid_cert_time, has_the_texts_for_failure_and_no_seconds) {
    const cert_time64_t times[] = {CERT_TIME64_INVALID, fields(1899, 11, 31, 23, 59, 59),
                                   fields(1899, 255, 255, 255, 255, 255), fields(0, 11, 31, 23, 59, 59), 0};
    for (const cert_time64_t t : times) {
        EXPECT_EQ("Error time", text_gmt(t)) << bits(t);
        EXPECT_EQ("0000.00.00 00:00:00", text_log(t)) << bits(t);
        EXPECT_EQ("Error time", text_local(t)) << bits(t);
        EXPECT_EQ(-1, CertTimeTo_time_t(t)) << bits(t);
    }
}

// The caller's string

TEST(cert_time_text, is_appended_but_the_log_text_assigned) {
    const time_zone_t zone(ZONE_UTC);
    const cert_time64_t t = fields(2024, 1, 29, 13, 5, 9);
    std::string out = "before ";
    EXPECT_EQ(&out, &CertTimeToStringGMT(t, out));
    EXPECT_EQ("before 29.02.2024 13:05:09 GMT", out);
    EXPECT_EQ(&out, &CertTimeToLogStringGMT(t, out));
    EXPECT_EQ("2024.02.29 13:05:09 GMT", out);
    EXPECT_EQ(&out, &CertTimeToString(t, out));
    EXPECT_EQ("2024.02.29 13:05:09 GMT29.02.2024 13:05:09", out);
}

TEST(cert_time_text, for_failure_is_appended_but_that_of_the_log_assigned) {
    std::string out = "before ";
    EXPECT_EQ(&out, &CertTimeToStringGMT(CERT_TIME64_INVALID, out));
    EXPECT_EQ("before Error time", out);
    EXPECT_EQ(&out, &CertTimeToString(CERT_TIME64_INVALID, out));
    EXPECT_EQ("before Error timeError time", out);
    EXPECT_EQ(&out, &CertTimeToLogStringGMT(CERT_TIME64_INVALID, out));
    EXPECT_EQ("0000.00.00 00:00:00", out);
}

// Seconds and local time

// The exact number of seconds, by the calendar of the C++ library, which has years of 16 bits. Months and days out of
// range carry over.
long long exact_seconds(cert_time64_t t) {
    const auto field = [t](int shift) { return static_cast<int>(t >> shift & 0xFF); };
    const int year = static_cast<int>(t >> 40);
    const auto month = std::chrono::year(year % 400) / 1 + std::chrono::months(field(32));
    const long long days = std::chrono::sys_days(month / 1).time_since_epoch().count() + field(24) - 1;
    return (days + year / 400 * 146097LL) * 86400 + field(16) * 3600 + field(8) * 60 + field(0);
}

constexpr bool WIDE_SECONDS = sizeof(std::time_t) == 8;

TEST(cert_time_in_zone, has_the_offset_of_the_present_moment) {
    for_each_vector("local-times.txt", [](const vector_t& vector) {
        const time_zone_t zone(zone_named(vector.field("zone")));
        const present_t present(static_cast<std::time_t>(exact_seconds(time_of(vector.field("present")))));
        const cert_time64_t t = time_of(vector.field("time"));
        const bool fails = vector.field("error") == "fails" || (!WIDE_SECONDS && vector.has("32 bits"));
        EXPECT_EQ(fails ? -1 : exact_seconds(t) + std::stol(vector.field("error")), CertTimeTo_time_t(t));
        EXPECT_EQ(vector.text(!WIDE_SECONDS && vector.has("32 bits") ? "32 bits" : "text"), text_local(t));
    });
}

// East of Greenwich the fields, read as local time, still fit 32 bits where the time itself does not: the sum wraps.
TEST(cert_time_past_32_bits_far_east, has_the_low_bits_of_the_exact_seconds) {
    const time_zone_t zone(ZONE_KIRITIMATI);
    for (const cert_time64_t t : {fields(2038, 0, 19, 3, 14, 8), fields(2038, 0, 19, 17, 14, 7)}) {
        EXPECT_EQ(static_cast<std::uint32_t>(exact_seconds(t)), static_cast<std::uint32_t>(CertTimeTo_time_t(t)))
            << bits(t);
    }
}

// With 64 bits gmtime_r() fails, with 32 mktime(): west of Greenwich it passes the end.
TEST(cert_time_at_the_last_moment, stays_gmt) {
    const time_zone_t zone(ZONE_MARQUESAS);
    const present_t present(WIDE_SECONDS ? LONG_MAX : INT_MAX);
    EXPECT_EQ(-1, CertTimeTo_time_t(SUMMER));
    EXPECT_EQ("15.07.2024 12:00:00 GMT", text_local(SUMMER));
}

TEST(cert_time_that_localtime_r_refuses, is_written_as_utc) {
    const time_zone_t zone(ZONE_PARIS);
    const present_t present(static_cast<std::time_t>(exact_seconds(WINTER)));
    const failing_localtime_t fails;
    EXPECT_EQ("15.07.2024 12:00:00 UTC", text_local(SUMMER));
    EXPECT_EQ(exact_seconds(SUMMER), CertTimeTo_time_t(SUMMER));
}

// The real present moment, whatever the season is now

struct zone_case_t {
    const char* name;
    const char* zone;
    long standard;        // offset without daylight saving
    long daylight_saving; // offset with it; the same where there is none
};
class cert_time_at_present : public testing::TestWithParam<zone_case_t> {};

// The offsets that the present moment's UTC fields may have when read as local time: one, or two in the hours around a
// change.
std::vector<long> offsets_at_present(const zone_case_t& zone) {
    const std::time_t now = std::time(nullptr);
    std::vector<long> offsets;
    for (const long offset : {zone.standard, zone.daylight_saving}) {
        const std::time_t as_local = now - offset;
        std::tm local = {};
        localtime_r(&as_local, &local);
        if (local.tm_gmtoff == offset) {
            offsets.push_back(offset);
        }
    }
    return offsets.empty() ? std::vector<long>{zone.standard, zone.daylight_saving} : offsets;
}

TEST_P(cert_time_at_present, has_the_offset_of_today) {
    const time_zone_t zone(GetParam().zone);
    for (const cert_time64_t t : {WINTER, SUMMER, fields(2000, 1, 29, 0, 0, 0), fields(2037, 11, 31, 0, 0, 0)}) {
        const long seconds = CertTimeTo_time_t(t);
        std::vector<long long> expected;
        for (const long offset : offsets_at_present(GetParam())) {
            expected.push_back(exact_seconds(t) - GetParam().standard + offset);
        }
        EXPECT_NE(expected.end(), std::find(expected.begin(), expected.end(), seconds))
            << bits(t) << ": " << seconds << " is not of " << testing::PrintToString(expected);
    }
}

const zone_case_t ZONES[] = {
    {"utc", ZONE_UTC, 0, 0},
    {"marquesas", ZONE_MARQUESAS, -34200, -34200},
    {"kiritimati", ZONE_KIRITIMATI, 50400, 50400},
    {"new_york", ZONE_NEW_YORK, -18000, -14400},
    {"paris", ZONE_PARIS, 3600, 7200},
    {"chatham", ZONE_CHATHAM, 45900, 49500},
    {"dublin", ZONE_DUBLIN, 3600, 0},
};
INSTANTIATE_TEST_SUITE_P(in, cert_time_at_present, testing::ValuesIn(ZONES), case_name_t());

// The process's zone

TEST(cert_time_zone, is_that_of_the_time_of_the_call) {
    for (int i = 0; i < 2; ++i) {
        const time_zone_t west(ZONE_MARQUESAS);
        EXPECT_EQ("15.01.2024 02:30:00", text_local(WINTER));
        const time_zone_t east(ZONE_KIRITIMATI);
        EXPECT_EQ("16.01.2024 02:00:00", text_local(WINTER));
    }
}

TEST(cert_time_zone, is_not_touched) {
    const time_zone_t zone(ZONE_MARQUESAS);
    const char* const before = std::getenv("TZ");
    text_local(WINTER);
    CertTimeTo_time_t(WINTER);
    EXPECT_EQ(before, std::getenv("TZ"));
    EXPECT_EQ(34200, timezone);
    EXPECT_STREQ("-0930", tzname[0]);
}

} // namespace
