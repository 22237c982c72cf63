#include "commands/hint.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr std::size_t MAX_DISTANCE = 2;

// The number of swaps of neighbours, insertions, deletions and replacements that make one text of the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> rows(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            rows[i][j] = std::min({replaced, rows[i - 1][j] + 1, rows[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows[a.size()][b.size()];
}

std::string_view without_dashes(std::string_view name) {
    return name.substr(std::min(name.find_first_not_of('-'), name.size()));
}

// Short names are near to everything, so their distance must be smaller than half their length.
std::size_t distance_of_names(std::string_view typed, std::string_view known) {
    const std::string_view a = without_dashes(typed);
    const std::string_view b = without_dashes(known);
    if (a.empty() || a.size() > b.size() + MAX_DISTANCE) {
        return MAX_DISTANCE + 1;
    }
    if (a.size() > 1 && b.starts_with(a)) {
        return 1;
    }
    const std::size_t found = distance(a, b);
    return 2 * found < std::max(a.size(), b.size()) ? found : MAX_DISTANCE + 1;
}

} // namespace

std::vector<std::string> near_names(std::string_view typed, const std::vector<std::string>& known) {
    std::vector<std::string> nearest;
    std::size_t best = MAX_DISTANCE;
    for (const std::string& name : known) {
        const std::size_t found = distance_of_names(typed, name);
        if (found < best) {
            nearest.clear();
            best = found;
        }
        if (found == best) {
            nearest.push_back(name);
        }
    }
    return nearest;
}

std::string did_you_mean(const std::vector<std::string>& names) {
    std::string text = names.empty() ? "" : "; did you mean ";
    for (const std::string& name : names) {
        text += &name == &names.front() ? "" : &name == &names.back() ? " or " : ", ";
        text += name;
    }
    return text + (names.empty() ? "" : "?");
}
