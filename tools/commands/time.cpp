// derkit time: a time in the layouts of logs and certificates.
#include <charconv>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "derkit/int2str.h"
#include "formats/iso_time.h"

namespace {

struct time_options_t {
    std::vector<std::string> moments;
    bool json = false;
};

struct moment_t {
    cert_time64_t time = CERT_TIME64_INVALID;
    std::optional<long> seconds; // nothing if the system has no such moment
};

bool is_number(const std::string& text) {
    const std::size_t begin = text.starts_with('-') ? 1 : 0;
    return text.size() > begin && text.find_first_not_of("0123456789", begin) == std::string::npos;
}

cert_time64_t pack_utc(long seconds) {
    const std::time_t time = seconds;
    std::tm utc = {};
    constexpr int FIRST_YEAR = 1900;
    constexpr int LAST_YEAR = 0xFFFFFF;
    if (gmtime_r(&time, &utc) == nullptr || utc.tm_year < 0 || utc.tm_year > LAST_YEAR - FIRST_YEAR) {
        return CERT_TIME64_INVALID;
    }
    cert_time64_t packed = static_cast<cert_time64_t>(utc.tm_year) + FIRST_YEAR;
    for (const int field : {utc.tm_mon, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec}) {
        packed = packed << 8 | static_cast<cert_time64_t>(field);
    }
    return packed;
}

moment_t moment_of_seconds(const std::string& text) {
    long seconds = 0;
    const std::from_chars_result end = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const cert_time64_t time = end.ec == std::errc() ? pack_utc(seconds) : CERT_TIME64_INVALID;
    if (time == CERT_TIME64_INVALID) {
        throw failure_t(text, "is beyond the times of certificates");
    }
    return {time, seconds};
}

// -1 is the error value and also the second before the epoch: given as text, that time shows no seconds.
moment_t moment_of_text(const std::string& text) {
    constexpr cert_time64_t YEAR_1900 = cert_time64_t(1900) << 40;
    const cert_time64_t time = time_from_utc_text(text).value_or(CertTimeFromLogStringGMT(text));
    if (time == CERT_TIME64_INVALID || time < YEAR_1900) {
        throw failure_t(text, "neither seconds since the epoch nor a time like 2024-02-29T13:05:09Z or \"2024.02.29 "
                              "13:05:09\" from 1900 on");
    }
    const long seconds = CertTimeTo_time_t(time);
    return {time, seconds != -1 ? std::optional(seconds) : std::nullopt};
}

void add_seconds(long seconds, record_t& record) {
    char log_text[32];
    std::string ctime_text;
    record.add("seconds", seconds);
    record.add("local_log", i2s::LogTimeToString(seconds, log_text));
    record.add("local_ctime", TimeToString(seconds, ctime_text));
}

void show_time(const std::string& given, const place_t& place, bool as_json, console_t& console) {
    const moment_t moment = is_number(given) ? moment_of_seconds(given) : moment_of_text(given);
    std::string gmt;
    std::string gmt_log;
    std::string local;
    record_t record("time", place);
    record.add_if("time", utc_text(moment.time).value_or(""));
    record.add_if("time_local", local_text(moment.time).value_or(""));
    record.add("gmt", CertTimeToStringGMT(moment.time, gmt));
    record.add("gmt_log", CertTimeToLogStringGMT(moment.time, gmt_log));
    record.add("local", CertTimeToString(moment.time, local));
    if (moment.seconds.has_value()) {
        add_seconds(*moment.seconds, record);
    } else {
        console.warn(given, "has no number of seconds since the epoch on this system");
    }
    console.put(record, as_json);
}

void run(const time_options_t& options, console_t& console) {
    for_each_argument(options.moments, console, [&](const std::string& given, const place_t& place) {
        show_time(given, place, options.json, console);
    });
}

} // namespace

void add_time_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("time", "Show a time in the layouts of logs and certificates");
    const auto options = std::make_shared<time_options_t>();
    command.add_argument("MOMENT", options->moments,
                         "2024-02-29T13:05:09Z, \"2024.02.29 13:05:09\" in GMT, or seconds since the epoch");
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer(
        "The other keys are layouts of the library. Its local and, for a text, seconds are computed with the present "
        "offset of local time from GMT, so they are an hour off for a time on the other side of a change to or from "
        "daylight saving.\n"
        "Examples:\n"
        "  derkit time '2024.02.29 13:05:09'\n"
        "  derkit time 1709211909");
    command.set_action([options, &console] { run(*options, console); });
}
