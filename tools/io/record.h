// One object of the output.
#ifndef DERKIT_TOOLS_IO_RECORD_H
#define DERKIT_TOOLS_IO_RECORD_H

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "io/shown_text.h"

// Named values in the order in which they were added. Keys are the same in both forms of the output.
class record_t {
  public:
    void add(const char* key, const shown_text_t& text) { fields_.emplace_back(key, text); }
    void add(const char* key, unsigned int number) { fields_.emplace_back(key, static_cast<long long>(number)); }
    void add(const char* key, long number) { fields_.emplace_back(key, static_cast<long long>(number)); }

    // A line "key: value" for each field, with `prefix` in front.
    std::string lines(const shown_text_t& prefix) const;

    // One JSON object on one line.
    std::string json() const;

  private:
    using value_t = std::variant<shown_text_t, long long>;
    std::vector<std::pair<const char*, value_t>> fields_;
};

#endif
