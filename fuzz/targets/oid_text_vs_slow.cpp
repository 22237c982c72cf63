// Both conversions of OIDs against slow and obvious ones.
#include <string>

#include "derkit/asn_oidmap.h"
#include "reference/oid_text.h"
#include "support/input.h"

void check_input(std::string_view input) {
    const exact_bytes_t in(input);
    unsigned char out[512];
    const unsigned int size = oid_str_to_asn_(in.chars(), in.chars() + in.size(), out);
    require_same(reference_oid_to_der(input), std::string_view(reinterpret_cast<const char*>(out), size),
                 "text gives these octets");

    std::string text;
    const int done = oid_asn_to_str_(in.data(), in.data() + in.size(), text);
    const reference_oid_text_t expected = reference_oid_to_text(input);
    require((done != 0) == expected.done, "octets are accepted when the last one ends a subidentifier");
    require_same(expected.text, text, "octets give this text");
}
