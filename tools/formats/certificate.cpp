#include "formats/certificate.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "formats/der.h"
#include "formats/pem.h"
#include "io/failure.h"

namespace {

constexpr asn_tag_t::Type EXTENSIONS = static_cast<asn_tag_t::Type>(0xA3);

bool is_cut_short(std::string_view der) {
    unsigned int content_size = 0;
    return asn1_read_tag(asn_tag_t::SEQUENCE, octets(der), size_of(der), &content_size) == nullptr && content_size != 0;
}

// TBSCertificate ::= SEQUENCE {                                            RFC 5280 4.1
//   version [0] EXPLICIT Version DEFAULT v1, serialNumber INTEGER, signature AlgorithmIdentifier,
//   issuer Name, validity Validity, subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo,
//   issuerUniqueID [1] IMPLICIT BIT STRING OPTIONAL, subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL,
//   extensions [3] EXPLICIT Extensions OPTIONAL }
// What follows the key and is not a SEQUENCE in [3] is ignored.
void read_tbs_certificate(asn_cursor_t tbs, certificate_t& out, missing_field_t& missing) {
    if (tbs.next_is(asn_tag_t::CONTEXT_0)) {
        tbs.enter(asn_tag_t::CONTEXT_0).read(asn_tag_t::INTEGER, out.version);
    }
    missing.check(tbs, "version");
    tbs.read(asn_tag_t::INTEGER, out.serial_number);
    missing.check(tbs, "serialNumber");
    tbs.read_element(asn_tag_t::SEQUENCE, out.inner_signature);
    missing.check(tbs, "signature");
    tbs.read_element(asn_tag_t::SEQUENCE, out.issuer);
    missing.check(tbs, "issuer");
    tbs.read(asn_tag_t::SEQUENCE, out.validity);
    missing.check(tbs, "validity");
    tbs.read_element(asn_tag_t::SEQUENCE, out.subject);
    missing.check(tbs, "subject");
    tbs.read_element(asn_tag_t::SEQUENCE, out.public_key);
    missing.check(tbs, "subjectPublicKeyInfo");
    while (tbs.ok() && !tbs.empty()) {
        const bool are_extensions = tbs.next_is(EXTENSIONS);
        asn_cursor_t field = tbs.enter(asn_tag_t::ANY);
        if (are_extensions) {
            field.read(asn_tag_t::SEQUENCE, out.extensions);
        }
    }
}

// Certificate ::= SEQUENCE {                                               RFC 5280 4.1
//   tbsCertificate TBSCertificate, signatureAlgorithm AlgorithmIdentifier, signatureValue BIT STRING }
void read_fields(asn_cursor_t in, certificate_t& out, missing_field_t& missing) {
    asn_cursor_t again = in;
    again.read_element(asn_tag_t::SEQUENCE, out.encoding);
    asn_cursor_t certificate = in.enter(asn_tag_t::SEQUENCE);
    missing.check(in, "Certificate");
    const asn_cursor_t tbs = certificate.enter(asn_tag_t::SEQUENCE);
    missing.check(certificate, "tbsCertificate");
    read_tbs_certificate(tbs, out, missing);
    certificate.read_element(asn_tag_t::SEQUENCE, out.signature_algorithm);
    missing.check(certificate, "signatureAlgorithm");
    certificate.skip(asn_tag_t::BIT_STRING);
    missing.check(certificate, "signatureValue");
    out.trailing = in.rest();
}

// The element without what follows it.
std::string certificate_of(const pem_block_t& block, const std::string& name) {
    certificate_t certificate;
    std::string problem = block.problem;
    if (!problem.empty() || !read_certificate(block.der, certificate, problem)) {
        throw failure_t(name + " (line " + std::to_string(block.line) + ")", problem);
    }
    return block.der.substr(0, block.der.size() - certificate.trailing.size);
}

// Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }         RFC 5280 4.1
struct time_form_t {
    asn_tag_t::Type tag;
    const char* name;
    std::string_view form;
    const char* of_the_other; // what is wrong with a text of the other form
};

constexpr time_form_t UTC_TIME = {static_cast<asn_tag_t::Type>(0x17), "UTCTime", "YYMMDDHHMMSSZ",
                                  "is a UTCTime with a year of four digits"};
constexpr time_form_t GENERALIZED_TIME = {static_cast<asn_tag_t::Type>(0x18), "GeneralizedTime", "YYYYMMDDHHMMSSZ",
                                          "is a GeneralizedTime with a year of two digits"};

bool has_form(std::string_view time, const time_form_t& form) {
    return time.size() == form.form.size() && time.ends_with('Z') &&
           std::all_of(time.begin(), time.end() - 1, [](char c) { return c >= '0' && c <= '9'; });
}

struct calendar_time_t {
    unsigned int year;
    unsigned int month;
    unsigned int day;
    unsigned int hour;
    unsigned int minute;
    unsigned int second;
};

// A time that has its form. Years of UTCTime from 50 on belong to the twentieth century (RFC 5280 4.1.2.5.1).
calendar_time_t split_time(std::string_view time, const time_form_t& form) {
    const auto take = [&time](std::size_t num_digits) {
        unsigned int number = 0;
        std::from_chars(time.data(), time.data() + num_digits, number);
        time.remove_prefix(num_digits);
        return number;
    };
    const bool two_digits = form.tag == UTC_TIME.tag;
    unsigned int year = take(two_digits ? 2 : 4);
    if (two_digits) {
        year += year >= 50 ? 1900 : 2000;
    }
    const unsigned int month = take(2);
    const unsigned int day = take(2);
    const unsigned int hour = take(2);
    const unsigned int minute = take(2);
    return {year, month, day, hour, minute, take(2)};
}

// What keeps it out of the calendar from 1900 on, where the library's years begin; null if nothing does.
const char* calendar_fault(const calendar_time_t& time) {
    const std::chrono::year_month month{std::chrono::year(static_cast<int>(time.year)), std::chrono::month(time.month)};
    if (time.year < 1900) {
        return "lies before 1900";
    }
    if (!month.ok()) {
        return "has an impossible month";
    }
    if (!(month / static_cast<int>(time.day)).ok()) {
        return "has an impossible day";
    }
    if (time.hour >= 24) {
        return "has an impossible hour";
    }
    if (time.minute >= 60) {
        return "has an impossible minute";
    }
    return time.second >= 60 ? "has an impossible second" : nullptr;
}

cert_time64_t pack_time(const calendar_time_t& time) {
    cert_time64_t packed = time.year;
    for (const unsigned int field : {time.month - 1, time.day, time.hour, time.minute, time.second}) {
        packed = packed << 8 | field;
    }
    return packed;
}

struct read_time_t {
    cert_time64_t time = CERT_TIME64_INVALID;
    std::string fault; // empty if the time is good
};

read_time_t read_time(std::string_view content, const time_form_t& form, const time_form_t& other) {
    const std::string shown = ": " + std::string(content);
    if (has_form(content, other)) {
        return {CERT_TIME64_INVALID, form.of_the_other + shown};
    }
    if (!has_form(content, form)) {
        return {CERT_TIME64_INVALID, "is not of the form " + std::string(form.form) + " of a " + form.name + shown};
    }
    const calendar_time_t time = split_time(content, form);
    const char* const fault = calendar_fault(time);
    return fault == nullptr ? read_time_t{pack_time(time), ""} : read_time_t{CERT_TIME64_INVALID, fault + shown};
}

// An element of another type is passed, so that a time after it is found.
read_time_t read_next_time(asn_cursor_t& in) {
    const bool is_utc_time = in.next_is(UTC_TIME.tag);
    const bool is_time = is_utc_time || in.next_is(GENERALIZED_TIME.tag);
    const blob_t content = in.read(asn_tag_t::ANY);
    if (!in.ok()) {
        return {CERT_TIME64_INVALID, "is missing or malformed"};
    }
    if (!is_time) {
        return {CERT_TIME64_INVALID, "is neither a UTCTime nor a GeneralizedTime"};
    }
    return is_utc_time ? read_time(chars(content), UTC_TIME, GENERALIZED_TIME)
                       : read_time(chars(content), GENERALIZED_TIME, UTC_TIME);
}

} // namespace

bool is_certificate_label(std::string_view label) {
    return label == "CERTIFICATE" || label == "X509 CERTIFICATE" || label == TRUSTED_LABEL;
}

bool read_certificate(std::string_view der, certificate_t& out, std::string& problem) {
    missing_field_t missing;
    read_fields(cursor_over(der), out, missing);
    if (missing.none()) {
        return true;
    }
    problem = is_cut_short(der) ? "the certificate is cut short" : missing.problem("a certificate");
    return false;
}

// A file is DER if a certificate can be read from it.
std::vector<std::string> read_certificate_file(const std::string& file) {
    const std::string bytes = read_filled_input(file);
    const std::string name = input_name(file);
    certificate_t certificate;
    std::string problem;
    if (read_certificate(bytes, certificate, problem)) {
        return {bytes.substr(0, bytes.size() - certificate.trailing.size)};
    }
    std::vector<std::string> certificates;
    pem_reader_t reader(bytes);
    take_pem_blocks(reader, is_certificate_label, [&](const pem_block_t& block, unsigned int) {
        certificates.push_back(certificate_of(block, name));
    });
    if (certificates.empty()) {
        const bool starts_like_der = bytes[0] == static_cast<char>(asn_tag_t::SEQUENCE);
        throw failure_t(name, starts_like_der ? problem : "holds no certificate");
    }
    return certificates;
}

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }                  RFC 5280 4.1
validity_t read_validity(const blob_t& content, std::vector<std::string>& problems) {
    asn_cursor_t in(content);
    const read_time_t not_before = read_next_time(in);
    const read_time_t not_after = read_next_time(in);
    if (!not_before.fault.empty()) {
        problems.push_back("notBefore " + not_before.fault);
    }
    if (!not_after.fault.empty()) {
        problems.push_back("notAfter " + not_after.fault);
    }
    return {not_before.time, not_after.time};
}
