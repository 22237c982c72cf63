#include "formats/asn_time.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <string_view>

#include "asn/asn_cursor.h"
#include "io/bytes.h"

namespace {

constexpr asn_tag_t::Type UTC_TIME = static_cast<asn_tag_t::Type>(0x17);
constexpr asn_tag_t::Type GENERALIZED_TIME = static_cast<asn_tag_t::Type>(0x18);

// YYMMDDHHMMSSZ and YYYYMMDDHHMMSSZ.
constexpr std::size_t UTC_TIME_SIZE = 13;
constexpr std::size_t GENERALIZED_TIME_SIZE = 15;

bool is_der_time(std::string_view time, std::size_t size) {
    return time.size() == size && time.ends_with('Z') &&
           std::all_of(time.begin(), time.end() - 1, [](char c) { return c >= '0' && c <= '9'; });
}

// Takes the first characters off the text.
std::string_view take(std::string_view& text, std::size_t size) {
    const std::string_view taken = text.substr(0, size);
    text.remove_prefix(size);
    return taken;
}

std::string format(std::string year, std::string_view behind_year) {
    std::string text = std::move(year);
    for (const char separator : std::string_view("--T::")) {
        text += separator;
        text += take(behind_year, 2);
    }
    return text + "Z";
}

// Years from 50 on are of the twentieth century.
std::string century_of(std::string_view utc_time) {
    return utc_time[0] >= '5' ? "19" : "20";
}

std::string utc_time_text(std::string_view time) {
    if (!is_der_time(time, UTC_TIME_SIZE)) {
        return std::string(time);
    }
    return format(century_of(time) + std::string(time.substr(0, 2)), time.substr(2));
}

std::string generalized_time_text(std::string_view time) {
    if (!is_der_time(time, GENERALIZED_TIME_SIZE)) {
        return std::string(time);
    }
    return format(std::string(time.substr(0, 4)), time.substr(4));
}

// Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }         RFC 5280 4.1
std::string read_time(asn_cursor_t& in) {
    if (in.next_is(UTC_TIME)) {
        return utc_time_text(chars(in.read(UTC_TIME)));
    }
    return generalized_time_text(chars(in.read(GENERALIZED_TIME)));
}

// Digits of the form YYYYMMDDHHMMSS, or nothing when the time is in another form than certificates may have.
std::string digits_of_time(asn_cursor_t& in) {
    if (in.next_is(UTC_TIME)) {
        const std::string_view time = chars(in.read(UTC_TIME));
        const bool is_good = is_der_time(time, UTC_TIME_SIZE);
        return is_good ? century_of(time) + std::string(time.substr(0, UTC_TIME_SIZE - 1)) : "";
    }
    const std::string_view time = chars(in.read(GENERALIZED_TIME));
    return std::string(is_der_time(time, GENERALIZED_TIME_SIZE) ? time.substr(0, GENERALIZED_TIME_SIZE - 1) : "");
}

unsigned int take_number(std::string_view& digits, std::size_t size) {
    const std::string_view taken = take(digits, size);
    unsigned int number = 0;
    std::from_chars(taken.data(), taken.data() + taken.size(), number);
    return number;
}

// The library's years begin with 1900.
bool is_calendar_time(const std::chrono::year_month_day& date, unsigned int hour, unsigned int minute,
                      unsigned int second) {
    return date.ok() && date.year() >= std::chrono::year(1900) && hour < 24 && minute < 60 && second < 60;
}

cert_time64_t pack_time(std::string_view digits) {
    const unsigned int year = take_number(digits, 4);
    const unsigned int month = take_number(digits, 2);
    const unsigned int day = take_number(digits, 2);
    const unsigned int hour = take_number(digits, 2);
    const unsigned int minute = take_number(digits, 2);
    const unsigned int second = take_number(digits, 2);
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                           std::chrono::day(day)};
    if (!is_calendar_time(date, hour, minute, second)) {
        return CERT_TIME64_INVALID;
    }
    cert_time64_t time = year;
    for (const unsigned int field : {month - 1, day, hour, minute, second}) {
        time = time << 8 | field;
    }
    return time;
}

cert_time64_t read_cert_time(asn_cursor_t& in, const char* field, std::string& problem) {
    const asn_cursor_t before = in;
    const std::string digits = digits_of_time(in);
    if (!in.ok()) {
        problem = std::string(field) + " is missing or malformed";
        return CERT_TIME64_INVALID;
    }
    const cert_time64_t time = digits.empty() ? CERT_TIME64_INVALID : pack_time(digits);
    if (time == CERT_TIME64_INVALID) {
        asn_cursor_t again = before;
        const char* const fault = digits.empty() ? " is not of the form YYMMDDHHMMSSZ or YYYYMMDDHHMMSSZ: "
                                                 : " is no time of the calendar from 1900 on: ";
        problem = field + (fault + read_time(again));
    }
    return time;
}

} // namespace

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }                  RFC 5280 4.1
bool read_validity(const blob_t& content, validity_t& out) {
    asn_cursor_t in(content);
    out.not_before = read_time(in);
    out.not_after = read_time(in);
    return in.ok();
}

// Both are read, so that a bad one does not hide the other.
bool read_validity_times(const blob_t& content, validity_times_t& out, std::string& problem) {
    asn_cursor_t in(content);
    std::string second_problem;
    out.not_before = read_cert_time(in, "notBefore", problem);
    out.not_after = read_cert_time(in, "notAfter", second_problem);
    if (problem.empty()) {
        problem = second_problem;
    }
    return problem.empty();
}
