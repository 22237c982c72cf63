// Seconds since the epoch as text in local time.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <ctime>
#include <string>

#include "derkit/int2str.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/time_zone.h"

namespace {

std::string log_time(long t) {
    char buf[32];
    return i2s::LogTimeToString(t, buf);
}

std::string appended_time(long t) {
    std::string out;
    return TimeToString(t, out);
}

struct system_time_case_t {
    const char* name;
    const char* zone;
    long t;
    const char* log;
    const char* ctime;
};
class system_time : public testing::TestWithParam<system_time_case_t> {};

TEST_P(system_time, is_written_as_local_time) {
    const time_zone_t zone(GetParam().zone);
    EXPECT_EQ(GetParam().log, log_time(GetParam().t));
    EXPECT_EQ(GetParam().ctime, appended_time(GetParam().t));
    EXPECT_STREQ(GetParam().ctime, TimeToString(GetParam().t));
}

const system_time_case_t WITHOUT_DAYLIGHT_SAVING[] = {
    {"epoch", ZONE_UTC, 0, "1970.01.01 00:00:00", "Thu Jan  1 00:00:00 1970"},
    {"before_the_epoch", ZONE_UTC, -1, "1969.12.31 23:59:59", "Wed Dec 31 23:59:59 1969"},
    {"leap_day", ZONE_UTC, 1709211909, "2024.02.29 13:05:09", "Thu Feb 29 13:05:09 2024"},
    {"west", ZONE_MARQUESAS, 1709211909, "2024.02.29 03:35:09", "Thu Feb 29 03:35:09 2024"},
    {"far_east", ZONE_KIRITIMATI, 1709211909, "2024.03.01 03:05:09", "Fri Mar  1 03:05:09 2024"},
    {"first_of_32_bits", ZONE_UTC, -2147483647 - 1, "1901.12.13 20:45:52", "Fri Dec 13 20:45:52 1901"},
    {"last_of_32_bits", ZONE_UTC, 2147483647, "2038.01.19 03:14:07", "Tue Jan 19 03:14:07 2038"},
    {"first_of_32_bits_west", ZONE_MARQUESAS, -2147483647 - 1, "1901.12.13 11:15:52", "Fri Dec 13 11:15:52 1901"},
    {"last_of_32_bits_far_east", ZONE_KIRITIMATI, 2147483647, "2038.01.19 17:14:07", "Tue Jan 19 17:14:07 2038"},
};
INSTANTIATE_TEST_SUITE_P(without_daylight_saving, system_time, testing::ValuesIn(WITHOUT_DAYLIGHT_SAVING),
                         case_name_t());

const system_time_case_t AROUND_A_CHANGE[] = {
    {"last_of_winter", ZONE_PARIS, 1711846799, "2024.03.31 01:59:59", "Sun Mar 31 01:59:59 2024"},
    {"first_of_summer", ZONE_PARIS, 1711846800, "2024.03.31 03:00:00", "Sun Mar 31 03:00:00 2024"},
    {"last_of_summer", ZONE_PARIS, 1729990799, "2024.10.27 02:59:59", "Sun Oct 27 02:59:59 2024"},
    {"first_of_winter", ZONE_PARIS, 1729990800, "2024.10.27 02:00:00", "Sun Oct 27 02:00:00 2024"},
    {"west_last_of_winter", ZONE_NEW_YORK, 1710053999, "2024.03.10 01:59:59", "Sun Mar 10 01:59:59 2024"},
    {"west_first_of_summer", ZONE_NEW_YORK, 1710054000, "2024.03.10 03:00:00", "Sun Mar 10 03:00:00 2024"},
    {"far_east_last_of_summer", ZONE_CHATHAM, 1712411999, "2024.04.07 03:44:59", "Sun Apr  7 03:44:59 2024"},
    {"far_east_first_of_winter", ZONE_CHATHAM, 1712412000, "2024.04.07 02:45:00", "Sun Apr  7 02:45:00 2024"},
};
INSTANTIATE_TEST_SUITE_P(around_a_change, system_time, testing::ValuesIn(AROUND_A_CHANGE), case_name_t());

#if LONG_MAX > 0x7FFFFFFF
const system_time_case_t OF_64_BITS[] = {
    {"first_past_32_bits", ZONE_UTC, 2147483648, "2038.01.19 03:14:08", "Tue Jan 19 03:14:08 2038"},
    {"last_before_32_bits", ZONE_UTC, -2147483649, "1901.12.13 20:45:51", "Fri Dec 13 20:45:51 1901"},
    {"last_year_of_four_digits", ZONE_UTC, 253402300799, "9999.12.31 23:59:59", "Fri Dec 31 23:59:59 9999"},
    // Shorter texts of ctime() lose their newline all the same.
    {"last_year_of_three_digits", ZONE_UTC, -30610224001, "999.12.31 23:59:59", "Tue Dec 31 23:59:59 999"},
    {"last_year_of_two_digits", ZONE_UTC, -59011459201, "99.12.31 23:59:59", "Thu Dec 31 23:59:59 99"},
    {"first_year_of_our_era", ZONE_UTC, -62135596800, "1.01.01 00:00:00", "Mon Jan  1 00:00:00 1"},
};
INSTANTIATE_TEST_SUITE_P(of_64_bits, system_time, testing::ValuesIn(OF_64_BITS), case_name_t());

TEST(system_time_of_five_digits, does_not_fit_ctime_r_and_is_cut_in_the_buffer_of_ctime) {
    const time_zone_t zone(ZONE_UTC);
    const long first_of_10000 = 253402300800;
    EXPECT_EQ("10000.01.01 00:00:00", log_time(first_of_10000));
    EXPECT_EQ("Bad time", appended_time(first_of_10000));
    EXPECT_STREQ("Sat Jan  1 00:00:00 1000", TimeToString(first_of_10000));
}

TEST(system_time_that_cannot_be_broken_down, gives_the_texts_for_failure) {
    for (const long t : {LONG_MAX, LONG_MIN}) {
        char buf[32] = "untouched";
        const char* const log = i2s::LogTimeToString(t, buf);
        EXPECT_STREQ("0000.00.00 00:00:00", log);
        EXPECT_NE(static_cast<const char*>(buf), log);
        std::string out = "before ";
        EXPECT_EQ(&out, &TimeToString(t, out));
        EXPECT_EQ("before Bad time", out);
        EXPECT_STREQ("Bad time", TimeToString(t));
    }
}
#endif

TEST(log_time_to_string, returns_the_callers_buffer) {
    const time_zone_t zone(ZONE_UTC);
    char buf[32];
    EXPECT_EQ(static_cast<const char*>(buf), i2s::LogTimeToString(0, buf));
    EXPECT_STREQ("1970.01.01 00:00:00", buf);
}

TEST(time_to_string, appends_and_returns_the_callers_string) {
    const time_zone_t zone(ZONE_UTC);
    std::string out = "before ";
    EXPECT_EQ(&out, &TimeToString(0, out));
    EXPECT_EQ("before Thu Jan  1 00:00:00 1970", out);
}

TEST(time_to_string_without_string, is_overwritten_by_the_next_call_and_by_ctime) {
    const time_zone_t zone(ZONE_UTC);
    const char* const text = TimeToString(0);
    EXPECT_STREQ("Thu Jan  1 00:00:00 1970", text);
    EXPECT_EQ(text, TimeToString(86400));
    EXPECT_STREQ("Fri Jan  2 00:00:00 1970", text);
    const std::time_t third_day = 2 * 86400;
    EXPECT_EQ(text, std::ctime(&third_day));
    EXPECT_STREQ("Sat Jan  3 00:00:00 1970\n", text);
}

TEST(time_to_string, leaves_the_buffer_of_ctime_alone) {
    const time_zone_t zone(ZONE_UTC);
    const char* const text = TimeToString(0);
    appended_time(86400);
    log_time(86400);
    EXPECT_STREQ("Thu Jan  1 00:00:00 1970", text);
}

TEST(system_time_zone, is_that_of_the_time_of_the_call) {
    for (int i = 0; i < 2; ++i) {
        const time_zone_t west(ZONE_MARQUESAS);
        EXPECT_EQ("1969.12.31 14:30:00", log_time(0));
        EXPECT_EQ("Wed Dec 31 14:30:00 1969", appended_time(0));
        const time_zone_t east(ZONE_KIRITIMATI);
        EXPECT_EQ("1970.01.01 14:00:00", log_time(0));
        EXPECT_EQ("Thu Jan  1 14:00:00 1970", appended_time(0));
    }
}

} // namespace
