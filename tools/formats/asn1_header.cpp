#include "formats/asn1_header.h"

#include <algorithm>
#include <limits>

namespace {

constexpr unsigned int LONG_NUMBER = 31; // all bits of a number are set: it follows in octets of its own
constexpr unsigned int MORE = 0x80;      // another octet follows
constexpr unsigned int INDEFINITE = 0x80;
constexpr unsigned int RESERVED_LENGTH = 0xFF;

struct type_row_t {
    unsigned int number;
    const char* name;
    asn1_form_t form;
    const char* clause = ""; // of X.690, which has the form
};

// X.680 8.4, X.690 8.2 to 8.26
constexpr type_row_t TYPES[] = {
    {0, "end-of-contents", asn1_form_t::PRIMITIVE, "8.1.5"},
    {1, "BOOLEAN", asn1_form_t::PRIMITIVE, "8.2.1"},
    {2, "INTEGER", asn1_form_t::PRIMITIVE, "8.3.1"},
    {3, "BIT STRING", asn1_form_t::STRING},
    {4, "OCTET STRING", asn1_form_t::STRING},
    {5, "NULL", asn1_form_t::PRIMITIVE, "8.8.1"},
    {6, "OBJECT IDENTIFIER", asn1_form_t::PRIMITIVE, "8.19.1"},
    {7, "ObjectDescriptor", asn1_form_t::STRING},
    {8, "EXTERNAL", asn1_form_t::CONSTRUCTED, "8.18.1"},
    {9, "REAL", asn1_form_t::PRIMITIVE, "8.5.1"},
    {10, "ENUMERATED", asn1_form_t::PRIMITIVE, "8.4"},
    {11, "EMBEDDED PDV", asn1_form_t::CONSTRUCTED, "8.17"},
    {12, "UTF8String", asn1_form_t::STRING},
    {13, "RELATIVE-OID", asn1_form_t::PRIMITIVE, "8.20.1"},
    {14, "TIME", asn1_form_t::PRIMITIVE, "8.26"},
    {16, "SEQUENCE", asn1_form_t::CONSTRUCTED, "8.9.1"},
    {17, "SET", asn1_form_t::CONSTRUCTED, "8.11.1"},
    {18, "NumericString", asn1_form_t::STRING},
    {19, "PrintableString", asn1_form_t::STRING},
    {20, "T61String", asn1_form_t::STRING},
    {21, "VideotexString", asn1_form_t::STRING},
    {22, "IA5String", asn1_form_t::STRING},
    {23, "UTCTime", asn1_form_t::STRING},
    {24, "GeneralizedTime", asn1_form_t::STRING},
    {25, "GraphicString", asn1_form_t::STRING},
    {26, "VisibleString", asn1_form_t::STRING},
    {27, "GeneralString", asn1_form_t::STRING},
    {28, "UniversalString", asn1_form_t::STRING},
    {29, "CHARACTER STRING", asn1_form_t::CONSTRUCTED, "8.24"},
    {30, "BMPString", asn1_form_t::STRING},
    {31, "DATE", asn1_form_t::PRIMITIVE, "8.26"},
    {32, "TIME-OF-DAY", asn1_form_t::PRIMITIVE, "8.26"},
    {33, "DATE-TIME", asn1_form_t::PRIMITIVE, "8.26"},
    {34, "DURATION", asn1_form_t::PRIMITIVE, "8.26"},
    {35, "OID-IRI", asn1_form_t::PRIMITIVE, "8.21"},
    {36, "RELATIVE-OID-IRI", asn1_form_t::PRIMITIVE, "8.22"},
};

const type_row_t* find_type(const asn1_tag_t& tag) {
    if (tag.tag_class != asn1_class_t::UNIVERSAL) {
        return nullptr;
    }
    const auto* const found = std::ranges::find(TYPES, tag.number, &type_row_t::number);
    return found != std::end(TYPES) ? found : nullptr;
}

// Takes octets off the front of a header.
class octet_reader_t {
  public:
    explicit octet_reader_t(std::string_view bytes) : bytes_(bytes) {}

    bool empty() const { return place_ == bytes_.size(); }
    std::size_t place() const { return place_; }
    unsigned int take() { return static_cast<unsigned char>(bytes_[place_++]); }

  private:
    std::string_view bytes_;
    std::size_t place_ = 0;
};

// The octets of a number from 31 on, seven bits each (X.690 8.1.2.4).
bool read_long_number(octet_reader_t& in, asn1_header_t& out, std::string& problem) {
    constexpr unsigned int MAX_BEFORE_SHIFT = std::numeric_limits<unsigned int>::max() >> 7;
    unsigned int number = 0;
    for (bool is_first = true;; is_first = false) {
        if (in.empty()) {
            problem = "X.690 8.1.2.4: the tag number is cut short";
            return false;
        }
        const unsigned int octet = in.take();
        if (is_first && octet == MORE) {
            add_ber_breach(out.breaches, "8.1.2.4.2", "the tag number begins with zeros");
        }
        if (number > MAX_BEFORE_SHIFT || in.place() == MAX_ASN1_HEADER_SIZE - 127) {
            problem = "the tag number has more than 32 bits";
            return false;
        }
        number = number << 7 | (octet & 0x7F);
        if ((octet & MORE) == 0) {
            break;
        }
    }
    if (number < LONG_NUMBER) {
        add_ber_breach(out.breaches, "8.1.2.2", "a tag number below 31 has octets of its own");
    }
    out.tag.number = number;
    return true;
}

bool read_identifier(octet_reader_t& in, asn1_header_t& out, std::string& problem) {
    const unsigned int octet = in.take();
    out.tag.tag_class = static_cast<asn1_class_t>(octet >> 6);
    out.tag.constructed = (octet & 0x20) != 0;
    out.tag.number = octet & LONG_NUMBER;
    return out.tag.number != LONG_NUMBER || read_long_number(in, out, problem);
}

// What is too large for the type becomes its largest value.
bool read_long_length(octet_reader_t& in, unsigned int num_octets, asn1_header_t& out, std::string& problem) {
    constexpr auto MAX_LENGTH = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    unsigned long long length = 0;
    bool begins_with_zero = false;
    for (unsigned int i = 0; i < num_octets; ++i) {
        if (in.empty()) {
            problem = "X.690 8.1.3.5: the length is cut short";
            return false;
        }
        const unsigned int octet = in.take();
        begins_with_zero = begins_with_zero || (i == 0 && octet == 0);
        length = length > MAX_LENGTH >> 8 ? MAX_LENGTH : length << 8 | octet;
    }
    if (begins_with_zero || length < 0x80) {
        add_der_breach(out.breaches, "10.1", "the length takes more octets than it needs");
    }
    out.content_size = length;
    return true;
}

bool read_length(octet_reader_t& in, asn1_header_t& out, std::string& problem) {
    if (in.empty()) {
        problem = "X.690 8.1.3: the length is missing";
        return false;
    }
    const unsigned int octet = in.take();
    if (octet == RESERVED_LENGTH) {
        problem = "X.690 8.1.3.5: a length must not begin with FF";
        return false;
    }
    if (octet == INDEFINITE && !out.tag.constructed) {
        problem = "X.690 8.1.3.2: a primitive element has an indefinite length";
        return false;
    }
    if (octet == INDEFINITE) {
        add_der_breach(out.breaches, "10.1", "the length is indefinite");
        return true;
    }
    if (octet > INDEFINITE) {
        return read_long_length(in, octet & 0x7F, out, problem);
    }
    out.content_size = octet;
    return true;
}

void check_form(asn1_header_t& header) {
    const type_row_t* const type = find_type(header.tag);
    if (type == nullptr) {
        return;
    }
    if (type->form == asn1_form_t::PRIMITIVE && header.tag.constructed) {
        add_ber_breach(header.breaches, type->clause, std::string(type->name) + " must be primitive");
    } else if (type->form == asn1_form_t::CONSTRUCTED && !header.tag.constructed) {
        add_ber_breach(header.breaches, type->clause, std::string(type->name) + " must be constructed");
    } else if (type->form == asn1_form_t::STRING && header.tag.constructed) {
        add_der_breach(header.breaches, "10.2", "a string is constructed");
    }
}

} // namespace

bool read_asn1_header(std::string_view bytes, asn1_header_t& out, std::string& problem) {
    octet_reader_t in(bytes);
    out = asn1_header_t();
    if (in.empty()) {
        problem = "X.690 8.1.2: the identifier is missing";
        return false;
    }
    if (!read_identifier(in, out, problem) || !read_length(in, out, problem)) {
        return false;
    }
    out.size = in.place();
    check_form(out);
    return true;
}

std::string asn1_type_name(const asn1_tag_t& tag) {
    static constexpr const char* CLASSES[] = {"UNIVERSAL ", "APPLICATION ", "", "PRIVATE "};
    const type_row_t* const type = find_type(tag);
    return type != nullptr
               ? type->name
               : "[" + (CLASSES[static_cast<unsigned int>(tag.tag_class)] + std::to_string(tag.number)) + "]";
}

asn1_form_t asn1_form(const asn1_tag_t& tag) {
    const type_row_t* const type = find_type(tag);
    return type != nullptr ? type->form : asn1_form_t::ANY;
}
