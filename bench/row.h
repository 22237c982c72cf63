// What is measured: rows, each one task on a list of inputs, and in each row the contenders that can do it.
#ifndef DERKIT_BENCH_ROW_H
#define DERKIT_BENCH_ROW_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::string_view LIBRARY = "derkit";

// A contender at work, with storage of its own that it keeps from call to call.
class runner_t {
  public:
    virtual ~runner_t() = default;
    // One call for every input of the row.
    virtual void pass() = 0;
    // The first call whose outcome is wrong, in words; empty when all are right.
    virtual std::string find_mismatch() = 0;
};

struct contender_t {
    std::string name;
    bool is_limit; // does less than the task asks for
    std::function<std::unique_ptr<runner_t>()> make;
};

// Against whom a row's target is set.
inline constexpr std::string_view FASTEST = "fastest";
inline constexpr std::string_view FASTEST_FAITHFUL = "fastest faithful";

struct target_t {
    double at_most = 0;                                  // 0: none
    std::string against = std::string(FASTEST_FAITHFUL); // or one of those above
};

enum class der_side_t { NONE, INPUT, OUTPUT };

struct row_t {
    std::string name;
    target_t target;
    std::size_t size = 0;              // of the input, in a series of sizes
    std::vector<std::string> expected; // what each call has to show, one an input
    std::deque<contender_t> contenders;

    // WORK does one call by work(input) and afterwards tells by work.shown(input) what came of it.
    template <typename WORK, typename INPUT>
    void add(std::string contender, const std::vector<INPUT>& inputs, bool is_limit = false);

    // The two limits: a copy of what goes in and comes out, and a bare walk over the tags of the encoded side.
    void add_limits(const std::vector<std::string>& in, const std::vector<std::string>& out, der_side_t der_side);
};

// The rows in the order of the table. Rows and contenders are added once, before anything runs.
class registry_t {
  public:
    static registry_t& instance();

    row_t& add(std::string name, target_t target = {});
    row_t& add_size(std::string series, std::size_t size);
    row_t& find(std::string_view name);
    std::deque<row_t>& rows() { return rows_; }

    // Name and version of what stands in the table.
    void add_peer(std::string name, std::string version) { peers_.push_back({std::move(name), std::move(version)}); }
    struct peer_t {
        std::string name;
        std::string version;
    };
    const std::vector<peer_t>& peers() const { return peers_; }

  private:
    std::deque<row_t> rows_;
    std::vector<peer_t> peers_;
};

// The families, each in a file of its own.
void add_name_rows(registry_t& registry);
void add_oid_rows(registry_t& registry);
void add_key_rows(registry_t& registry);
void add_container_rows(registry_t& registry);
void add_algorithm_rows(registry_t& registry);
void add_text_rows(registry_t& registry);

// The same tasks on one input of growing size, a row for each. The lengths of large elements have no zero octet, also
// when an element is a little larger: the library would leave it out.
inline constexpr std::size_t SIZES[] = {0x420, 0x1120, 0x4420, 0x11120, 0x44420, 0x111120, 0x404020};
void add_name_sizes(registry_t& registry);
void add_oid_sizes(registry_t& registry);
void add_container_sizes(registry_t& registry);
void add_text_sizes(registry_t& registry);

// A peer adds its contenders to the rows. A file with such an object takes part by being linked.
struct peer_registration_t {
    explicit peer_registration_t(void (*add)(registry_t&));
    static std::vector<void (*)(registry_t&)>& all();
};

template <typename WORK, typename INPUT> class runner_of_t final : public runner_t {
  public:
    runner_of_t(const row_t& row, const std::vector<INPUT>& inputs) : row_(row), inputs_(inputs) {}

    void pass() override {
        for (const INPUT& input : inputs_) {
            work_(input);
            benchmark::ClobberMemory();
        }
    }

    std::string find_mismatch() override {
        for (std::size_t i = 0; i < inputs_.size(); ++i) {
            // Twice, so that what the first call leaves in the storage must not show.
            work_(inputs_[i]);
            work_(inputs_[i]);
            const std::string shown = work_.shown(inputs_[i]);
            if (shown != row_.expected.at(i)) {
                return "expected [" + row_.expected[i] + "], got [" + shown + "]";
            }
        }
        return std::string();
    }

  private:
    const row_t& row_;
    const std::vector<INPUT>& inputs_;
    WORK work_;
};

template <typename WORK, typename INPUT>
void row_t::add(std::string contender, const std::vector<INPUT>& inputs, bool is_limit) {
    const auto make = [this, &inputs] { return std::make_unique<runner_of_t<WORK, INPUT>>(*this, inputs); };
    contenders.push_back({std::move(contender), is_limit, make});
}

#endif
