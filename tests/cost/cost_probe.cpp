// Runs the catalogue's calls on their worst inputs of growing size, for cost_test.py to compare what they cost.
//
// Valgrind counts the instructions of the library's functions alone; making an input costs little then. Every count is
// dumped under the name "call: shape: size of the input".
#include <valgrind/callgrind.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "testing/calls.h"
#include "testing/parsed_map.h"

namespace {

constexpr int NUM_SIZES = 4; // the largest and its halves

// Counts from begin() to end().
class meter_t final : public observer_t {
  public:
    meter_t(const std::string& call, const char* shape, std::size_t size)
        : name_(call + ": " + shape + ": " + std::to_string(size)) {}

    void begin() override {
        CALLGRIND_START_INSTRUMENTATION;
        CALLGRIND_ZERO_STATS;
    }
    void end() override {
        CALLGRIND_DUMP_STATS_AT(name_.c_str());
        CALLGRIND_STOP_INSTRUMENTATION;
    }

    // Returns whether the call took the path that the row measures.
    bool expect(bool as_expected) const {
        if (!as_expected) {
            std::fprintf(stderr, "%s: the call did not end as expected\n", name_.c_str());
        }
        return as_expected;
    }

  private:
    const std::string name_;
};

template <typename MEASURE> bool at_all_sizes(std::size_t largest, MEASURE measure) {
    bool as_expected = true;
    for (int halvings = NUM_SIZES; halvings-- != 0;) {
        as_expected = measure(largest >> halvings) && as_expected;
    }
    return as_expected;
}

// The input is made anew, so that no call sees what another one left.
bool measure(const call_t& call, const shape_t& shape, std::size_t size) {
    const std::string octets = octets_for(call, shape.make(size));
    const std::size_t num_zeros = octets_for(call, "").size();
    const blob_t input = view_of(std::string_view(octets).substr(0, octets.size() - num_zeros));
    run_t run(input.data, input.size);
    run.takes_notes = false;
    meter_t meter(call.name, shape.name, size);
    run.observer = &meter;
    return meter.expect(call.run(run) == shape.accepted);
}

// Runs that append to one string until it is that long.
bool measure_appending(const call_t& call, std::size_t size) {
    const std::string octets = octets_for(call, call.samples.front());
    run_t run(view_of(octets).data, static_cast<unsigned int>(call.samples.front().size()));
    run.takes_notes = false;
    meter_t meter(call.name, "one string of many", size);
    bool accepted = true;
    meter.begin();
    while (accepted && run.out.size() < size) {
        accepted = call.run(run);
    }
    meter.end();
    return meter.expect(accepted);
}

// Worst cases of more than one input

// The measured call. Returns whether it took the path that the row measures.
using measured_t = std::function<bool()>;

struct row_t {
    const char* function;
    const char* shape;
    measured_t (*prepare)(std::size_t size); // makes an input of about this size
    std::size_t largest = LARGE;
};

unsigned int size_of(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

measured_t find_short_name(const std::string& text, std::string name, bool expected) {
    return [=, map = std::make_shared<parsed_map_t>(text)] {
        return (oid_map_find_sn(map->handle(), name.data(), size_of(name)) != nullptr) == expected;
    };
}

// Names of one size, beginning and end, and so of one hash: a map's table holds only a few of them.
std::vector<std::string> meeting_names(std::size_t num_names) {
    std::vector<std::string> names;
    for (unsigned int i = 10000000; names.size() < num_names; ++i) {
        names.push_back("NAME" + std::to_string(i) + "NAME");
    }
    return names;
}

measured_t find_each_short_name(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += "1.2.3." + std::to_string(i) + " = " + names[i] + "\n";
    }
    return [=, map = std::make_shared<parsed_map_t>(text)] {
        std::size_t num_found = 0;
        for (const std::string& name : names) {
            num_found += oid_map_find_sn(map->handle(), name.data(), size_of(name)) != nullptr ? 1 : 0;
        }
        return num_found == names.size();
    };
}

measured_t contains(std::string dn, std::string rdns) {
    return [=] { return !printable_dn_contain_attrs(dn.c_str(), rdns.c_str()); };
}

std::vector<IntToString> value_names(std::size_t num_rows) {
    std::vector<IntToString> table(num_rows);
    for (std::size_t i = 0; i < num_rows; ++i) {
        table[i].value = static_cast<unsigned int>(i + 1);
        table[i].name = "NAME";
    }
    table.back().name = nullptr;
    return table;
}

const row_t ROWS[] = {
    {"oid_map_parse_", "calls of one line",
     [](std::size_t size) -> measured_t {
         return [map = std::make_shared<parsed_map_t>(""), text = map_lines(size)] {
             std::string_view rest = text;
             while (!rest.empty()) {
                 const std::string_view line = rest.substr(0, rest.find('\n') + 1);
                 oid_map_parse_(map->map(), line.data(), size_of(line));
                 rest.remove_prefix(line.size());
             }
             return true;
         };
     },
     BRIEF},
    {"oid_map_find_sn", "entries",
     [](std::size_t size) { return find_short_name(map_lines(size), "XXXXXXXX1000042", true); }, BRIEF},
    {"oid_map_find_sn", "each of the names that meet in one place",
     [](std::size_t size) { return find_each_short_name(meeting_names(size / 32)); }, MEGABYTE / 32},
    {"oid_map_find_sn", "names that differ at their ends",
     [](std::size_t size) {
         const std::string name(size, 'X');
         return find_short_name("1.2.3 = " + name + "Y\n1.2.4 = " + name + "Z\n", name + "X", false);
     }},
    {"oid_map_find_str", "texts that differ at their ends",
     [](std::size_t size) -> measured_t {
         const std::string text = "1." + std::string(size, '0');
         return [map = std::make_shared<parsed_map_t>(text + "2 = A\n" + text + "3 = B\n"), wanted = text + "4"] {
             return oid_map_find_str(map->handle(), wanted.data(), size_of(wanted)) == nullptr;
         };
     }},
    {"printable_dn_get_attr", "a type that differs at its end",
     [](std::size_t size) -> measured_t {
         const std::string type(size / 2, 'X');
         return [dn = type + "Y=a", wanted = type + "Z"] {
             std::string out;
             return !printable_dn_get_attr(dn.c_str(), wanted.c_str(), out, PDN_GET_ATTR_PAIR);
         };
     }},
    {"printable_dn_contain_attrs", "a pattern that mismatches late, again and again",
     [](std::size_t size) { return contains(repeated("CN=aaaaaaaaaaaaaaaa,", size), "CN=aaaaaaaaaaaaaaab"); }},
    {"printable_dn_contain_attrs", "one long pattern that mismatches late",
     [](std::size_t size) {
         const std::string rdns = repeated("CN=a,", size / 2);
         return contains(rdns + "CN=b," + rdns, rdns + "CN=c");
     },
     BRIEF},
    {"printable_dn_contain_attrs", "separators",
     [](std::size_t size) { return contains(std::string(size, ','), std::string(size / 2, ',') + "C"); }, BRIEF},
    {"IntToString::getString", "rows",
     [](std::size_t size) -> measured_t {
         return [table = value_names(size / sizeof(IntToString))] { return table[0].getString(0, nullptr) == nullptr; };
     }},
    {"IntToString::getInt", "rows",
     [](std::size_t size) -> measured_t {
         return [table = value_names(size / sizeof(IntToString))] { return table[0].getInt("name of none", 0) == 0; };
     },
     BRIEF},
    {"IntToString::getInt", "a long name in the table",
     [](std::size_t size) -> measured_t {
         return [name = std::string(size, 'x')] {
             const IntToString table[] = {{1, (name.c_str())}, {0, nullptr}};
             return table->getInt(name.c_str(), 0) == 1;
         };
     }},

    // What the comparison must find.
    {"quadratic", "every byte with every other one",
     [](std::size_t size) -> measured_t {
         return [text = std::string(size, 'x')] {
             std::size_t num_equal = 0;
             for (const char a : text) {
                 for (const char b : text) {
                     num_equal += a == b ? 1 : 0;
                 }
             }
             return num_equal == text.size() * text.size();
         };
     },
     2048},
    {"quadratic", "insertion at the front",
     [](std::size_t size) -> measured_t {
         return [=, text = std::string()]() mutable {
             while (text.size() < size) {
                 text.insert(text.begin(), 'x');
             }
             return true;
         };
     },
     MEGABYTE / 32},
};

bool measure(const row_t& row, std::size_t size) {
    const measured_t call = row.prepare(size);
    meter_t meter(row.function, row.shape, size);
    meter.begin();
    const bool as_expected = call();
    meter.end();
    return meter.expect(as_expected);
}

} // namespace

int main() {
    bool as_expected = true;
    for (const call_t& call : all_calls()) {
        for (const shape_t& shape : call.shapes) {
            const auto at_size = [&](std::size_t size) { return measure(call, shape, size); };
            as_expected = at_all_sizes(shape.largest, at_size) && as_expected;
        }
        if (call.appends) {
            const auto at_size = [&](std::size_t size) { return measure_appending(call, size); };
            as_expected = at_all_sizes(MEGABYTE / 8, at_size) && as_expected;
        }
    }
    for (const row_t& row : ROWS) {
        const auto at_size = [&](std::size_t size) { return measure(row, size); };
        as_expected = at_all_sizes(row.largest, at_size) && as_expected;
    }
    return as_expected ? 0 : 1;
}
