#include "support/der_reader.h"

#include <algorithm>

#include "testing/vectors.h"

std::string read_text(bool accepted, std::initializer_list<std::string> fields) {
    std::string text = accepted ? "yes" : "no";
    const char* separator = " ";
    for (const std::string& field : fields) {
        text += separator + field;
        separator = ", ";
    }
    return text;
}

bool is_accepted(std::string_view text) {
    return text.starts_with("yes");
}

std::string field_text(const blob_t& view, const exact_bytes_t& input) {
    if (view.data == nullptr && view.size == 0) {
        return "null";
    }
    if (lies_in(view, UNTOUCHED_BYTES)) {
        return UNTOUCHED_BYTES;
    }
    if (!lies_in(view, input)) {
        return "outside the input";
    }
    return view.size == 0 ? "empty" : to_hex(chars_of(view));
}

std::string field_text(unsigned int number) {
    return number == UNTOUCHED_NUMBER ? UNTOUCHED_BYTES : std::to_string(number);
}

void expect_reads(const der_reader_t& read, const std::string& file) {
    for (const vector_t& vector : read_vectors("records/" + file)) {
        EXPECT_EQ(vector.field("expected"), read(vector.bytes("input")))
            << vector.where() << ": " << vector.field("case");
    }
}

namespace {

bool is_one_of(const std::vector<der_t>& list, der_t element) {
    element.length.clear();
    const std::string encoding = encode(element);
    return std::any_of(list.begin(), list.end(), [&](const der_t& e) { return encode(e) == encoding; });
}

struct reader_check_t {
    const der_reader_t& read;
    const der_t& sample;
    const reader_rules_t& rules;

    std::string input(const der_t& whole) const { return rules.takes_content ? encode_content(whole) : encode(whole); }
    bool accepts(const std::string& bytes) const { return is_accepted(read(bytes)); }

    void refuses_every_prefix() const {
        const std::string whole = input(sample);
        const auto is_last = [&](const der_t& element, std::size_t size) {
            return rules.takes_content && whole.substr(size) == encode(element);
        };
        for_each_prefix(whole, [&](const exact_bytes_t& prefix) {
            const bool lacks_an_optional = std::any_of(rules.optional.begin(), rules.optional.end(),
                                                       [&](const der_t& e) { return is_last(e, prefix.size()); });
            EXPECT_EQ(lacks_an_optional, is_accepted(read(std::string_view(prefix.chars(), prefix.size()))));
        });
    }

    void needs_every_element() const {
        for_each_element_left_out(sample, [&](const der_t& whole, const der_t& element) {
            EXPECT_EQ(is_one_of(rules.optional, element), accepts(input(whole)));
        });
    }

    void compares_every_identifier() const {
        for (const int other : {0x20, 0x01}) {
            for_each_element(sample, [&](der_t& whole, der_t& element) {
                const bool is_read = &element != &whole || !rules.takes_content;
                const bool is_free = is_one_of(rules.any_type, element);
                element.tag ^= other;
                EXPECT_EQ(!is_read || is_free, accepts(input(whole))) << "bits " << other;
            });
        }
    }

    void follows_no_bad_length() const {
        for_each_bad_length(sample, [&](const der_t& whole, const der_t& element) {
            const bool is_read = &element != &whole || !rules.takes_content;
            if (!is_read) {
                return;
            }
            EXPECT_FALSE(accepts(input(whole)));
            const bool is_enclosed = !rules.takes_content || !is_direct_member(whole, element);
            const bool reaches = is_one_of(rules.reaches_out, element) && element.length == from_hex("82 10 00");
            if (is_enclosed) {
                EXPECT_EQ(reaches, accepts(input(whole) + ROOM_AFTER));
            }
        });
    }

    void takes_longer_lengths() const {
        const std::string expected = read(input(sample));
        for_each_long_length(sample, [&](const der_t& whole) {
            const std::string text = read(input(whole));
            EXPECT_TRUE(is_accepted(text));
            EXPECT_TRUE(rules.shows_headers || text == expected) << text;
        });
    }

    void ignores_what_follows() const {
        const std::string expected = read(input(sample));
        for (const char* const trailing : {"05 00", "02 01 20", "FF", "04 7F"}) {
            SCOPED_TRACE(trailing);
            for_each_element(sample, [&](der_t& whole, der_t& element) {
                if (!element.members.empty() && !is_one_of(rules.open_end, element)) {
                    element.members.push_back(der_raw(trailing));
                    EXPECT_EQ(expected, read(input(whole)));
                }
            });
            if (!rules.takes_content && !is_one_of(rules.open_end, sample)) {
                EXPECT_EQ(expected, read(input(sample) + from_hex(trailing)));
            }
        }
    }

    static bool is_direct_member(const der_t& whole, const der_t& element) {
        return std::any_of(whole.members.begin(), whole.members.end(),
                           [&](const der_t& member) { return &member == &element; });
    }
};

} // namespace

void expect_rules_of_readers(const der_reader_t& read, const der_t& sample, const reader_rules_t& rules) {
    const reader_check_t check = {read, sample, rules};
    EXPECT_TRUE(check.accepts(check.input(sample)));
    check.refuses_every_prefix();
    check.needs_every_element();
    check.compares_every_identifier();
    check.follows_no_bad_length();
    check.takes_longer_lengths();
    check.ignores_what_follows();
}
