#include "row.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "bytes.h"

namespace {

// Copies what goes in and what comes out.
class copy_runner_t final : public runner_t {
  public:
    struct copied_t {
        std::string in;
        std::string out;
    };
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

// Walks over all elements, into constructed ones too, and counts them: the least that any reader of DER has to do.
std::size_t count_elements(std::string_view encoding) {
    const unsigned char* p = octets(encoding);
    const unsigned char* const end = p + encoding.size();
    std::size_t count = 0;
    while (end - p >= 2) {
        constexpr unsigned int CONSTRUCTED = 0x20;
        const bool is_constructed = (p[0] & CONSTRUCTED) != 0;
        std::size_t length = p[1];
        p += 2;
        if (length >= 0x80) {
            std::size_t num_octets = length & 0x7F;
            for (length = 0; num_octets != 0 && p != end; --num_octets) {
                length = length << 8 | *p++;
            }
        }
        if (length > static_cast<std::size_t>(end - p)) {
            break;
        }
        ++count;
        // The members of a constructed element come next.
        p += is_constructed ? 0 : length;
    }
    return count;
}

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
    const auto copied = std::make_shared<std::vector<copy_runner_t::copied_t>>();
    for (std::size_t i = 0; i < in.size(); ++i) {
        copied->push_back({in[i], out.at(i)});
    }
    contenders.push_back({"copy", true, [copied] { return std::make_unique<copy_runner_t>(*copied); }});
    if (der_side != der_side_t::NONE) {
        const auto encodings = std::make_shared<std::vector<std::string>>(der_side == der_side_t::INPUT ? in : out);
        contenders.push_back({"tags", true, [encodings] { return std::make_unique<walk_runner_t>(*encodings); }});
    }
}

registry_t& registry_t::instance() {
    static registry_t registry;
    return registry;
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

peer_registration_t::peer_registration_t(void (*add)(registry_t&)) {
    all().push_back(add);
}

std::vector<void (*)(registry_t&)>& peer_registration_t::all() {
    static std::vector<void (*)(registry_t&)> registrations;
    return registrations;
}
