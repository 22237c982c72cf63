// Characters, hexadecimal digits, tables of names and times.
#include "testing/calls.h"

namespace {

using size_type = std::size_t;

constexpr cert_time64_t END_OF_2024 = 0x7E80B1F173B3A; // 2024.12.31 23:59:58

const std::string T61 = "a\xC2"
                        "e\xCF"
                        "c b\xC1 \xA8";

std::vector<std::string> certificate_times() {
    return {number_input(END_OF_2024), number_input(0x7D000010A0B0C), number_input(0x7B20102030405)};
}

std::vector<std::string> system_times() {
    return {number_input(0), number_input(86400UL * 365 * 30), number_input(0x7FFFFFFF)};
}

template <std::string& (*TO_TEXT)(cert_time64_t, std::string&)> bool print_time(run_t& run) {
    return run.call([&] { return &TO_TEXT(run.number(), run.out) == &run.out; });
}

} // namespace

std::vector<call_t> character_calls() {
    return {
        {.function = "ldap_t61s_to_utf8s",
         .samples = {T61, std::string(60, '\xE0') + T61 + "\xC2"}, // the longer one is measured first
         .run = [](run_t& run) { return run.call([&] { return ldap_t61s_to_utf8s(run.chars(), run.size, run.out); }); },
         .shapes = {{"prefixes", [](size_type size) { return std::string(size, '\xC1'); }},
                    {"letters with prefixes",
                     [](size_type size) {
                         return repeated("\xC2"
                                         "e",
                                         size);
                     },
                     BRIEF},
                    {"text that ends badly",
                     [](size_type size) { return std::string(size, 'a') + std::string(1, '\0'); }, BRIEF, false}},
         .left = as_it_was,
         .appends = true},
        {.function = "ldap_x_wc_to_utf8",
         .input = input_t::NUMBER,
         .samples = {number_input(0x41), number_input(0x20AC), number_input(0x7FFFFFFF)},
         .run =
             [](run_t& run) {
                 char out[6];
                 const int size =
                     run.call([&] { return ldap_x_wc_to_utf8(out, static_cast<unsigned int>(run.number()), 6); });
                 run.note(std::string_view(out, size < 0 ? 0 : static_cast<size_type>(size)));
                 return size > 0;
             }},
        {.function = "TO_HEX_STRING",
         .samples = {from_hex("2A 85 03 02 02 13")},
         .run =
             [](run_t& run) {
                 std::string out(run.size == 0 ? 0 : size_type{3} * run.size - 1, '?');
                 if (run.size != 0) { // never called without an octet
                     run.call([&] { TO_HEX_STRING(run.data, run.size, out.data(), ':'); });
                 }
                 run.note(out);
                 return true;
             },
         .shapes = {{"bytes", [](size_type size) { return std::string(size, 'x'); }}}},
        {.function = "TO_HEX_STD_STRING",
         .samples = {from_hex("2A 85 03 02 02 13"), counting_bytes(70, 1)},
         .run =
             [](run_t& run) {
                 return run.call([&] { return &TO_HEX_STD_STRING(run.data, run.size, run.out, ' ') == &run.out; });
             },
         .shapes = {{"bytes", [](size_type size) { return std::string(size, 'x'); }}},
         .left = as_it_was,
         .appends = true},
        {.function = "IntToString::getString",
         .input = input_t::NUMBER,
         .samples = {number_input(PKI_ALG_SHA1_HMAC), number_input(PKI_ALG_RSA)},
         .run =
             [](run_t& run) {
                 const unsigned int value = static_cast<unsigned int>(run.number());
                 const char* const name = run.call([&] { return I2S_PKI_ALG_T->getString(value, nullptr); });
                 run.note(std::string_view(name == nullptr ? "" : name));
                 return name != nullptr;
             }},
        {.function = "IntToString::getInt",
         .input = input_t::ZERO_TERMINATED,
         .samples = {"verbose", "EVENTS"},
         .run =
             [](run_t& run) {
                 const unsigned int value = run.call([&] { return I2S_LOG_LEVEL->getInt(run.chars(), 77); });
                 run.note(value);
                 return value != 77;
             },
         .shapes = {{"a long name", [](size_type size) { return std::string(size, 'x'); }, LARGE, false}}},
    };
}

std::vector<call_t> time_calls() {
    return {
        {.function = "i2s::LogTimeToString",
         .input = input_t::NUMBER,
         .samples = system_times(),
         .run =
             [](run_t& run) {
                 char buffer[32];
                 const long time = static_cast<long>(run.number());
                 const char* const text = run.call([&] { return i2s::LogTimeToString(time, buffer); });
                 run.note(std::string_view(text));
                 return text == buffer;
             }},
        {.function = "TimeToString",
         .input = input_t::NUMBER,
         .samples = system_times(),
         .run =
             [](run_t& run) {
                 const long time = static_cast<long>(run.number());
                 return run.call([&] { return &TimeToString(time, run.out) == &run.out; });
             },
         .left = as_it_was,
         .appends = true},
        // It has one buffer for all callers.
        {.name = "TimeToString_in_a_static_buffer",
         .function = "TimeToString",
         .input = input_t::NUMBER,
         .samples = system_times(),
         .run =
             [](run_t& run) {
                 const long time = static_cast<long>(run.number());
                 run.note(std::string_view(run.call([&] { return TimeToString(time); })));
                 return true;
             },
         .reentrant = false},
        {.function = "CertTimeToStringGMT",
         .input = input_t::NUMBER,
         .samples = certificate_times(),
         .run = print_time<CertTimeToStringGMT>,
         .left = as_it_was,
         .appends = true},
        {.function = "CertTimeToLogStringGMT",
         .input = input_t::NUMBER,
         .samples = certificate_times(),
         .run = print_time<CertTimeToLogStringGMT>,
         .left = as_it_was_or_empty},
        {.function = "CertTimeToString",
         .input = input_t::NUMBER,
         .samples = certificate_times(),
         .run = print_time<CertTimeToString>,
         .left = as_it_was,
         .appends = true},
        {.function = "CertTimeFromLogStringGMT",
         .input = input_t::STRING,
         .samples = {"2024.12.31 23:59:59", "1900.1.1 0:0:0", "2024.12.31 23:59:58 GMT and more"},
         .run =
             [](run_t& run) {
                 const std::string text(run.text());
                 const cert_time64_t time = run.call([&] { return CertTimeFromLogStringGMT(text); });
                 run.note(time);
                 return time != CERT_TIME64_INVALID;
             },
         .shapes = {{"blanks", [](size_type size) { return std::string(size, ' ') + "2024.1.2 3:4:5"; }, BRIEF},
                    {"zeros", [](size_type size) { return std::string(size, '0') + "2024.1.2 3:4:5"; }, BRIEF},
                    {"text after the time", [](size_type size) { return "2024.1.2 3:4:5" + std::string(size, '5'); },
                     BRIEF},
                    {"no time", [](size_type size) { return std::string(size, 'x'); }, LARGE, false}}},
        {.function = "CertTimeTo_time_t",
         .input = input_t::NUMBER,
         .samples = certificate_times(),
         .run =
             [](run_t& run) {
                 const long time = run.call([&] { return CertTimeTo_time_t(run.number()); });
                 run.note(static_cast<unsigned long long>(time));
                 return time != -1;
             }},
    };
}
