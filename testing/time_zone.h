// The process's time zone, for as long as a test needs it.
#ifndef DERKIT_TESTING_TIME_ZONE_H
#define DERKIT_TESTING_TIME_ZONE_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

// Takes zones as POSIX spells them, "CET-1CEST,M3.5.0,M10.5.0/3", so that no time zone data need be installed.
class time_zone_t {
  public:
    explicit time_zone_t(const char* zone) {
        const char* const previous = std::getenv("TZ");
        if (previous != nullptr) {
            previous_ = previous;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~time_zone_t() {
        if (previous_) {
            setenv("TZ", previous_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    time_zone_t(const time_zone_t&) = delete;
    time_zone_t& operator=(const time_zone_t&) = delete;

  private:
    std::optional<std::string> previous_;
};

// East of Greenwich is written with a minus sign.
constexpr const char* ZONE_UTC = "UTC0";
constexpr const char* ZONE_MARQUESAS = "<-0930>9:30";
constexpr const char* ZONE_KIRITIMATI = "<+14>-14";
constexpr const char* ZONE_NEW_YORK = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* ZONE_PARIS = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* ZONE_CHATHAM = "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45";
constexpr const char* ZONE_DUBLIN = "IST-1GMT0,M10.5.0,M3.5.0/1"; // standard time is that of the summer

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
