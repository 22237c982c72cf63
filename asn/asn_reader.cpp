#include "derkit/asn_reader.h"

#include "asn/asn_element.h"
#include "asn/asn_tag_reader.h"
#include "util/string_room.h"

const unsigned char* asn1_read_tag(asn_tag_t::Type tag, const unsigned char* p, unsigned int size, unsigned int* len) {
    return asn_read_tag_inline(tag, p, size, len);
}

bool asn_read_INTEGER(const void* p, unsigned int size, unsigned int& value, unsigned int max) {
    // Empty content succeeds and leaves the value as it is.
    if (size == 0) {
        return true;
    }
    const unsigned char* const content = static_cast<const unsigned char*>(p);
    const bool negative = (content[0] & 0x80) != 0;
    if (negative) {
        return false;
    }
    // The bounds are checked for each prefix but not for the whole value: it may exceed `max`, and loses its bits above
    // 32.
    unsigned long long prefix = 0;
    for (unsigned int i = 0; i + 1 < size; ++i) {
        prefix = prefix << 8 | content[i];
        if (prefix > 0xFFFFFFFF || prefix > max) {
            return false;
        }
    }
    value = static_cast<unsigned int>(prefix << 8 | content[size - 1]);
    return true;
}

void asn_write_INTEGER(unsigned int value, std::string& out) {
    unsigned char octets[asn_integer_t::MAX_SIZE];
    const asn_integer_t content(value);
    content.write_to(octets);
    append_text(out, {reinterpret_cast<const char*>(octets), content.size()});
}
