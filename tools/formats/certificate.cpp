#include "formats/certificate.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "formats/der.h"
#include "formats/pem.h"
#include "io/failure.h"

namespace {

bool is_cut_short(std::string_view der) {
    unsigned int content_size = 0;
    return asn1_read_tag(asn_tag_t::SEQUENCE, octets(der), size_of(der), &content_size) == nullptr && content_size != 0;
}

// TBSCertificate ::= SEQUENCE {                                            RFC 5280 4.1
//   version [0] EXPLICIT Version DEFAULT v1, serialNumber INTEGER, signature AlgorithmIdentifier,
//   issuer Name, validity Validity, subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo, ... }
// What follows the key is ignored.
void read_tbs_certificate(asn_cursor_t tbs, certificate_t& out, missing_field_t& missing) {
    if (tbs.next_is(asn_tag_t::CONTEXT_0)) {
        tbs.skip(asn_tag_t::CONTEXT_0);
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
}

// Certificate ::= SEQUENCE {                                               RFC 5280 4.1
//   tbsCertificate TBSCertificate, signatureAlgorithm AlgorithmIdentifier, signatureValue BIT STRING }
void read_fields(asn_cursor_t in, certificate_t& out, missing_field_t& missing) {
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

constexpr asn_tag_t::Type UTC_TIME = static_cast<asn_tag_t::Type>(0x17);
constexpr asn_tag_t::Type GENERALIZED_TIME = static_cast<asn_tag_t::Type>(0x18);

constexpr std::size_t UTC_TIME_SIZE = std::string_view("YYMMDDHHMMSSZ").size();
constexpr std::size_t GENERALIZED_TIME_SIZE = std::string_view("YYYYMMDDHHMMSSZ").size();

struct der_time_t {
    std::string_view content;
    std::string digits; // YYYYMMDDHHMMSS; empty if the content has another form than certificates may have
};

bool is_der_time(std::string_view time, std::size_t size) {
    return time.size() == size && time.ends_with('Z') &&
           std::all_of(time.begin(), time.end() - 1, [](char c) { return c >= '0' && c <= '9'; });
}

// Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }         RFC 5280 4.1
// Years of UTCTime from 50 on belong to the twentieth century.
der_time_t read_time(asn_cursor_t& in) {
    const bool is_utc_time = in.next_is(UTC_TIME);
    der_time_t time;
    time.content = chars(in.read(is_utc_time ? UTC_TIME : GENERALIZED_TIME));
    if (is_der_time(time.content, is_utc_time ? UTC_TIME_SIZE : GENERALIZED_TIME_SIZE)) {
        time.digits = time.content.substr(0, time.content.size() - 1);
        if (is_utc_time) {
            time.digits.insert(0, time.content[0] >= '5' ? "19" : "20");
        }
    }
    return time;
}

std::string text_of(const der_time_t& time) {
    if (time.digits.empty()) {
        return std::string(time.content);
    }
    std::string text = time.digits.substr(0, 4);
    for (std::size_t i = 4; i < time.digits.size(); i += 2) {
        text += "--T::"[i / 2 - 2];
        text += time.digits.substr(i, 2);
    }
    return text + "Z";
}

unsigned int number_at(std::string_view digits, std::size_t begin, std::size_t size) {
    unsigned int number = 0;
    std::from_chars(digits.data() + begin, digits.data() + begin + size, number);
    return number;
}

// Invalid unless the calendar has the time; the library's years begin with 1900.
cert_time64_t pack_time(std::string_view digits) {
    const unsigned int year = number_at(digits, 0, 4);
    const unsigned int month = number_at(digits, 4, 2);
    const unsigned int day = number_at(digits, 6, 2);
    const unsigned int hour = number_at(digits, 8, 2);
    const unsigned int minute = number_at(digits, 10, 2);
    const unsigned int second = number_at(digits, 12, 2);
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                           std::chrono::day(day)};
    if (!date.ok() || year < 1900 || hour >= 24 || minute >= 60 || second >= 60) {
        return CERT_TIME64_INVALID;
    }
    cert_time64_t time = year;
    for (const unsigned int field : {month - 1, day, hour, minute, second}) {
        time = time << 8 | field;
    }
    return time;
}

cert_time64_t read_cert_time(asn_cursor_t& in, const char* field, std::string& problem) {
    const der_time_t read = read_time(in);
    if (!in.ok()) {
        problem = std::string(field) + " is missing or malformed";
        return CERT_TIME64_INVALID;
    }
    const cert_time64_t time = read.digits.empty() ? CERT_TIME64_INVALID : pack_time(read.digits);
    if (time == CERT_TIME64_INVALID) {
        const char* const fault = read.digits.empty() ? " is not of the form YYMMDDHHMMSSZ or YYYYMMDDHHMMSSZ: "
                                                      : " is no time of the calendar from 1900 on: ";
        problem = field;
        problem += fault;
        problem += text_of(read);
    }
    return time;
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
bool read_validity_texts(const blob_t& content, validity_texts_t& out) {
    asn_cursor_t in(content);
    out.not_before = text_of(read_time(in));
    out.not_after = text_of(read_time(in));
    return in.ok();
}

// Both are read, so that a bad one does not hide the other.
bool read_validity_times(const blob_t& content, validity_times_t& out, std::string& problem) {
    asn_cursor_t in(content);
    std::string second_problem;
    out.not_before = read_cert_time(in, "notBefore", problem);
    out.not_after = read_cert_time(in, "notAfter", second_problem);
    if (problem.empty()) {
        problem = second_problem;
    }
    return problem.empty();
}
