// What is measured: rows, each one task on a list of inputs, and in each row the contenders that can do it.
#ifndef DERKIT_BENCH_ROW_H
#define DERKIT_BENCH_ROW_H

#include <benchmark/benchmark.h>

#include <any>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// A contender at work, with storage of its own that it keeps from call to call.
class runner_t {
  public:
    virtual ~runner_t() = default;
    // One call for every step of the visiting order.
    virtual void pass() = 0;
    // Describes the first call whose outcome is wrong; empty if all are right.
    virtual std::string find_mismatch() = 0;
};

struct contender_t {
    std::string name;
    bool is_limit; // does less than the task asks for
    std::function<std::unique_ptr<runner_t>()> make;
};

// The peers that a row's target may be set against, besides one by its name.
inline constexpr const char* FASTEST = "fastest";
inline constexpr const char* FASTEST_FAITHFUL = "fastest faithful";

struct target_t {
    double at_most = 0; // 0: none
    std::string against = FASTEST_FAITHFUL;
};

enum class der_side_t { NONE, INPUT, OUTPUT };

template <typename INPUT> using bytes_of_t = std::function<std::string(const INPUT&)>;

template <typename INPUT> struct task_t {
    std::string name;
    target_t target;
    std::vector<INPUT> inputs;
    bytes_of_t<INPUT> expected; // what each call has to show
    // What goes in and comes out of a call, for the two limits: a copy of both, and a walk over the tags of the encoded
    // side. What comes out is `expected` by default.
    bytes_of_t<INPUT> in = {};
    bytes_of_t<INPUT> out = {};
    der_side_t der_side = der_side_t::NONE;
};

// What comes out of a reader: as many bytes as its records have.
template <typename... RECORDS>
inline constexpr auto RECORD = [](const auto&) { return std::string((sizeof(RECORDS) + ...), '\0'); };

template <typename INPUT>
std::vector<std::string> for_each_input(const std::vector<INPUT>& inputs, const bytes_of_t<INPUT>& bytes_of) {
    std::vector<std::string> list;
    for (const INPUT& input : inputs) {
        list.push_back(bytes_of(input));
    }
    return list;
}

// A contender's WORK has the function `void operator()(const INPUT&)`, which does one call, and `std::string shown()`,
// which tells afterwards what came of it. Its constructor may take the list of inputs.
template <typename WORK, typename INPUT> INPUT input_of(void (WORK::*)(const INPUT&));
template <typename WORK> using input_of_t = decltype(input_of(&WORK::operator()));

struct row_t {
    std::string name;
    target_t target;
    std::size_t size = 0;              // of the input, in a series of sizes
    std::any inputs;                   // std::vector<INPUT>
    std::vector<std::string> expected; // one an input
    std::deque<contender_t> contenders;

    template <typename WORK> void add(const std::string& contender);
    template <typename WORK> void add_limit(const std::string& contender, std::vector<input_of_t<WORK>> limit_inputs);
    void add_limits(const std::vector<std::string>& in, const std::vector<std::string>& out, der_side_t der_side);
};

// The rows in the order of the table. Rows and contenders are added once, before anything runs.
class registry_t {
  public:
    // A row, in which the library is the first contender.
    template <typename WORK> void add(const task_t<input_of_t<WORK>>& task) {
        row_t& row = add_row<WORK>(task.name, task, task.inputs);
        row.add_limits(for_each_input(task.inputs, task.in),
                       task.out ? for_each_input(task.inputs, task.out) : row.expected, task.der_side);
    }

    // A row whose inputs are DER; the library fills RECORDS.
    template <typename WORK, typename... RECORDS>
    void add_reader(const char* name, const target_t& target, const std::vector<input_of_t<WORK>>& inputs,
                    const bytes_of_t<input_of_t<WORK>>& expected, const bytes_of_t<input_of_t<WORK>>& der) {
        add<WORK>({name, target, inputs, expected, der, RECORD<RECORDS...>, der_side_t::INPUT});
    }

    // A row whose expected outputs are DER.
    template <typename WORK>
    void add_writer(const char* name, const target_t& target, const std::vector<input_of_t<WORK>>& inputs,
                    const bytes_of_t<input_of_t<WORK>>& der, const bytes_of_t<input_of_t<WORK>>& in) {
        add<WORK>({name, target, inputs, der, in, {}, der_side_t::OUTPUT});
    }

    // A row with the library alone for each input, of which `sizes` has the size.
    template <typename WORK>
    void add_series(const task_t<input_of_t<WORK>>& task, const std::vector<std::size_t>& sizes) {
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const std::string name = task.name + ", " + std::to_string(sizes[i]) + " bytes";
            add_row<WORK>(name, task, {task.inputs.at(i)}).size = sizes[i];
        }
    }

    // Rows whose names start so; there must be one.
    std::vector<row_t*> find(std::string_view start);

    const std::deque<row_t>& rows() const { return rows_; }

  private:
    std::deque<row_t> rows_;

    template <typename WORK, typename INPUT>
    row_t& add_row(std::string name, const task_t<INPUT>& task, std::vector<INPUT> inputs) {
        row_t& row = rows_.emplace_back();
        row.name = std::move(name);
        row.target = task.target;
        row.expected = for_each_input(inputs, task.expected);
        row.inputs = std::move(inputs);
        row.add<WORK>("derkit");
        return row;
    }
};

// The families, each in a file of its own.
void add_name_rows(registry_t& registry);
void add_oid_rows(registry_t& registry);
void add_key_rows(registry_t& registry);
void add_container_rows(registry_t& registry);
void add_algorithm_rows(registry_t& registry);
void add_text_rows(registry_t& registry);

// Elements of about these sizes have lengths without a zero octet, which the library would leave out.
inline const std::vector<std::size_t> SIZES = {0x420, 0x1120, 0x4420, 0x11120, 0x44420, 0x111120, 0x404020};
void add_name_sizes(registry_t& registry);
void add_oid_sizes(registry_t& registry);
void add_container_sizes(registry_t& registry);
void add_text_sizes(registry_t& registry);

// An input of each size.
template <typename INPUT> std::vector<INPUT> for_each_size(INPUT (*make)(std::size_t)) {
    std::vector<INPUT> inputs;
    for (const std::size_t size : SIZES) {
        inputs.push_back(make(size));
    }
    return inputs;
}

template <typename INPUT>
std::vector<std::size_t> sizes_of(const std::vector<INPUT>& inputs, std::string INPUT::*encoding) {
    std::vector<std::size_t> sizes;
    for (const INPUT& input : inputs) {
        sizes.push_back((input.*encoding).size());
    }
    return sizes;
}

// A peer's contender for all rows whose names start with `rows`.
struct peer_contender_t {
    std::string rows;
    void (row_t::*add)(const std::string& contender);
};
template <typename WORK> peer_contender_t contender(std::string rows) {
    return {std::move(rows), &row_t::add<WORK>};
}

struct peer_t {
    std::string name;
    std::string version; // empty in all files of a peer but one
    std::vector<peer_contender_t> contenders;
};

// Peers take part if the files with their registrations are linked.
std::vector<peer_t>& peers();

struct peer_registration_t {
    peer_registration_t(std::string name, std::string version, std::vector<peer_contender_t> contenders) {
        peers().push_back({std::move(name), std::move(version), std::move(contenders)});
    }
};

// The inputs in the order in which a pass visits them: all of them in an order drawn anew, again and again, so that no
// branch predictor learns them by heart. Nothing repeats before 1,000 steps. A single input is visited once.
std::vector<std::size_t> visiting_order(std::size_t num_inputs);

template <typename WORK> class runner_of_t final : public runner_t {
    using inputs_t = std::vector<input_of_t<WORK>>;

  public:
    // Without expected results any result is right.
    runner_of_t(const inputs_t& inputs, const std::vector<std::string>& expected)
        : inputs_(inputs), expected_(expected), order_(visiting_order(inputs.size())), work_(make_work(inputs)) {}

    void pass() override {
        for (const std::size_t i : order_) {
            work_(inputs_[i]);
            benchmark::ClobberMemory();
        }
    }

    std::string find_mismatch() override {
        for (std::size_t i = 0; i < expected_.size(); ++i) {
            // Twice, so that what the first call leaves in the storage must not show.
            work_(inputs_[i]);
            work_(inputs_[i]);
            const std::string shown = work_.shown();
            if (shown != expected_[i]) {
                return "expected [" + expected_[i] + "], got [" + shown + "]";
            }
        }
        return std::string();
    }

  private:
    const inputs_t& inputs_;
    const std::vector<std::string>& expected_;
    const std::vector<std::size_t> order_;
    WORK work_;

    static WORK make_work([[maybe_unused]] const inputs_t& inputs) {
        if constexpr (std::is_constructible_v<WORK, const inputs_t&>) {
            return WORK(inputs);
        } else {
            return WORK();
        }
    }
};

template <typename WORK> void row_t::add(const std::string& contender) {
    const auto& row_inputs = std::any_cast<const std::vector<input_of_t<WORK>>&>(inputs);
    contenders.push_back(
        {contender, false, [this, &row_inputs] { return std::make_unique<runner_of_t<WORK>>(row_inputs, expected); }});
}

template <typename WORK>
void row_t::add_limit(const std::string& contender, std::vector<input_of_t<WORK>> limit_inputs) {
    contenders.push_back({contender, true, [limit_inputs = std::move(limit_inputs)] {
                              static const std::vector<std::string> none;
                              return std::make_unique<runner_of_t<WORK>>(limit_inputs, none);
                          }});
}

#endif
