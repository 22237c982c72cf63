#include "testing/calls.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace {

// Reads what a view shows: where that is not the input's, a guard page may be next to it.
void touch(const unsigned char* data, std::size_t size) {
    const volatile unsigned char* const octets = data;
    for (std::size_t i = 0; i < size; ++i) {
        static_cast<void>(octets[i]);
    }
}

std::vector<call_t> joined_calls() {
    std::vector<call_t> all;
    for (const auto family :
         {element_calls, printing_calls, text_to_name_calls, operation_calls, character_calls, time_calls, lookup_calls,
          digest_calls, public_key_calls, reading_key_calls, writing_key_calls, pkcs12_calls}) {
        for (call_t& call : family()) {
            if (call.name.empty()) {
                call.name = call.function;
            }
            std::replace(call.name.begin(), call.name.end(), ':', '_');
            if (call.record) {
                call.samples = {call.input_of(*call.record)};
            }
            all.push_back(std::move(call));
        }
    }
    return all;
}

} // namespace

std::ostream& operator<<(std::ostream& out, const call_answer_t& answer) {
    return out << (answer.accepted ? "accepted" : "refused") << (answer.views_inside ? "" : ", a view lies outside")
               << answer.text;
}

std::ostream& operator<<(std::ostream& out, const call_t& call) {
    return out << call.name;
}

unsigned long long run_t::number() const {
    unsigned long long value = 0;
    for (const char c : text()) {
        value = value << 8 | static_cast<unsigned char>(c);
    }
    return value;
}

void run_t::hold(std::string_view text) {
    before = text;
    std::string(text).swap(out);
    out.reserve(room);
}

void run_t::note(unsigned long long value) {
    if (takes_notes) {
        notes_ += " " + std::to_string(value);
    }
}

void run_t::note(std::string_view bytes) {
    if (takes_notes) {
        notes_ += " [" + to_hex(bytes) + "]";
    }
}

void run_t::note(const OIDdescr_t* entry) {
    note(entry == nullptr ? std::string_view("none") : std::string_view(entry->oid_str, entry->oid_str_size));
    if (entry != nullptr) {
        note(std::string_view(entry->oid_sn, entry->oid_sn_size));
        note(std::string_view(entry->oid_ln, entry->oid_ln_size));
    }
}

void run_t::note_view(const unsigned char* view_data, std::size_t view_size) {
    if (!takes_notes) {
        return;
    }
    blob_t value;
    value.data = view_data;
    value.size = static_cast<unsigned int>(view_size);
    const auto holds_it = [&](const std::string& buffer) { return lies_in(value, buffer); };
    if (view_data == nullptr && view_size == 0) {
        notes_ += " null";
    } else if (lies_in(value, text())) {
        notes_ += " " + std::to_string(view_data - data) + "+" + std::to_string(view_size);
        touch(view_data, view_size);
    } else if (buffers_ != nullptr && std::any_of(buffers_->begin(), buffers_->end(), holds_it)) {
        notes_ += " kept[" + to_hex(chars_of(value)) + "]";
    } else {
        notes_ += " outside";
        views_inside_ = false;
    }
}

call_answer_t run_t::answer(bool accepted) const {
    return {accepted, views_inside_, notes_ + (out == before ? "" : " out=[" + to_hex(out) + "]")};
}

bool as_it_was(const std::string& before, const std::string& after, const std::string&) {
    return after == before;
}

bool as_it_was_or_empty(const std::string& before, const std::string& after, const std::string&) {
    return after == before || after.empty();
}

// As much of the appended text as memory sufficed for.
bool with_a_part_appended(const std::string& before, const std::string& after, const std::string& expected) {
    return after.size() >= before.size() && expected.substr(0, after.size()) == after;
}

// As much of the text that replaces the output.
bool as_it_was_or_a_part(const std::string& before, const std::string& after, const std::string& expected) {
    return after == before || expected.substr(0, after.size()) == after;
}

// The RDNs that were finished, reversed, each with its comma: so many of those at the end of the expected text.
bool with_finished_rdns(const std::string& before, const std::string& after, const std::string& expected) {
    if (after == before) {
        return true;
    }
    if (after.size() <= before.size() || after.substr(0, before.size()) != before || after.back() != ',') {
        return false;
    }
    const std::string finished = after.substr(before.size(), after.size() - before.size() - 1);
    const std::string all = expected.substr(before.size());
    const std::string rest = all.substr(0, all.size() - std::min(all.size(), finished.size()));
    const bool starts_an_rdn =
        rest.empty() || (rest.back() == ',' && (rest.size() < 2 || rest[rest.size() - 2] != '\\'));
    return all == rest + finished && starts_an_rdn;
}

const std::vector<call_t>& all_calls() {
    static const std::vector<call_t> CALLS = joined_calls();
    return CALLS;
}

std::vector<call_t> calls_where(const std::function<bool(const call_t&)>& wanted) {
    std::vector<call_t> calls;
    std::copy_if(all_calls().begin(), all_calls().end(), std::back_inserter(calls), wanted);
    return calls;
}

std::vector<call_t> record_calls() {
    return calls_where([](const call_t& call) { return call.record.has_value(); });
}

const call_t& call_named(std::string_view name) {
    for (const call_t& call : all_calls()) {
        if (call.name == name) {
            return call;
        }
    }
    throw std::out_of_range("no call " + std::string(name));
}

call_answer_t answer_to(const call_t& call, const unsigned char* data, unsigned int size) {
    run_t run(data, size);
    const bool accepted = call.run(run);
    return run.answer(accepted);
}

std::string octets_for(const call_t& call, std::string_view input) {
    std::string octets(input);
    if (call.input == input_t::ZERO_TERMINATED) {
        octets.push_back('\0');
    }
    return octets;
}

std::string number_input(unsigned long long value) {
    std::string octets;
    for (int shift = 56; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<char>(value >> shift & 0xFF));
    }
    return octets;
}

std::string repeated(std::string_view piece, std::size_t size) {
    std::string text(piece);
    text.reserve(size + piece.size());
    while (text.size() + piece.size() <= size) {
        text += piece;
    }
    return text;
}

std::string element(int tag, std::string_view content) {
    return encode(der_element(tag, content));
}

std::string nested_lengths(std::size_t size) {
    std::string inside_out; // lengths are written backwards, the innermost first
    for (std::size_t length = 0; inside_out.size() < size; length = inside_out.size()) {
        const std::string octets = der_length(length);
        inside_out.append(octets.rbegin(), octets.rend());
        inside_out.push_back('\x30');
    }
    return std::string(inside_out.rbegin(), inside_out.rend());
}

std::string map_lines(std::size_t size) {
    std::string text;
    text.reserve(size + 100);
    for (unsigned int i = 0; text.size() < size; ++i) {
        const std::string number = std::to_string(1000000 + i);
        text += "1.2.3." + number + " = XXXXXXXX" + number + ", long name\n";
    }
    return text;
}
