// Texts, bytes and times to convert.
#ifndef DERKIT_BENCH_TEXTS_H
#define DERKIT_BENCH_TEXTS_H

#include <cstddef>
#include <string>
#include <vector>

#include "derkit/int2str.h"

struct t61_text_t {
    std::string t61;
    std::string utf8;
};
// Short texts, most of them with accents.
const std::vector<t61_text_t>& t61_texts();

inline constexpr std::size_t HEX_SIZES[] = {20, 256, 4096};
// Inputs of one of these sizes.
const std::vector<std::string>& bytes_for_hex(std::size_t size);

struct cert_time_t {
    unsigned int year = 0;
    unsigned int month = 0; // from 1
    unsigned int day = 0;
    unsigned int hour = 0;
    unsigned int minute = 0;
    unsigned int second = 0;
    cert_time64_t packed = 0;
    std::string display_text; // 31.12.2024 23:59:59 GMT
    std::string log_text;     // 2024.12.31 23:59:59 GMT
};
const std::vector<cert_time_t>& cert_times();

#endif
