#include "commands/gost_options.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

#include "io/cryptography.h"
#include "io/input.h"

namespace {

// Seconds to a minute of work, and more than any file that programs write asks for.
constexpr std::uint64_t MAX_ITERATIONS = 10'000'000;
constexpr const char* MAX_ITERATIONS_TEXT =
    "Most iterations of key derivation in the whole run (10000000 unless given)";
constexpr const char* MAX_BAGS_TEXT = "Most bags that a container may hold (10000 unless given)";

std::uint64_t parse_count(const char* option, const std::string& text, std::uint64_t otherwise, std::uint64_t most) {
    if (text.empty()) {
        return otherwise;
    }
    std::uint64_t count = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, count);
    if (error != std::errc() || stop != end || count == 0 || count > most) {
        throw usage_error_t(std::string(option) + ": needs a number from 1 to " + std::to_string(most));
    }
    return count;
}

} // namespace

void iterations_option_t::add_to(command_t& command) {
    command.add_option({"--max-iterations", "N", MAX_ITERATIONS_TEXT}, iterations_);
}

gost::limits iterations_option_t::limits() const {
    constexpr std::uint64_t MOST = std::numeric_limits<std::uint32_t>::max();
    gost::limits cost;
    cost.max_total_iterations = parse_count("--max-iterations", iterations_, MAX_ITERATIONS, MOST);
    cost.max_iterations = static_cast<std::uint32_t>(cost.max_total_iterations);
    cost.max_size = MAX_INPUT_SIZE;
    start_libgcrypt();
    return cost;
}

void container_options_t::add_to(command_t& command) {
    iterations_.add_to(command);
    command.add_option({"--max-bags", "N", MAX_BAGS_TEXT}, bags_);
    command.add_flag("--accept-unverified", accept_unverified_,
                     "Open the container although its MAC is missing, wrong or of an unsupported algorithm: anyone may "
                     "have made or altered it");
}

gost::open_options container_options_t::get() const {
    constexpr std::uint64_t MOST = 1'000'000'000;
    gost::open_options options;
    options.cost = iterations_.limits();
    const gost::limits unless_given;
    options.cost.max_bags = static_cast<std::size_t>(parse_count("--max-bags", bags_, unless_given.max_bags, MOST));
    options.cost.max_attributes = options.cost.max_bags * (unless_given.max_attributes / unless_given.max_bags);
    options.mac = accept_unverified_ ? gost::integrity::accept_unverified : gost::integrity::required;
    return options;
}
