// Sets the process's time zone for the duration of a test.
#ifndef DERKIT_TESTING_TIME_ZONE_H
#define DERKIT_TESTING_TIME_ZONE_H

#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "testing/environment.h"

// Takes POSIX zones, "CET-1CEST,M3.5.0,M10.5.0/3", so that no time zone data is needed.
class time_zone_t {
  public:
    explicit time_zone_t(const char* zone) {
        variable_.emplace("TZ", zone);
        tzset();
    }
    ~time_zone_t() {
        variable_.reset();
        tzset();
    }
    time_zone_t(const time_zone_t&) = delete;
    time_zone_t& operator=(const time_zone_t&) = delete;

  private:
    std::optional<environment_variable_t> variable_;
};

// East of Greenwich is written with a minus sign.
constexpr const char* ZONE_UTC = "UTC0";
constexpr const char* ZONE_MARQUESAS = "<-0930>9:30";
constexpr const char* ZONE_KIRITIMATI = "<+14>-14";
constexpr const char* ZONE_NEW_YORK = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* ZONE_PARIS = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* ZONE_CHATHAM = "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45";
constexpr const char* ZONE_DUBLIN = "IST-1GMT0,M10.5.0,M3.5.0/1"; // standard time is in summer

// The zone of a case in a file.
inline const char* zone_named(std::string_view name) {
    const struct {
        std::string_view name;
        const char* zone;
    } zones[] = {{"UTC", ZONE_UTC},           {"Marquesas", ZONE_MARQUESAS}, {"Kiritimati", ZONE_KIRITIMATI},
                 {"New York", ZONE_NEW_YORK}, {"Paris", ZONE_PARIS},         {"Chatham", ZONE_CHATHAM},
                 {"Dublin", ZONE_DUBLIN}};
    for (const auto& zone : zones) {
        if (zone.name == name) {
            return zone.zone;
        }
    }
    throw std::invalid_argument("no such zone: " + std::string(name));
}

#endif
