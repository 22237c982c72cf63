// The catalogue of calls: every exported function with one interface, inputs that it accepts and inputs that cost it most. The tests of memory, threads, guard pages and cost run over it, and so does the maker of fuzz seeds.
//
// A new function is a new row in one of the files calls_….cpp.
#ifndef DERKIT_TESTING_CALLS_H
#define DERKIT_TESTING_CALLS_H

#include <cstddef>
#include <functional>
#include <list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/derkit.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/views.h"

// Told when the library's own code starts and ends, so that its memory or its instructions can be counted.
class observer_t {
  public:
    virtual void begin() = 0;
    virtual void end() = 0;

  protected:
    ~observer_t() = default;
};

// What came out of a call, as text in which views are offsets, so that answers from different places compare equal.
struct call_answer_t {
    bool accepted = false;
    bool views_inside = true; // the input, or a plaintext that the container keeps
    std::string text;
};

inline bool operator==(const call_answer_t& a, const call_answer_t& b) {
    return a.accepted == b.accepted && a.views_inside == b.views_inside && a.text == b.text;
}
std::ostream& operator<<(std::ostream& out, const call_answer_t& answer);

// One run of a call: its input, its output string, and notes of everything else that came out.
class run_t {
  public:
    run_t(const unsigned char* input, unsigned int input_size) : data(input), size(input_size) {}

    const unsigned char* const data;
    const unsigned int size;
    oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT;
    std::string before = "held"; // what `out` held
    std::string out = before;    // for functions that fill a string
    std::size_t room = 0;        // that hold() leaves
    observer_t* observer = nullptr;
    bool takes_notes = true;

    const char* chars() const { return reinterpret_cast<const char*>(data); }
    std::string_view text() const { return as_chars(data, size); }
    blob_t view() const { return {size, data}; }
    unsigned long long number() const; // the input, big-endian

    // Puts a text into `out`, which then has room for `room` octets or just for the text.
    void hold(std::string_view text);

    // Runs the library's function and nothing else, observed.
    template <typename CALL> auto call(CALL function) {
        const observed_t observed(observer);
        return function();
    }

    // Names the plaintexts that views may point into.
    void keep(const std::list<std::string>& buffers) { buffers_ = &buffers; }

    void note(unsigned long long value);
    void note(std::string_view bytes);
    void note(const blob_t& value) { note_view(value.data, value.size); }
    void note(const bmp_string_t& value) { note_view(value.data, value.size); }
    void note(const OIDdescr_t* entry);

    call_answer_t answer(bool accepted) const;

  private:
    class observed_t {
      public:
        explicit observed_t(observer_t* observer) : observer_(observer) {
            if (observer_ != nullptr) {
                observer_->begin();
            }
        }
        ~observed_t() {
            if (observer_ != nullptr) {
                observer_->end();
            }
        }
        observed_t(const observed_t&) = delete;
        observed_t& operator=(const observed_t&) = delete;

      private:
        observer_t* const observer_;
    };

    const std::list<std::string>* buffers_ = nullptr;
    bool views_inside_ = true;
    std::string notes_;

    void note_view(const unsigned char* view_data, std::size_t view_size);
};

// What a function reads.
enum class input_t {
    BYTES,           // a pointer and a size
    ZERO_TERMINATED, // a pointer; the input is followed by a zero
    STRING,          // a std::string
    NUMBER           // nothing: the input is a number, big-endian
};

// Tells whether `after` is what a failed allocation may leave of an output that held `before` and was to become
// `expected`.
using left_t = bool (*)(const std::string& before, const std::string& after, const std::string& expected);
bool as_it_was(const std::string& before, const std::string& after, const std::string& expected);
bool as_it_was_or_empty(const std::string& before, const std::string& after, const std::string& expected);
bool with_a_part_appended(const std::string& before, const std::string& after, const std::string& expected);
bool as_it_was_or_a_part(const std::string& before, const std::string& after, const std::string& expected);
bool with_finished_rdns(const std::string& before, const std::string& after, const std::string& expected);

constexpr std::size_t MEGABYTE = 1024 * 1024;
constexpr std::size_t LARGE = MEGABYTE / 4;
constexpr std::size_t BRIEF = MEGABYTE / 8; // for further shapes of a function, and where a call costs much

constexpr std::size_t ANY_NUMBER = static_cast<std::size_t>(-1);

// A worst input of any size.
struct shape_t {
    const char* name;
    std::string (*make)(std::size_t size); // of about this size
    std::size_t largest = LARGE;
    bool accepted = true;
};

struct call_t {
    std::string name = {}; // unique; by default that of the function
    const char* function;  // as it is exported
    input_t input = input_t::BYTES;
    std::vector<std::string> samples = {}; // inputs that are accepted
    bool (*run)(run_t& run);               // tells whether the input was accepted
    std::vector<shape_t> shapes = {};      // none for numbers alone
    left_t left = nullptr;                 // null: the call takes no memory
    std::size_t blocks = 0;                // that a sample takes when the output has room
    bool appends = false;                  // to what `out` holds
    bool reentrant = true;
    std::optional<der_t> record = {}; // the sample, when it is an encoding that is taken apart
    bool takes_content = false;       // of the record, without its outermost header

    std::string input_of(const der_t& changed) const {
        return takes_content ? encode_content(changed) : encode(changed);
    }
};

std::ostream& operator<<(std::ostream& out, const call_t& call);

const std::vector<call_t>& all_calls();
std::vector<call_t> calls_where(const std::function<bool(const call_t&)>& wanted);
std::vector<call_t> record_calls();
const call_t& call_named(std::string_view name);

// Runs a call on `size` octets at `data`, followed by a zero if it takes zero-terminated text.
call_answer_t answer_to(const call_t& call, const unsigned char* data, unsigned int size);
// Returns the input with its final zero, if the call needs one.
std::string octets_for(const call_t& call, std::string_view input);

// The families.
std::vector<call_t> element_calls();
std::vector<call_t> printing_calls();
std::vector<call_t> text_to_name_calls();
std::vector<call_t> operation_calls();
std::vector<call_t> character_calls();
std::vector<call_t> time_calls();
std::vector<call_t> lookup_calls();
std::vector<call_t> digest_calls();
std::vector<call_t> public_key_calls();
std::vector<call_t> reading_key_calls();
std::vector<call_t> writing_key_calls();
std::vector<call_t> pkcs12_calls();

// For samples and shapes

std::string number_input(unsigned long long value);
// As many pieces as fit, but at least one.
std::string repeated(std::string_view piece, std::size_t size);
std::string element(int tag, std::string_view content);
// Sequences inside each other, down to an empty one.
std::string nested_lengths(std::size_t size);
// Lines whose names have the same length and differ only at their ends, so that comparing them takes longest.
std::string map_lines(std::size_t size);

#endif
