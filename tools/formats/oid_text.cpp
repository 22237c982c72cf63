#include "formats/oid_text.h"

#include "derkit/asn_oidmap.h"
#include "io/bytes.h"

std::optional<std::string> oid_from_text(std::string_view dotted) {
    unsigned char content[512];
    const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), content);
    return size != 0 ? std::optional(std::string(chars(content, size))) : std::nullopt;
}

std::optional<std::string> oid_to_text(std::string_view content) {
    std::string dotted;
    const bool done = oid_asn_to_str_(octets(content), octets(content) + content.size(), dotted) != 0;
    return done ? std::optional(dotted) : std::nullopt;
}
