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

// Where an object was found: a file, and the number of the object among those of its kind in it.
struct place_t {
    std::string file;
    unsigned int index = 1;
    std::string subject; // of messages about the object, and of its heading
};

// What stands for the file of objects that come from arguments.
inline constexpr const char* COMMAND_LINE = "(command line)";

// Named values in the order in which they were added, with the same keys in both forms of the output. A record is an
// object of its own, or a part of another one.
class record_t {
  public:
    record_t() = default; // a part
    record_t(const char* object, const place_t& place) : object_(object), place_(place) {}

    void add(const char* key, const shown_text_t& text) { fields_.emplace_back(key, text); }
    void add(const char* key, std::string_view raw) { add(key, shown_text_t(raw)); }
    void add(const char* key, const char* raw) { add(key, shown_text_t(raw)); }
    void add(const char* key, unsigned int number) { fields_.emplace_back(key, static_cast<long long>(number)); }
    void add(const char* key, long number) { fields_.emplace_back(key, static_cast<long long>(number)); }
    void add(const char* key, long long number) { fields_.emplace_back(key, number); }

    // "yes" or "no" in text.
    void add(const char* key, bool value) { fields_.emplace_back(key, value); }

    // A number that text shows as 0x and eight hexadecimal digits.
    void add_code(const char* key, unsigned int code) { fields_.emplace_back(key, code_t{code}); }

    // Hexadecimal digits.
    void add_bytes(const char* key, std::string_view bytes);

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

    // Lists: a line "key:" and one "- item" for each item.
    void add(const char* key, const std::vector<shown_text_t>& texts) { fields_.emplace_back(key, texts); }
    void add(const char* key, const std::vector<record_t>& parts) { fields_.emplace_back(key, parts); }

    // A warning that belongs to the record: what it could not show as text, say.
    void remark(std::string text) { remarks_.push_back(std::move(text)); }
    const std::vector<std::string>& remarks() const { return remarks_; }

    // "==> SUBJECT <==".
    shown_text_t heading() const { return shown_text_t("==> " + place_.subject + " <=="); }

    // A line "key: value" for each field.
    std::string lines() const;

    // One JSON object on one line, which begins with the version of the format and the place.
    std::string json() const;

  private:
    struct code_t {
        unsigned int number;
    };
    using texts_t = std::vector<shown_text_t>;
    using parts_t = std::vector<record_t>;
    using value_t = std::variant<shown_text_t, long long, bool, code_t, texts_t, parts_t>;

    const char* object_ = nullptr;
    place_t place_;
    std::vector<std::pair<const char*, value_t>> fields_;
    std::vector<std::string> remarks_;

    class writer_t;
};

#endif
