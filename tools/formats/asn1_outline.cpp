#include "formats/asn1_outline.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace {

using offset_t = unsigned long long;

constexpr offset_t NO_LIMIT = std::numeric_limits<offset_t>::max();
constexpr std::size_t MAX_COMPARED_MEMBER = 4096; // of a SET OF

// An element whose content is being read.
struct level_t {
    asn1_tag_t tag;
    offset_t offset = 0;
    bool indefinite = false;
    offset_t limit = NO_LIMIT; // its end; that of the nearest element that has one if it is indefinite itself
    std::string last_member;   // of a SET: the element before
};

std::string count_text(offset_t count) {
    return std::to_string(count) + (count == 1 ? " octet" : " octets");
}

std::string place_text(const level_t& level) {
    return asn1_type_name(level.tag) + " at offset " + std::to_string(level.offset);
}

class outliner_t {
  public:
    outliner_t(octet_source_t& source, const std::function<void(const asn1_element_t& element)>& take)
        : source_(source), take_(take) {}

    void run() {
        while (read_next()) {
        }
    }

  private:
    octet_source_t& source_;
    const std::function<void(const asn1_element_t& element)>& take_;
    offset_t position_ = 0;
    std::vector<level_t> open_;
    bool end_was_reported_ = false;

    offset_t limit() const { return open_.empty() ? NO_LIMIT : open_.back().limit; }

    asn1_element_t start_element(asn1_kind_t kind) const {
        asn1_element_t element;
        element.kind = kind;
        element.offset = position_;
        element.depth = static_cast<unsigned int>(open_.size());
        return element;
    }

    // No more than the innermost element has, and no fewer than `wanted` unless the element or the file ends.
    std::string_view look(offset_t wanted) {
        const offset_t allowed = std::min(wanted, limit() - position_);
        const std::string_view octets = source_.look(static_cast<std::size_t>(allowed));
        return octets.substr(0, static_cast<std::size_t>(std::min<offset_t>(allowed, octets.size())));
    }

    void pass(std::size_t size) {
        source_.pass(size);
        position_ += size;
    }

    // Fewer at the end of the file. Returns their number.
    offset_t skip(offset_t size) {
        const offset_t begin = position_;
        while (position_ - begin < size) {
            const std::size_t available = source_.look(1).size();
            if (available == 0) {
                break;
            }
            pass(static_cast<std::size_t>(std::min<offset_t>(size - (position_ - begin), available)));
            if (size != NO_LIMIT) {
                source_.begin_item();
            }
        }
        return position_ - begin;
    }

    // Returns false at the end of the file.
    bool read_next() {
        source_.begin_item();
        close_finished();
        const std::string_view octets = look(MAX_ASN1_HEADER_SIZE);
        if (octets.empty()) {
            return report_missing_end();
        }
        asn1_header_t header;
        std::string problem;
        if (!read_asn1_header(octets, header, problem)) {
            skip_unreadable(problem);
        } else if (header.tag.is_universal(asn1_number::END_OF_CONTENTS)) {
            read_end(header);
        } else {
            read_element(header);
        }
        return true;
    }

    void close_finished() {
        while (!open_.empty() && !open_.back().indefinite && open_.back().limit == position_) {
            open_.pop_back();
        }
    }

    // The file ends, or an element around one of indefinite length does. Returns false at the end of the file.
    bool report_missing_end() {
        if (open_.empty()) {
            return false;
        }
        asn1_element_t missing = start_element(asn1_kind_t::UNREADABLE);
        if (position_ == limit()) {
            add_ber_breach(missing.breaches, "8.1.5",
                           "the end-of-contents of " + place_text(open_.back()) + " is missing");
            take_(missing);
            open_.pop_back();
            return true;
        }
        if (end_was_reported_) {
            return false;
        }
        const level_t& outermost = open_.front();
        add_ber_breach(missing.breaches, outermost.indefinite ? "8.1.5" : "8.1.3",
                       "the data end, but not " + place_text(outermost) +
                           (outermost.indefinite ? "" : ", which lacks " + count_text(outermost.limit - position_)));
        take_(missing);
        return false;
    }

    // Nothing tells where the next element might be, so the rest of the innermost element with a known end is passed.
    void skip_unreadable(const std::string& problem) {
        asn1_element_t rest = start_element(asn1_kind_t::UNREADABLE);
        while (!open_.empty() && open_.back().indefinite) {
            open_.pop_back();
        }
        rest.breaches.push_back({asn1_breach_of_t::BER, problem});
        rest.content_size = skip(limit() == NO_LIMIT ? NO_LIMIT : limit() - position_);
        take_(rest);
    }

    void read_end(const asn1_header_t& header) {
        if (open_.empty() || !open_.back().indefinite) {
            return skip_unreadable("X.690 8.1.5: end-of-contents octets end nothing");
        }
        if (header.size != 2 || header.content_size != 0 || header.tag.constructed) {
            return skip_unreadable("X.690 8.1.5: end-of-contents octets are not two zeros");
        }
        asn1_element_t end = start_element(asn1_kind_t::END);
        end.header_size = header.size;
        end.content_size = header.content_size;
        end.tag = header.tag;
        open_.pop_back();
        pass(header.size);
        take_(end);
    }

    void read_element(const asn1_header_t& header) {
        asn1_element_t element = start_element(asn1_kind_t::ELEMENT);
        element.header_size = header.size;
        element.content_size = header.content_size;
        element.tag = header.tag;
        element.breaches = header.breaches;
        check_order(header, element);
        const level_t level = level_of(header, element);
        if (header.tag.constructed) {
            open(level, header, element);
        } else {
            read_primitive(level, header, element);
        }
    }

    // An element that is too large for the one that it is in ends with it.
    level_t level_of(const asn1_header_t& header, asn1_element_t& element) {
        level_t level;
        level.tag = header.tag;
        level.offset = position_;
        level.limit = limit();
        level.indefinite = !header.content_size.has_value();
        if (level.indefinite) {
            return level;
        }
        const offset_t begin = position_ + header.size;
        const bool is_limited = limit() != NO_LIMIT;
        const offset_t room = (is_limited ? limit() : NO_LIMIT - 1) - begin;
        if (is_limited && *header.content_size > room) {
            add_ber_breach(element.breaches, "8.1.3",
                           "runs " + count_text(*header.content_size - room) + " past the end of " +
                               place_text(innermost_definite()));
        }
        level.limit = begin + std::min(*header.content_size, room);
        return level;
    }

    // The one whose end is the limit.
    const level_t& innermost_definite() const {
        return *std::ranges::find_if(open_.rbegin(), open_.rend(),
                                     [](const level_t& level) { return !level.indefinite; });
    }

    // Members of a SET OF are in ascending order; those of a SET have different tags.
    void check_order(const asn1_header_t& header, asn1_element_t& element) {
        if (open_.empty() || !open_.back().tag.is_universal(asn1_number::SET)) {
            return;
        }
        std::string& last = open_.back().last_member;
        std::string member;
        if (header.content_size.has_value() && *header.content_size <= MAX_COMPARED_MEMBER) {
            member = look(header.size + *header.content_size);
        }
        if (!member.empty() && !last.empty() && member[0] == last[0] && member < last) {
            add_der_breach(element.breaches, "11.6", "the members of a SET OF are not in ascending order");
        }
        last = member;
    }

    void open(const level_t& level, const asn1_header_t& header, asn1_element_t& element) {
        const bool too_deep = open_.size() == MAX_ASN1_DEPTH;
        if (too_deep) {
            element.breaches.push_back(
                {asn1_breach_of_t::BER,
                 "elements are nested deeper than " + std::to_string(MAX_ASN1_DEPTH) + " levels, so it is not opened"});
        }
        pass(header.size);
        take_(element);
        if (!too_deep) {
            open_.push_back(level);
        } else {
            skip(level.limit == NO_LIMIT ? NO_LIMIT : level.limit - position_);
        }
    }

    void read_primitive(const level_t& level, const asn1_header_t& header, asn1_element_t& element) {
        const offset_t content_size = level.limit - position_ - header.size;
        const std::string_view octets = look(header.size + std::min<offset_t>(content_size, ASN1_WINDOW));
        const std::string_view content = octets.substr(header.size);
        if (const std::size_t prefix = encapsulated_at(element.tag, content, content_size); prefix != NOWHERE) {
            element.encapsulates = true;
            pass(header.size + prefix);
            take_(element);
            open_.push_back(level);
            return;
        }
        element.is_cut = content.size() != content_size || element.content_size != content_size;
        element.value = element.is_cut ? read_start_of_asn1_value(element.tag, content)
                                       : read_asn1_value(element.tag, content, element.breaches);
        pass(header.size);
        if (const offset_t available = skip(content_size); available < content_size) {
            end_was_reported_ = true;
            add_ber_breach(element.breaches, "8.1.3",
                           "the data end " + count_text(content_size - available) + " before the end of the content");
        }
        take_(element);
    }

    static constexpr std::size_t NOWHERE = std::numeric_limits<std::size_t>::max();

    // Where in the content of a string an element in DER begins that has all of the rest: after the number of unused bits
    // of a BIT STRING.
    std::size_t encapsulated_at(const asn1_tag_t& tag, std::string_view content, offset_t content_size) const {
        const bool is_bit_string = tag.is_universal(asn1_number::BIT_STRING);
        const bool in_string =
            !open_.empty() && asn1_form(open_.back().tag) == asn1_form_t::STRING && open_.back().tag.constructed;
        if ((!is_bit_string && !tag.is_universal(asn1_number::OCTET_STRING)) || in_string ||
            open_.size() == MAX_ASN1_DEPTH) {
            return NOWHERE;
        }
        const std::size_t prefix = is_bit_string ? 1 : 0;
        if (content.size() <= prefix || (is_bit_string && content[0] != 0)) {
            return NOWHERE;
        }
        const std::string_view inside = content.substr(prefix);
        const bool is_opened =
            content.size() == content_size ? is_der_element(inside) : begins_like_der(inside, content_size - prefix);
        return is_opened ? prefix : NOWHERE;
    }

    static bool begins_like_der(std::string_view start, offset_t size) {
        asn1_header_t header;
        std::string problem;
        const bool is_read = size > ASN1_WINDOW && read_asn1_header(start, header, problem);
        return is_read && header.breaches.empty() && header.content_size == size - header.size &&
               (header.tag.is_universal(asn1_number::SEQUENCE) || header.tag.is_universal(asn1_number::SET));
    }
};

} // namespace

void outline_asn1(octet_source_t& source, const std::function<void(const asn1_element_t& element)>& take) {
    outliner_t(source, take).run();
}
