// "Did you mean ...?": names that were probably mistyped.
#ifndef DERKIT_TOOLS_COMMANDS_HINT_H
#define DERKIT_TOOLS_COMMANDS_HINT_H

#include <string>
#include <string_view>
#include <vector>

// Returns those of the known names that are nearest to what was typed, in their order; none if all are far away. Near is
// what a swap, a missing, a superfluous or a wrong character make, two of them in all, or what the name begins with.
std::vector<std::string> near_names(std::string_view typed, const std::vector<std::string>& known);

// "; did you mean --json or --to?", or nothing for no names.
std::string did_you_mean(const std::vector<std::string>& names);

#endif
