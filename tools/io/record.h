// What the tool shows: text that is safe to show, and records of it.
#ifndef DERKIT_TOOLS_IO_RECORD_H
#define DERKIT_TOOLS_IO_RECORD_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// Text that is safe on a terminal and in JSON: valid UTF-8 without control characters (C0, DEL, C1), bidirectional
// controls and line or paragraph separators. Every byte of such a character, and every byte that is not UTF-8, is
// written as a backslash and two hexadecimal digits. The DN syntax has the same escapes, so a name shown this way still
// parses to the same DER.
//
// The console takes only this type of text, so nothing reaches an output without passing the constructor.
class shown_text_t {
  public:
    shown_text_t() = default;
    explicit shown_text_t(std::string_view raw);

    // For text in which backslashes have no meaning of their own: each is written as "\5C", so that it cannot be taken for
    // the escape of another character.
    static shown_text_t without_escapes(std::string_view raw);

    const std::string& str() const { return text_; }
    bool operator==(const shown_text_t&) const = default;

  private:
    std::string text_;
};

// Named values in the order in which they were added. Keys are the same in both forms of the output.
class record_t {
  public:
    void add(const char* key, const shown_text_t& text) { fields_.emplace_back(key, text); }
    void add(const char* key, std::string_view raw) { add(key, shown_text_t(raw)); }
    void add(const char* key, unsigned int number) { fields_.emplace_back(key, static_cast<long long>(number)); }
    void add(const char* key, long number) { fields_.emplace_back(key, static_cast<long long>(number)); }
    void add_yes_or_no(const char* key, bool value) { add(key, value ? "yes" : "no"); }

    // Unless it is empty.
    void add_if(const char* key, std::string_view raw) {
        if (!raw.empty()) {
            add(key, raw);
        }
    }
    void add_if(const char* key, const std::optional<unsigned int>& number) {
        if (number.has_value()) {
            add(key, *number);
        }
    }

    // A warning that belongs to the record: what it could not show as text, say.
    void remark(std::string text) { remarks_.push_back(std::move(text)); }
    const std::vector<std::string>& remarks() const { return remarks_; }

    // A line "key: value" for each field, with `prefix` in front.
    std::string lines(const shown_text_t& prefix) const;

    // One JSON object on one line.
    std::string json() const;

  private:
    using value_t = std::variant<shown_text_t, long long>;
    std::vector<std::pair<const char*, value_t>> fields_;
    std::vector<std::string> remarks_;
};

#endif
