// An outline of BER and DER: every element where it is, and what is wrong with it.
#ifndef DERKIT_TOOLS_FORMATS_ASN1_OUTLINE_H
#define DERKIT_TOOLS_FORMATS_ASN1_OUTLINE_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "formats/asn1_header.h"
#include "formats/asn1_rules.h"
#include "formats/asn1_value.h"
#include "io/input.h"

// Octets that are read from the front.
class octet_source_t {
  public:
    virtual ~octet_source_t() = default;

    // At least `wanted` octets from here on, fewer only at the end; valid until the next call.
    virtual std::string_view look(std::size_t wanted) = 0;
    virtual void pass(std::size_t size) = 0;

    // What follows is another item of a file that may have any number of them.
    virtual void begin_item() = 0;
};

class file_source_t final : public octet_source_t {
  public:
    explicit file_source_t(input_stream_t& file) : file_(file) {}
    std::string_view look(std::size_t wanted) override { return file_.look(wanted); }
    void pass(std::size_t size) override { file_.pass(size); }
    void begin_item() override { file_.begin_item(); }

  private:
    input_stream_t& file_;
};

class memory_source_t final : public octet_source_t {
  public:
    explicit memory_source_t(std::string_view octets) : rest_(octets) {} // they must outlive it
    std::string_view look(std::size_t) override { return rest_; }
    void pass(std::size_t size) override { rest_.remove_prefix(size); }
    void begin_item() override {}

  private:
    std::string_view rest_;
};

enum class asn1_kind_t {
    ELEMENT,
    END,       // end-of-contents octets
    UNREADABLE // octets that are no element, or an element's end that is missing
};

struct asn1_element_t {
    asn1_kind_t kind = asn1_kind_t::ELEMENT;
    unsigned long long offset = 0; // of the header, from the start of the source
    unsigned int depth = 0;        // 0: outermost
    std::size_t header_size = 0;
    std::optional<unsigned long long> content_size; // as the header says; none: indefinite
    asn1_tag_t tag;
    bool encapsulates = false; // the content of a string is an element in DER, which comes next
    bool is_cut = false;       // the value has the first octets only
    asn1_value_t value;        // of a primitive element that does not encapsulate
    asn1_breaches_t breaches;
};

// Hands every element to `take`, from the front, nested ones after the one that they are in. Goes on after an error as
// far as the sizes around it allow. Uses the same memory whatever the sizes: strings above ASN1_WINDOW are not looked at
// as a whole, so neither checked nor, unless they begin with a SEQUENCE or SET that has all of their octets, opened.
constexpr std::size_t ASN1_WINDOW = 65536;
constexpr std::size_t MAX_ASN1_DEPTH = 256;
void outline_asn1(octet_source_t& source, const std::function<void(const asn1_element_t& element)>& take);

#endif
