#include "derkit/t61.h"

#include "asn/t61_decoder.h"
#include "util/string_room.h"
#include "util/text_writer.h"

namespace {

constexpr unsigned int MAX_UTF8_SIZE = 6;

unsigned int utf8_size(unsigned int code_point) {
    if (code_point < 0x80) {
        return 1;
    }
    if (code_point < 0x800) {
        return 2;
    }
    if (code_point < 0x10000) {
        return 3;
    }
    if (code_point < 0x200000) {
        return 4;
    }
    return code_point < 0x4000000 ? 5 : 6;
}

} // namespace

bool ldap_t61s_to_utf8s(const char* s, unsigned int len, std::string& out) {
    const unsigned char* const begin = reinterpret_cast<const unsigned char*>(s);
    const unsigned char* const end = begin + len;
    text_writer_t writer(out);
    // The writer holds a short text until it is complete. A longer one is measured first, so that it cannot fail midway.
    if (len > T61_PIECE_SIZE) {
        unsigned long long total = 0;
        const auto measure = [&total](const utf8_t& character, char* to) {
            total += character.size;
            return to;
        };
        if (!put_t61<plain_t61_t>(begin, end, writer, measure)) {
            return false;
        }
        require_room(out, total);
        out.reserve(out.size() + static_cast<std::size_t>(total));
    }
    if (!put_t61<plain_t61_t>(begin, end, writer, write_utf8)) {
        return false;
    }
    writer.flush();
    return true;
}

int ldap_x_wc_to_utf8(char* buf, unsigned int wc, unsigned int room) {
    if (wc > 0x7FFFFFFF) {
        return -1;
    }
    const unsigned int size = utf8_size(wc);
    if (buf == nullptr) {
        return static_cast<int>(size);
    }
    if (room < size) {
        return 0;
    }
    // The first byte tells how many there are; each of the others carries six bits.
    static constexpr unsigned char LEAD_MARKS[MAX_UTF8_SIZE + 1] = {0, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    for (unsigned int i = size; --i != 0; wc >>= 6) {
        buf[i] = static_cast<char>(0x80 | (wc & 0x3F));
    }
    buf[0] = static_cast<char>(LEAD_MARKS[size] | wc);
    return static_cast<int>(size);
}
