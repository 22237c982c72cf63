#include "gost/ber.h"

#include <algorithm>
#include <string>
#include <vector>

#include "asn/asn_cursor.h"
#include "gost/der.h"

namespace derkit::gost {

namespace {

// Levels of a container without nested bags; programs write a dozen.
constexpr unsigned int MAX_OTHER_LEVELS = 32;
// SafeBag, the [0] of its bagValue, SafeContents.
constexpr unsigned int LEVELS_OF_BAGS_BAG = 3;
// A container with as many bags as limits::max_bags allows by default has a tenth of these.
constexpr std::size_t MAX_ELEMENTS = 2'000'000;

constexpr unsigned char MANY_OCTETS = 0x1F; // of the identifier (X.690 8.1.2.4)
constexpr unsigned char MORE = 0x80;
constexpr unsigned char INDEFINITE = 0x80;
constexpr std::string_view END_OF_CONTENTS("\0\0", 2);

unsigned char octet_at(std::string_view octets, std::size_t index) {
    return static_cast<unsigned char>(octets[index]);
}

struct header {
    std::string_view identifier;
    bool is_indefinite = false;
    std::size_t content_size = 0; // of a definite length

    bool is_constructed() const { return (octet_at(identifier, 0) & CONSTRUCTED) != 0; }
    bool is_octet_string() const { return (octet_at(identifier, 0) & ~CONSTRUCTED) == asn_tag_t::OCTET_STRING; }
};

// Takes the identifier octets from the front.
bool take_identifier(std::string_view& in, header& out) {
    if (in.empty()) {
        return false;
    }
    std::size_t size = 1;
    if ((octet_at(in, 0) & MANY_OCTETS) == MANY_OCTETS) {
        while (size < in.size() && (octet_at(in, size) & MORE) != 0) {
            ++size;
        }
        ++size;
    }
    if (size > in.size()) {
        return false;
    }
    out.identifier = in.substr(0, size);
    in.remove_prefix(size);
    return true;
}

// Takes the length octets from the front. A definite length must lie in what follows.
bool take_length(std::string_view& in, header& out) {
    if (in.empty()) {
        return false;
    }
    const unsigned char first = octet_at(in, 0);
    in.remove_prefix(1);
    out.is_indefinite = first == INDEFINITE;
    const std::size_t num_octets = first < INDEFINITE ? 0 : first - std::size_t{INDEFINITE};
    if (num_octets > in.size()) {
        return false;
    }
    std::size_t size = first < INDEFINITE ? first : 0;
    for (std::size_t i = 0; i < num_octets; ++i) {
        if (size > in.size() >> 8) {
            return false;
        }
        size = size << 8 | octet_at(in, i);
    }
    in.remove_prefix(num_octets);
    out.content_size = size;
    return size <= in.size();
}

bool take_header(std::string_view& in, header& out) {
    return take_identifier(in, out) && take_length(in, out);
}

// Whether anything in a whole DER-like element is to be rewritten. Malformed elements are left to be found later.
bool needs_rewriting(std::string_view in, unsigned int depth) {
    header element;
    while (!in.empty() && take_header(in, element)) {
        if (element.is_indefinite || (element.is_constructed() && element.is_octet_string())) {
            return true;
        }
        if (element.is_constructed() &&
            (depth == 0 || needs_rewriting(in.substr(0, element.content_size), depth - 1))) {
            return true;
        }
        in.remove_prefix(element.content_size);
    }
    return false;
}

// Rewrites in two passes: the first finds the sizes of contents, in the order of their elements; the second writes.
class rewriter {
  public:
    result<secret> rewrite(std::string_view ber, unsigned int levels) {
        std::string_view in = ber;
        const std::size_t size = measure(in, levels, false);
        if (problem_ != cause::none) {
            return problem_;
        }
        secret out;
        out.reserve(size);
        write(ber, out, false);
        return out;
    }

  private:
    std::vector<std::size_t> sizes_; // of the contents of constructed elements
    std::size_t next_ = 0;
    std::size_t num_elements_ = 0;
    cause problem_ = cause::none;

    std::size_t fail(cause why) {
        problem_ = problem_ == cause::none ? why : problem_;
        return 0;
    }

    static bool at_end(std::string_view in, bool is_indefinite) {
        return is_indefinite ? in.substr(0, END_OF_CONTENTS.size()) == END_OF_CONTENTS : in.empty();
    }

    // Takes one element and returns its size after rewriting; of a piece of a string, only that of its content.
    std::size_t measure(std::string_view& in, unsigned int depth, bool is_piece) {
        header element;
        if (!take_header(in, element) || (element.is_indefinite && !element.is_constructed())) {
            return fail(cause::malformed);
        }
        if (++num_elements_ > MAX_ELEMENTS) {
            return fail(cause::too_large);
        }
        if (is_piece && !element.is_octet_string()) {
            return fail(cause::malformed);
        }
        std::size_t size = element.content_size;
        if (!element.is_constructed()) {
            in.remove_prefix(size);
        } else {
            size = measure_content(in, element, depth);
        }
        return is_piece ? size : element.identifier.size() + length_octets(size).size() + size;
    }

    std::size_t measure_content(std::string_view& in, const header& element, unsigned int depth) {
        if (depth == 0) {
            return fail(cause::too_deep);
        }
        const std::size_t index = sizes_.size();
        sizes_.push_back(0);
        std::string_view definite = in.substr(0, element.content_size);
        std::string_view& content = element.is_indefinite ? in : definite;
        std::size_t size = 0;
        while (problem_ == cause::none && !at_end(content, element.is_indefinite)) {
            size += measure(content, depth - 1, element.is_octet_string());
        }
        if (problem_ == cause::none) {
            in.remove_prefix(element.is_indefinite ? END_OF_CONTENTS.size() : element.content_size);
        }
        sizes_[index] = size;
        return size;
    }

    // Takes one element that has been measured.
    void write(std::string_view& in, secret& out, bool is_piece) {
        header element;
        take_header(in, element);
        const std::size_t size = element.is_constructed() ? sizes_[next_++] : element.content_size;
        if (!is_piece) {
            write_header(element, size, out);
        }
        if (!element.is_constructed()) {
            out.append(in.substr(0, size));
            in.remove_prefix(size);
            return;
        }
        std::string_view definite = in.substr(0, element.content_size);
        std::string_view& content = element.is_indefinite ? in : definite;
        while (!at_end(content, element.is_indefinite)) {
            write(content, out, element.is_octet_string());
        }
        in.remove_prefix(element.is_indefinite ? END_OF_CONTENTS.size() : element.content_size);
    }

    static void write_header(const header& element, std::size_t size, secret& out) {
        constexpr char PRIMITIVE_OCTET_STRING = asn_tag_t::OCTET_STRING;
        out.append(element.is_octet_string() ? std::string_view(&PRIMITIVE_OCTET_STRING, 1) : element.identifier);
        out.append(length_octets(size));
    }

    static std::string length_octets(std::size_t size) { return der_header(asn_tag_t::ANY, size).substr(1); }
};

} // namespace

unsigned int max_depth_of(const limits& cost) {
    return std::min(cost.max_depth, limits::MAX_DEPTH);
}

result<definite_octets> with_definite_lengths(std::string_view ber, unsigned int nested_bags) {
    const unsigned int levels = MAX_OTHER_LEVELS + LEVELS_OF_BAGS_BAG * nested_bags;
    std::string_view after = ber;
    header outer;
    if (!take_header(after, outer)) {
        return cause::malformed;
    }
    const std::size_t header_size = ber.size() - after.size();
    if (!outer.is_indefinite && !needs_rewriting(ber.substr(0, header_size + outer.content_size), levels)) {
        return definite_octets(ber.substr(0, header_size + outer.content_size));
    }
    result<secret> rewritten = rewriter().rewrite(ber, levels);
    return rewritten ? result<definite_octets>(definite_octets(*std::move(rewritten))) : rewritten.error();
}

result<secret> joined_octet_strings(std::string_view pieces) {
    secret out;
    asn_cursor_t in(blob_of(pieces));
    while (in.ok() && !in.empty()) {
        out.append(text_of(in.read(asn_tag_t::OCTET_STRING)));
    }
    return in.ok() ? result<secret>(std::move(out)) : cause::malformed;
}

} // namespace derkit::gost
