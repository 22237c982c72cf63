#include "tools/asn_time.h"

#include <algorithm>
#include <string_view>

#include "asn/asn_cursor.h"
#include "tools/bytes.h"

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
std::string utc_time_text(std::string_view time) {
    if (!is_der_time(time, UTC_TIME_SIZE)) {
        return std::string(time);
    }
    const std::string century = time[0] >= '5' ? "19" : "20";
    return format(century + std::string(time.substr(0, 2)), time.substr(2));
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

} // namespace

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }                  RFC 5280 4.1
bool read_validity(const blob_t& content, validity_t& out) {
    asn_cursor_t in(content);
    out.not_before = read_time(in);
    out.not_after = read_time(in);
    return in.ok();
}
