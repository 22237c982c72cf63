// The catalogue of calls is complete, and its inputs are what they claim to be.
#include "testing/calls.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "testing/exported_functions.h"

namespace {

call_answer_t answer_on_heap(const call_t& call, std::string_view input) {
    const exact_bytes_t octets(octets_for(call, input));
    return answer_to(call, octets.data(), static_cast<unsigned int>(input.size()));
}

TEST(catalogue_of_calls, has_every_exported_function_and_no_other) {
    std::set<std::string> functions;
    std::set<std::string> names;
    for (const call_t& call : all_calls()) {
        functions.insert(call.function);
        EXPECT_TRUE(names.insert(call.name).second) << call.name << " is there twice";
    }
    EXPECT_EQ(exported_functions(), functions);
}

TEST(catalogue_of_calls, has_samples_that_are_accepted) {
    for (const call_t& call : all_calls()) {
        EXPECT_FALSE(call.samples.empty()) << call.name;
        for (const std::string& sample : call.samples) {
            const call_answer_t answer = answer_on_heap(call, sample);
            EXPECT_TRUE(answer.accepted && answer.views_inside) << call.name << " " << to_hex(sample) << answer;
        }
    }
}

// Otherwise its cost is not measured.
TEST(catalogue_of_calls, has_a_worst_shape_for_every_function_that_reads) {
    std::set<std::string> measured;
    std::set<std::string> reading;
    for (const call_t& call : all_calls()) {
        if (call.input == input_t::NUMBER) {
            EXPECT_TRUE(call.shapes.empty()) << call.name;
        } else {
            reading.insert(call.function);
        }
        if (!call.shapes.empty()) {
            measured.insert(call.function);
        }
    }
    EXPECT_EQ(reading, measured);
}

TEST(catalogue_of_calls, has_shapes_of_any_size_that_end_as_they_claim) {
    for (const call_t& call : all_calls()) {
        for (const shape_t& shape : call.shapes) {
            for (const std::size_t size : {2000U, 6000U}) {
                SCOPED_TRACE(call.name + ": " + shape.name + ": " + std::to_string(size));
                const std::string input = shape.make(size);
                EXPECT_LE(size / 2, input.size());
                EXPECT_GE(size + size / 2, input.size());
                EXPECT_EQ(shape.accepted, answer_on_heap(call, input).accepted);
            }
        }
    }
}

TEST(catalogue_of_calls, tells_which_functions_append) {
    for (const call_t& call : all_calls()) {
        for (const std::string& sample : call.samples) {
            const exact_bytes_t octets(octets_for(call, sample));
            run_t run(octets.data(), static_cast<unsigned int>(sample.size()));
            call.run(run);
            const bool appended = run.out.size() > run.before.size() && run.out.find(run.before) == 0;
            EXPECT_TRUE(appended || !call.appends) << call.name << " " << run.out;
        }
    }
}

TEST(finished_rdns, are_told_from_parts_of_them) {
    const std::string before = "B";
    const std::string expected = "BC=c,B=b\\,b,A=a";
    for (const char* const good : {"B", "BA=a,", "BB=b\\,b,A=a,", "BC=c,B=b\\,b,A=a,"}) {
        EXPECT_TRUE(with_finished_rdns(before, good, expected)) << good;
    }
    for (const char* const bad : {"", "BA=a", "B=a,", "Bb,A=a,", "BC=c,", "BB=b\\,b,", "XA=a,", "B,"}) {
        EXPECT_FALSE(with_finished_rdns(before, bad, expected)) << bad;
    }
}

} // namespace
