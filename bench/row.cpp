#include "row.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <stdexcept>

#include "bytes.h"

namespace {

struct copied_t {
    std::string in;
    std::string out;
};

// Copies what goes in and what comes out.
struct copy_t {
    std::string in;
    std::string out;
    explicit copy_t(const std::vector<copied_t>& inputs) {
        for (const copied_t& input : inputs) {
            in.resize(std::max(in.size(), input.in.size()));
            out.resize(std::max(out.size(), input.out.size()));
        }
    }
    void operator()(const copied_t& input) {
        std::memcpy(in.data(), input.in.data(), input.in.size());
        std::memcpy(out.data(), input.out.data(), input.out.size());
    }
    std::string shown() const { return out; }
};

struct walk_t {
    std::size_t count = 0;
    void operator()(const std::string& encoding) { count = count_elements(encoding); }
    std::string shown() const { return std::to_string(count); }
};

} // namespace

void row_t::add_limits(const std::vector<std::string>& in, const std::vector<std::string>& out, der_side_t der_side) {
    std::vector<copied_t> copied;
    for (std::size_t i = 0; i < in.size(); ++i) {
        copied.push_back({in[i], out.at(i)});
    }
    add_limit<copy_t>("copy", copied);
    if (der_side != der_side_t::NONE) {
        add_limit<walk_t>("tags", der_side == der_side_t::INPUT ? in : out);
    }
}

std::vector<std::size_t> visiting_order(std::size_t num_inputs) {
    constexpr std::size_t MIN_STEPS = 1000;
    std::vector<std::size_t> round(num_inputs);
    std::iota(round.begin(), round.end(), std::size_t{0});
    if (num_inputs < 2) {
        return round;
    }
    std::minstd_rand random(1);
    std::vector<std::size_t> order;
    while (order.size() < MIN_STEPS) {
        std::shuffle(round.begin(), round.end(), random);
        order.insert(order.end(), round.begin(), round.end());
    }
    return order;
}

std::vector<row_t*> registry_t::find(std::string_view start) {
    std::vector<row_t*> found;
    for (row_t& row : rows_) {
        if (row.name.starts_with(start)) {
            found.push_back(&row);
        }
    }
    if (found.empty()) {
        throw std::logic_error("no row " + std::string(start));
    }
    return found;
}

std::vector<peer_t>& peers() {
    static std::vector<peer_t> linked;
    return linked;
}
