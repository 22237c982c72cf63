// Certificate times: their text, and their way to the process's time zone.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "derkit/int2str.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/time_zone.h"

namespace {

// The present moment and localtime_r() as a test wants them.
struct stand_in_t {
    bool time_is_set = false;
    std::time_t time = 0;
    bool localtime_fails = false;
};
stand_in_t stand_in;

} // namespace

// The program's own functions come before those of the C library: what the conversions make of the present moment, and
// of a time that cannot be broken down, could not be tested otherwise.
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

// While one exists, it is that many seconds since the epoch.
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

std::string bits(cert_time64_t t) {
    std::string octets;
    for (int shift = 56; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<char>(t >> shift & 0xFF));
    }
    return to_hex(octets);
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

// Parsing

struct parse_case_t {
    const char* name;
    const char* text;
    cert_time64_t expected;
};
class cert_time_from_log_text : public testing::TestWithParam<parse_case_t> {};

TEST_P(cert_time_from_log_text, has_the_fields) {
    EXPECT_EQ(bits(GetParam().expected), bits(CertTimeFromLogStringGMT(GetParam().text)));
}

const parse_case_t PARSED[] = {
    {"leap_day", "2024.02.29 13:05:09", 0x0007E8011D0D0509},
    {"no_leading_zeros", "2024.1.2 3:4:5", fields(2024, 0, 2, 3, 4, 5)},
    {"many_leading_zeros", "002024.0001.002 003:0004:05", fields(2024, 0, 2, 3, 4, 5)},
    {"first_year", "1900.01.01 00:00:00", fields(1900, 0, 1, 0, 0, 0)},
    {"last_year", "16777215.12.31 23:59:59", fields(0xFFFFFF, 11, 31, 23, 59, 59)},
    {"leap_second", "2016.12.31 23:59:60", fields(2016, 11, 31, 23, 59, 60)},
    {"text_behind", "2024.02.29 13:05:09 GMT", fields(2024, 1, 29, 13, 5, 9)},
    {"letters_behind", "2024.02.29 13:05:09Z", fields(2024, 1, 29, 13, 5, 9)},
    {"white_space_in_front_of_numbers", " 2024.\t02. 29\n \t13: 05:  09", fields(2024, 1, 29, 13, 5, 9)},
    {"signs", "+2024.+2.+29 +13:+5:+9", fields(2024, 1, 29, 13, 5, 9)},
    {"sign_instead_of_the_blank", "2024.02.29+13:05:09", fields(2024, 1, 29, 13, 5, 9)},
};
INSTANTIATE_TEST_SUITE_P(of_any_layout, cert_time_from_log_text, testing::ValuesIn(PARSED), case_name_t());

const parse_case_t NOT_BOUNDED_ABOVE[] = {
    {"month_13_day_32_hour_25", "2024.13.32 25:61:61", fields(2024, 12, 32, 25, 61, 61)},
    {"greatest_fields", "2024.256.255 255:255:255", fields(2024, 255, 255, 255, 255, 255)},
    {"month_is_cut", "2024.258.05 00:00:00", fields(2024, 1, 5, 0, 0, 0)},
    {"negative_month_is_cut", "2024.-1.05 00:00:00", fields(2024, 254, 5, 0, 0, 0)},
    {"day_is_cut", "2024.03.261 00:00:00", fields(2024, 2, 5, 0, 0, 0)},
    {"day_is_cut_to_zero", "2024.03.256 00:00:00", fields(2024, 2, 0, 0, 0, 0)},
    // The fields are joined, not added: 3 | 1 is 3.
    {"hour_spills_into_the_day", "2024.03.02 260:00:00", fields(2024, 2, 3, 4, 0, 0)},
    {"hour_spills_into_a_day_that_has_the_bit", "2024.03.03 260:00:00", fields(2024, 2, 3, 4, 0, 0)},
    {"hour_spills_into_the_month", "2024.03.02 65536:00:00", fields(2024, 3, 2, 0, 0, 0)},
    {"minute_spills_into_the_hour", "2024.03.02 04:257:00", fields(2024, 2, 2, 5, 1, 0)},
    {"second_spills_into_the_minute", "2024.03.02 04:08:300", fields(2024, 2, 2, 4, 9, 44)},
    {"second_spills_into_the_hour", "2024.03.02 04:08:65536", fields(2024, 2, 2, 5, 8, 0)},
    {"negative_second_fills_all_up_to_the_day", "2024.03.02 04:08:-1", fields(2024, 2, 255, 255, 255, 255)},
    {"negative_hour_fills_all_up_to_the_year", "2024.03.02 -1:08:09", fields(2047, 255, 255, 255, 8, 9)},
    {"all_bits_make_the_invalid_time", "16777215.256.255 255:255:255", CERT_TIME64_INVALID},
};
INSTANTIATE_TEST_SUITE_P(upper_ends_are_not_checked, cert_time_from_log_text, testing::ValuesIn(NOT_BOUNDED_ABOVE),
                         case_name_t());

const parse_case_t NOT_PARSED[] = {
    {"nothing", "", CERT_TIME64_INVALID},
    {"blank", " ", CERT_TIME64_INVALID},
    {"letters", "never", CERT_TIME64_INVALID},
    {"date_alone", "2024.1.1", CERT_TIME64_INVALID},
    {"no_second", "2024.1.1 1:2", CERT_TIME64_INVALID},
    {"empty_second", "2024.1.1 1:2:", CERT_TIME64_INVALID},
    {"letter_for_a_number", "2024.1.x 1:2:3", CERT_TIME64_INVALID},
    {"dashes", "2024-02-29 13:05:09", CERT_TIME64_INVALID},
    {"blank_in_front_of_the_dot", "2024 .02.29 13:05:09", CERT_TIME64_INVALID},
    {"letter_between_date_and_time", "2024.02.29T13:05:09", CERT_TIME64_INVALID},
    {"nothing_between_date_and_time", "2024.02.2913:05:09", CERT_TIME64_INVALID},
    {"display_layout", "29.02.2024 13:05:09", CERT_TIME64_INVALID},
    {"year_before_the_first", "1899.01.01 00:00:00", CERT_TIME64_INVALID},
    {"year_zero", "0.01.01 00:00:00", CERT_TIME64_INVALID},
    {"year_of_25_bits", "16777216.01.01 00:00:00", CERT_TIME64_INVALID},
    {"year_of_32_bits", "4294967295.01.01 00:00:00", CERT_TIME64_INVALID},
    {"negative_year", "-2024.01.01 00:00:00", CERT_TIME64_INVALID},
    {"month_zero", "2024.00.10 00:00:00", CERT_TIME64_INVALID},
    {"day_zero", "2024.01.00 00:00:00", CERT_TIME64_INVALID},
};
INSTANTIATE_TEST_SUITE_P(invalid, cert_time_from_log_text, testing::ValuesIn(NOT_PARSED), case_name_t());

TEST(cert_time_from_log_text_with_nul, ends_there) {
    using namespace std::string_literals;
    EXPECT_EQ(bits(fields(2024, 1, 29, 13, 5, 9)), bits(CertTimeFromLogStringGMT("2024.02.29 13:05:09\0007"s)));
    EXPECT_EQ(bits(CERT_TIME64_INVALID), bits(CertTimeFromLogStringGMT("2024.02.29 13:05\0:09"s)));
}

TEST(cert_time_from_log_text_in_any_zone, is_gmt) {
    for (const char* const zone : {ZONE_UTC, ZONE_PARIS, ZONE_MARQUESAS, ZONE_KIRITIMATI}) {
        const time_zone_t guard(zone);
        const cert_time64_t t = fields(2024, 6, 15, 12, 0, 0);
        EXPECT_EQ(bits(t), bits(CertTimeFromLogStringGMT("2024.07.15 12:00:00"))) << zone;
        EXPECT_EQ("15.07.2024 12:00:00 GMT", text_gmt(t)) << zone;
        EXPECT_EQ("2024.07.15 12:00:00 GMT", text_log(t)) << zone;
    }
}

// Text in GMT

struct gmt_case_t {
    const char* name;
    cert_time64_t t;
    const char* display;
    const char* log;
};
class cert_time_in_gmt : public testing::TestWithParam<gmt_case_t> {};

TEST_P(cert_time_in_gmt, has_its_texts) {
    EXPECT_EQ(GetParam().display, text_gmt(GetParam().t));
    EXPECT_EQ(GetParam().log, text_log(GetParam().t));
}

const gmt_case_t GMT[] = {
    {"leap_day", 0x0007E8011D0D0509, "29.02.2024 13:05:09 GMT", "2024.02.29 13:05:09 GMT"},
    {"two_digits_each", fields(2024, 0, 2, 3, 4, 5), "02.01.2024 03:04:05 GMT", "2024.01.02 03:04:05 GMT"},
    {"first_year", fields(1900, 0, 1, 0, 0, 0), "01.01.1900 00:00:00 GMT", "1900.01.01 00:00:00 GMT"},
    {"past_2038", fields(2038, 0, 19, 3, 14, 8), "19.01.2038 03:14:08 GMT", "2038.01.19 03:14:08 GMT"},
    {"last_year", fields(0xFFFFFF, 11, 31, 23, 59, 59), "31.12.16777215 23:59:59 GMT", "16777215.12.31 23:59:59 GMT"},
    {"leap_second", fields(2016, 11, 31, 23, 59, 60), "31.12.2016 23:59:60 GMT", "2016.12.31 23:59:60 GMT"},
};
INSTANTIATE_TEST_SUITE_P(of, cert_time_in_gmt, testing::ValuesIn(GMT), case_name_t());

const gmt_case_t OUT_OF_RANGE[] = {
    {"no_such_day", fields(2023, 1, 30, 0, 0, 0), "30.02.2023 00:00:00 GMT", "2023.02.30 00:00:00 GMT"},
    {"day_zero", fields(2023, 1, 0, 0, 0, 0), "00.02.2023 00:00:00 GMT", "2023.02.00 00:00:00 GMT"},
    {"month_13", fields(2023, 12, 1, 0, 0, 0), "01.13.2023 00:00:00 GMT", "2023.13.01 00:00:00 GMT"},
    {"greatest_fields", fields(0xFFFFFE, 255, 255, 255, 255, 255), "255.256.16777214 255:255:255 GMT",
     "16777214.256.255 255:255:255 GMT"},
    {"one_less_than_the_invalid_time", CERT_TIME64_INVALID - 1, "255.256.16777215 255:255:254 GMT",
     "16777215.256.255 255:255:254 GMT"},
};
INSTANTIATE_TEST_SUITE_P(keeps_fields_out_of_range, cert_time_in_gmt, testing::ValuesIn(OUT_OF_RANGE), case_name_t());

const cert_time64_t INVALID_TIMES[] = {CERT_TIME64_INVALID, fields(1899, 11, 31, 23, 59, 59),
                                       fields(1899, 255, 255, 255, 255, 255), fields(0, 11, 31, 23, 59, 59), 0};

TEST(invalid_cert_time, is_all_bits_set) {
    EXPECT_EQ(0xFFFFFFFFFFFFFFFFU, static_cast<cert_time64_t>(CERT_TIME64_INVALID));
}

TEST(invalid_cert_time, has_the_texts_for_failure_and_no_seconds) {
    for (const cert_time64_t t : INVALID_TIMES) {
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

// The exact number of seconds, by the calendar of the C++ library.
long long exact_seconds(cert_time64_t t) {
    const auto field = [t](int shift) { return static_cast<unsigned int>(t >> shift & 0xFF); };
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(t >> 40)),
                                           std::chrono::month(field(32) + 1), std::chrono::day(field(24))};
    const long long days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * 86400 + field(16) * 3600 + field(8) * 60 + field(0);
}

constexpr cert_time64_t WINTER = fields(2024, 0, 15, 12, 0, 0);
constexpr cert_time64_t SUMMER = fields(2024, 6, 15, 12, 0, 0);

struct local_case_t {
    const char* name;
    const char* zone;
    cert_time64_t now;
    cert_time64_t t;
    long error; // by which the seconds differ from the exact ones
    const char* local;
};
class cert_time_in_zone : public testing::TestWithParam<local_case_t> {};

TEST_P(cert_time_in_zone, has_the_offset_of_the_present_moment) {
    const local_case_t& c = GetParam();
    const time_zone_t zone(c.zone);
    const present_t present(static_cast<std::time_t>(exact_seconds(c.now)));
    EXPECT_EQ(exact_seconds(c.t) + c.error, CertTimeTo_time_t(c.t));
    EXPECT_EQ(c.local, text_local(c.t));
}

const local_case_t WITHOUT_DAYLIGHT_SAVING[] = {
    {"utc_epoch", ZONE_UTC, WINTER, fields(1970, 0, 1, 0, 0, 0), 0, "01.01.1970 00:00:00"},
    {"utc_leap_day", ZONE_UTC, SUMMER, fields(2024, 1, 29, 13, 5, 9), 0, "29.02.2024 13:05:09"},
    {"utc_before_the_epoch", ZONE_UTC, SUMMER, fields(1969, 11, 31, 23, 59, 58), 0, "31.12.1969 23:59:58"},
    {"utc_last_of_32_bits", ZONE_UTC, SUMMER, fields(2038, 0, 19, 3, 14, 7), 0, "19.01.2038 03:14:07"},
    {"utc_first_of_32_bits", ZONE_UTC, SUMMER, fields(1901, 11, 13, 20, 45, 52), 0, "13.12.1901 20:45:52"},
    {"west", ZONE_MARQUESAS, WINTER, fields(2024, 1, 29, 0, 0, 0), 0, "28.02.2024 14:30:00"},
    {"west_last_that_32_bits_convert", ZONE_MARQUESAS, SUMMER, fields(2038, 0, 18, 17, 44, 7), 0,
     "18.01.2038 08:14:07"},
    {"far_east", ZONE_KIRITIMATI, SUMMER, fields(2024, 11, 31, 10, 0, 0), 0, "01.01.2025 00:00:00"},
    {"far_east_last_of_32_bits", ZONE_KIRITIMATI, SUMMER, fields(2038, 0, 19, 3, 14, 7), 0, "19.01.2038 17:14:07"},
    {"far_east_first_that_32_bits_convert", ZONE_KIRITIMATI, SUMMER, fields(1901, 11, 14, 10, 45, 52), 0,
     "15.12.1901 00:45:52"},
};
INSTANTIATE_TEST_SUITE_P(without_daylight_saving, cert_time_in_zone, testing::ValuesIn(WITHOUT_DAYLIGHT_SAVING),
                         case_name_t());

// The time's own fields are read without daylight saving, whatever the season: so only the present moment's counts.
const local_case_t IN_WINTER[] = {
    {"winter", ZONE_PARIS, WINTER, WINTER, 0, "15.01.2024 13:00:00"},
    {"summer", ZONE_PARIS, WINTER, SUMMER, 0, "15.07.2024 14:00:00"},
    {"last_of_winter", ZONE_PARIS, WINTER, fields(2024, 2, 31, 0, 59, 59), 0, "31.03.2024 01:59:59"},
    {"first_of_summer", ZONE_PARIS, WINTER, fields(2024, 2, 31, 1, 0, 0), 0, "31.03.2024 03:00:00"},
    {"last_of_summer", ZONE_PARIS, WINTER, fields(2024, 9, 27, 0, 59, 59), 0, "27.10.2024 02:59:59"},
    {"first_of_winter", ZONE_PARIS, WINTER, fields(2024, 9, 27, 1, 0, 0), 0, "27.10.2024 02:00:00"},
    {"west", ZONE_NEW_YORK, WINTER, SUMMER, 0, "15.07.2024 08:00:00"},
    {"far_east", ZONE_CHATHAM, SUMMER, WINTER, 0, "16.01.2024 01:45:00"},
};
INSTANTIATE_TEST_SUITE_P(while_daylight_saving_is_off, cert_time_in_zone, testing::ValuesIn(IN_WINTER), case_name_t());

const local_case_t IN_SUMMER[] = {
    {"winter", ZONE_PARIS, SUMMER, WINTER, 3600, "15.01.2024 14:00:00"},
    {"summer", ZONE_PARIS, SUMMER, SUMMER, 3600, "15.07.2024 15:00:00"},
    {"last_of_winter", ZONE_PARIS, SUMMER, fields(2024, 2, 30, 23, 59, 59), 3600, "31.03.2024 01:59:59"},
    {"first_of_summer", ZONE_PARIS, SUMMER, fields(2024, 2, 31, 0, 0, 0), 3600, "31.03.2024 03:00:00"},
    {"last_of_summer", ZONE_PARIS, SUMMER, fields(2024, 9, 26, 23, 59, 59), 3600, "27.10.2024 02:59:59"},
    {"first_of_winter", ZONE_PARIS, SUMMER, fields(2024, 9, 27, 0, 0, 0), 3600, "27.10.2024 02:00:00"},
    {"west", ZONE_NEW_YORK, SUMMER, WINTER, 3600, "15.01.2024 08:00:00"},
    {"far_east", ZONE_CHATHAM, WINTER, SUMMER, 3600, "16.07.2024 01:45:00"},
};
INSTANTIATE_TEST_SUITE_P(while_daylight_saving_is_on, cert_time_in_zone, testing::ValuesIn(IN_SUMMER), case_name_t());

const local_case_t NEGATIVE_DAYLIGHT_SAVING[] = {
    {"winter_in_winter", ZONE_DUBLIN, WINTER, WINTER, -3600, "15.01.2024 11:00:00"},
    {"summer_in_winter", ZONE_DUBLIN, WINTER, SUMMER, -3600, "15.07.2024 12:00:00"},
    {"winter_in_summer", ZONE_DUBLIN, SUMMER, WINTER, 0, "15.01.2024 12:00:00"},
    {"summer_in_summer", ZONE_DUBLIN, SUMMER, SUMMER, 0, "15.07.2024 13:00:00"},
};
INSTANTIATE_TEST_SUITE_P(with_negative_daylight_saving, cert_time_in_zone, testing::ValuesIn(NEGATIVE_DAYLIGHT_SAVING),
                         case_name_t());

// The present moment's UTC fields are read as local time, so an offset holds from the change's local hour on: in Paris
// an hour or two later than daylight saving itself, which changes at 01:00 UTC.
const local_case_t PRESENT_NEAR_A_CHANGE[] = {
    {"second_before_spring", ZONE_PARIS, fields(2024, 2, 31, 0, 59, 59), WINTER, 0, "15.01.2024 13:00:00"},
    {"spring_not_yet_by_the_fields", ZONE_PARIS, fields(2024, 2, 31, 1, 59, 59), WINTER, 0, "15.01.2024 13:00:00"},
    {"spring_by_the_fields", ZONE_PARIS, fields(2024, 2, 31, 3, 0, 0), WINTER, 3600, "15.01.2024 14:00:00"},
    {"second_before_autumn", ZONE_PARIS, fields(2024, 9, 27, 0, 59, 59), WINTER, 3600, "15.01.2024 14:00:00"},
    {"autumn_not_yet_by_the_fields", ZONE_PARIS, fields(2024, 9, 27, 1, 59, 59), WINTER, 3600, "15.01.2024 14:00:00"},
    {"autumn_by_the_fields", ZONE_PARIS, fields(2024, 9, 27, 3, 0, 0), WINTER, 0, "15.01.2024 13:00:00"},
};
INSTANTIATE_TEST_SUITE_P(with_the_present_near_a_change, cert_time_in_zone, testing::ValuesIn(PRESENT_NEAR_A_CHANGE),
                         case_name_t());

// Times that seconds of 32 bits cannot hold, before or after the offset

struct wide_case_t {
    const char* name;
    const char* zone;
    cert_time64_t t;
    const char* local; // with 64 bits
    const char* gmt;   // with 32 bits
};
class cert_time_past_32_bits : public testing::TestWithParam<wide_case_t> {};

TEST_P(cert_time_past_32_bits, converts_where_seconds_have_64_and_else_stays_gmt) {
    const wide_case_t& c = GetParam();
    const time_zone_t zone(c.zone);
    const present_t present(static_cast<std::time_t>(exact_seconds(WINTER)));
    const bool wide = sizeof(std::time_t) == 8;
    EXPECT_EQ(wide ? exact_seconds(c.t) : -1, CertTimeTo_time_t(c.t));
    EXPECT_EQ(wide ? c.local : c.gmt, text_local(c.t));
}

const wide_case_t PAST_32_BITS[] = {
    {"second_past", ZONE_UTC, fields(2038, 0, 19, 3, 14, 8), "19.01.2038 03:14:08", "19.01.2038 03:14:08 GMT"},
    {"second_before", ZONE_UTC, fields(1901, 11, 13, 20, 45, 51), "13.12.1901 20:45:51", "13.12.1901 20:45:51 GMT"},
    {"first_year", ZONE_UTC, fields(1900, 0, 1, 0, 0, 0), "01.01.1900 00:00:00", "01.01.1900 00:00:00 GMT"},
    {"no_well_defined_expiration", ZONE_UTC, fields(9999, 11, 31, 23, 59, 59), "31.12.9999 23:59:59",
     "31.12.9999 23:59:59 GMT"},
    {"summer_in_winter", ZONE_PARIS, fields(2050, 6, 15, 12, 0, 0), "15.07.2050 14:00:00", "15.07.2050 12:00:00 GMT"},
    // West of Greenwich the fields, read as local time, pass the end while the time itself would still fit.
    {"west", ZONE_MARQUESAS, fields(2038, 0, 18, 17, 44, 8), "18.01.2038 08:14:08", "18.01.2038 17:44:08 GMT"},
    {"far_east", ZONE_KIRITIMATI, fields(1901, 11, 14, 10, 45, 51), "15.12.1901 00:45:51", "14.12.1901 10:45:51 GMT"},
};
INSTANTIATE_TEST_SUITE_P(of, cert_time_past_32_bits, testing::ValuesIn(PAST_32_BITS), case_name_t());

// East of Greenwich the fields, read as local time, still fit where the time itself does not: the sum wraps.
TEST(cert_time_past_32_bits_far_east, has_the_low_bits_of_the_exact_seconds) {
    const time_zone_t zone(ZONE_KIRITIMATI);
    for (const cert_time64_t t : {fields(2038, 0, 19, 3, 14, 8), fields(2038, 0, 19, 17, 14, 7)}) {
        EXPECT_EQ(static_cast<std::uint32_t>(exact_seconds(t)), static_cast<std::uint32_t>(CertTimeTo_time_t(t)))
            << bits(t);
    }
}

TEST(cert_time_of_the_last_year, converts_where_seconds_have_64_bits_and_else_stays_gmt) {
    const time_zone_t zone(ZONE_UTC);
    const bool wide = sizeof(std::time_t) == 8;
    const cert_time64_t t = fields(0xFFFFFF, 11, 31, 23, 59, 59);
    EXPECT_EQ(wide ? 529375632796799 : -1, CertTimeTo_time_t(t));
    EXPECT_EQ(wide ? "31.12.16777215 23:59:59" : "31.12.16777215 23:59:59 GMT", text_local(t));
}

// Failures

struct failed_case_t {
    const char* name;
    const char* zone;
    cert_time64_t now;
    cert_time64_t t;
    const char* gmt;
};
class cert_time_taken_for_a_failure : public testing::TestWithParam<failed_case_t> {};

TEST_P(cert_time_taken_for_a_failure, gives_less_1_and_stays_gmt) {
    const failed_case_t& c = GetParam();
    const time_zone_t zone(c.zone);
    const present_t present(static_cast<std::time_t>(exact_seconds(c.now)));
    EXPECT_EQ(-1, CertTimeTo_time_t(c.t));
    EXPECT_EQ(c.gmt, text_local(c.t));
}

// -1 second is what mktime() says for a failure, too.
const failed_case_t LESS_1[] = {
    {"utc", ZONE_UTC, SUMMER, fields(1969, 11, 31, 23, 59, 59), "31.12.1969 23:59:59 GMT"},
    {"exact_seconds", ZONE_PARIS, WINTER, fields(1969, 11, 31, 23, 59, 59), "31.12.1969 23:59:59 GMT"},
    {"sum_with_the_offset", ZONE_PARIS, SUMMER, fields(1969, 11, 31, 22, 59, 59), "31.12.1969 22:59:59 GMT"},
    {"fields_as_local_time", ZONE_PARIS, WINTER, fields(1970, 0, 1, 0, 59, 59), "01.01.1970 00:59:59 GMT"},
    {"fields_as_local_time_west", ZONE_MARQUESAS, WINTER, fields(1969, 11, 31, 14, 29, 59), "31.12.1969 14:29:59 GMT"},
};
INSTANTIATE_TEST_SUITE_P(for_less_1_second, cert_time_taken_for_a_failure, testing::ValuesIn(LESS_1), case_name_t());

const failed_case_t PRESENT_LESS_1[] = {
    {"utc", ZONE_UTC, fields(1969, 11, 31, 23, 59, 59), SUMMER, "15.07.2024 12:00:00 GMT"},
    {"east", ZONE_PARIS, fields(1970, 0, 1, 0, 59, 59), SUMMER, "15.07.2024 12:00:00 GMT"},
    {"west", ZONE_MARQUESAS, fields(1969, 11, 31, 14, 29, 59), SUMMER, "15.07.2024 12:00:00 GMT"},
};
INSTANTIATE_TEST_SUITE_P(for_a_present_of_less_1, cert_time_taken_for_a_failure, testing::ValuesIn(PRESENT_LESS_1),
                         case_name_t());

// On 64 bits gmtime_r() fails, on 32 bits mktime(): west of Greenwich it passes the end.
TEST(cert_time_at_the_last_moment, stays_gmt) {
    const time_zone_t zone(ZONE_MARQUESAS);
    const present_t present(sizeof(std::time_t) == 8 ? LONG_MAX : INT_MAX);
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

// Fields out of range

struct carried_case_t {
    const char* name;
    cert_time64_t t;
    cert_time64_t same;
    const char* local;
};
class cert_time_out_of_range : public testing::TestWithParam<carried_case_t> {};

TEST_P(cert_time_out_of_range, carries_over_as_mktime_does) {
    const time_zone_t zone(ZONE_UTC);
    EXPECT_EQ(exact_seconds(GetParam().same), CertTimeTo_time_t(GetParam().t));
    EXPECT_EQ(GetParam().local, text_local(GetParam().t));
}

const carried_case_t CARRIED[] = {
    {"leap_second", fields(2016, 11, 31, 23, 59, 60), fields(2017, 0, 1, 0, 0, 0), "01.01.2017 00:00:00"},
    {"minute", fields(2024, 0, 1, 0, 255, 0), fields(2024, 0, 1, 4, 15, 0), "01.01.2024 04:15:00"},
    {"hour", fields(2024, 0, 1, 24, 0, 0), fields(2024, 0, 2, 0, 0, 0), "02.01.2024 00:00:00"},
    {"day", fields(2023, 1, 30, 0, 0, 0), fields(2023, 2, 2, 0, 0, 0), "02.03.2023 00:00:00"},
    {"day_zero", fields(2024, 2, 0, 0, 0, 0), fields(2024, 1, 29, 0, 0, 0), "29.02.2024 00:00:00"},
    {"month", fields(2023, 12, 1, 0, 0, 0), fields(2024, 0, 1, 0, 0, 0), "01.01.2024 00:00:00"},
    {"all", fields(2000, 255, 255, 255, 255, 255), fields(2021, 11, 21, 19, 19, 15), "21.12.2021 19:19:15"},
};
INSTANTIATE_TEST_SUITE_P(in, cert_time_out_of_range, testing::ValuesIn(CARRIED), case_name_t());

// The real present moment, whatever the season is now

struct zone_case_t {
    const char* name;
    const char* zone;
    long standard;        // offset without daylight saving
    long daylight_saving; // offset with it; the same where there is none
};
class cert_time_at_present : public testing::TestWithParam<zone_case_t> {};

// Offsets of local time that the present moment's UTC fields can stand for, read as local time: one, or two in the
// hours around a change.
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
