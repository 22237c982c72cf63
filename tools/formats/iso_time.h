// Times as ISO 8601 writes them.
#ifndef DERKIT_TOOLS_FORMATS_ISO_TIME_H
#define DERKIT_TOOLS_FORMATS_ISO_TIME_H

#include <optional>
#include <string>

#include "derkit/int2str.h"

// "2024-02-29T13:05:09Z"; a year above 9999 has a plus sign in front. Nothing for a time that no calendar has.
std::optional<std::string> utc_text(cert_time64_t time);

// The same moment in local time, with its offset from UTC then: "2024-02-29T16:05:09+03:00". In UTC if it is beyond the
// system's clock.
std::optional<std::string> local_text(cert_time64_t time);

// The time of a text like those above, in UTC and with seconds; nothing for any other text.
std::optional<cert_time64_t> time_from_utc_text(const std::string& text);

#endif
