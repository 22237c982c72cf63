#include "row.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "der.h"

namespace {

struct copied_t {
    std::string in;
    std::string out;
};

class copy_runner_t final : public runner_t {
  public:
    explicit copy_runner_t(const std::vector<copied_t>& inputs) : inputs_(inputs) {
        for (const copied_t& input : inputs) {
            in_.resize(std::max(in_.size(), input.in.size()));
            out_.resize(std::max(out_.size(), input.out.size()));
        }
    }
    void pass() override {
        for (const copied_t& input : inputs_) {
            std::memcpy(in_.data(), input.in.data(), input.in.size());
            std::memcpy(out_.data(), input.out.data(), input.out.size());
            benchmark::ClobberMemory();
        }
    }
    std::string find_mismatch() override { return std::string(); }

  private:
    const std::vector<copied_t>& inputs_;
    std::string in_;
    std::string out_;
};

class walk_runner_t final : public runner_t {
  public:
    explicit walk_runner_t(const std::vector<std::string>& encodings) : encodings_(encodings) {}
    void pass() override {
        for (const std::string& encoding : encodings_) {
            benchmark::DoNotOptimize(count_elements(encoding));
        }
    }
    std::string find_mismatch() override { return std::string(); }

  private:
    const std::vector<std::string>& encodings_;
};

} // namespace

void row_t::add_limits(const std::vector<std::string>& in, const std::vector<std::string>& out, der_side_t der_side) {
    const auto copied = std::make_shared<std::vector<copied_t>>();
    for (std::size_t i = 0; i < in.size(); ++i) {
        copied->push_back({in[i], out.at(i)});
    }
    contenders.push_back({"copy", true, [copied] { return std::make_unique<copy_runner_t>(*copied); }});
    if (der_side == der_side_t::NONE) {
        return;
    }
    const auto encodings = std::make_shared<std::vector<std::string>>(der_side == der_side_t::INPUT ? in : out);
    contenders.push_back({"tags", true, [encodings] { return std::make_unique<walk_runner_t>(*encodings); }});
}

registry_t& registry_t::instance() {
    static registry_t registry;
    return registry;
}

row_t& registry_t::add(std::string name, target_t target) {
    row_t& row = rows_.emplace_back();
    row.name = std::move(name);
    row.target = std::move(target);
    return row;
}

row_t& registry_t::add_size(std::string series, std::size_t size) {
    row_t& row = add(std::move(series) + ", " + std::to_string(size) + " bytes");
    row.size = size;
    return row;
}

row_t& registry_t::find(std::string_view name) {
    for (row_t& row : rows_) {
        if (row.name == name) {
            return row;
        }
    }
    throw std::logic_error("no row " + std::string(name));
}

peer_registration_t::peer_registration_t(void (*add)(registry_t&)) {
    all().push_back(add);
}

std::vector<void (*)(registry_t&)>& peer_registration_t::all() {
    static std::vector<void (*)(registry_t&)> registrations;
    return registrations;
}
