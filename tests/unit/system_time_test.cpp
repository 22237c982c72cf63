// Seconds since the epoch as text in local time.
#include <climits>
#include <ctime>
#include <string>

#include "derkit/int2str.h"
#include "support/vectors.h"
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

TEST(system_time, is_written_as_local_time) {
    for_each_vector("seconds.txt", [](const vector_t& vector) {
        const time_zone_t zone(zone_named(vector.field("zone")));
        const long long seconds = std::stoll(vector.field("seconds"));
        if (seconds < LONG_MIN || seconds > LONG_MAX) {
            return;
        }
        const long t = static_cast<long>(seconds);
        EXPECT_EQ(vector.text("log text"), log_time(t));
        EXPECT_EQ(vector.text("ctime text"), appended_time(t));
        EXPECT_EQ(vector.text("ctime text"), TimeToString(t));
    });
}

#if LONG_MAX > 0x7FFFFFFF
TEST(system_time_of_five_digits, does_not_fit_ctime_r_and_is_cut_in_the_buffer_of_ctime) {
    const time_zone_t zone(ZONE_UTC);
    const long first_of_10000 = 253402300800;
    EXPECT_EQ("10000.01.01 00:00:00", log_time(first_of_10000));
    EXPECT_EQ("Bad time", appended_time(first_of_10000));
    EXPECT_STREQ("Sat Jan  1 00:00:00 1000", TimeToString(first_of_10000));
}

TEST(system_time_that_cannot_be_broken_down, has_the_texts_for_failure) {
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
