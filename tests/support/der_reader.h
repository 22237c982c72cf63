// Readers of DER: what one of them answers, as a line of text, and the rules that all of them follow.
#ifndef DERKIT_TESTS_DER_READER_H
#define DERKIT_TESTS_DER_READER_H

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/untouched.h"
#include "testing/views.h"

// Answers

// "yes 2A, AA BB": accepted, with the record's fields in hexadecimal. "no 2A, -": refused, the second field untouched.
std::string read_text(bool accepted, std::initializer_list<std::string> fields);
bool is_accepted(std::string_view text);

// A view that was untouched_view() before the call. It must show bytes of the input.
std::string field_text(const blob_t& view, const exact_bytes_t& input);
// A number that was UNTOUCHED_NUMBER before the call.
std::string field_text(unsigned int number);

// Reads bytes and returns read_text().
using der_reader_t = std::function<std::string(std::string_view bytes)>;

// Runs every case of tests/data/vectors/records/FILE.
void expect_reads(const der_reader_t& read, const std::string& file);

// Rules

// Departures from the rules. Elements of the sample are named by what they encode to.
struct reader_rules_t {
    bool takes_content = false;          // the input lacks the sample's outermost header
    bool shows_headers = false;          // fields hold elements with their headers
    std::vector<der_t> optional = {};    // may be left out
    std::vector<der_t> any_type = {};    // may be of another type
    std::vector<der_t> reaches_out = {}; // bounded by the input, not by what encloses it
    std::vector<der_t> open_end = {};    // what follows in it counts
};

// Checks a reader with a sample that it accepts and walks to the last element.
void expect_rules_of_readers(const der_reader_t& read, const der_t& sample, const reader_rules_t& rules = {});

#endif
