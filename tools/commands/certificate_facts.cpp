#include "commands/certificate_facts.h"

#include <algorithm>
#include <optional>

#include "derkit/int2str.h"
#include "formats/algorithm_name.h"
#include "formats/asn_time.h"
#include "formats/public_key.h"
#include "io/bytes.h"
#include "io/hex.h"

namespace {

// Two's complement: all bits the other way round, and one more.
void negate(std::string& number) {
    for (char& octet : number) {
        octet = static_cast<char>(~octet);
    }
    for (auto octet = number.rbegin(); octet != number.rend(); ++octet) {
        *octet = static_cast<char>(*octet + 1);
        if (*octet != 0) {
            return;
        }
    }
}

// Content octets of an INTEGER (X.690 8.3) as a number: "-" in front of a negative one, no leading zero octets.
std::string number_text(std::string_view content) {
    std::string number(content);
    const bool is_negative = (static_cast<unsigned char>(content[0]) & 0x80) != 0;
    if (is_negative) {
        negate(number);
    }
    const std::size_t leading = std::min(number.find_first_not_of('\0'), number.size() - 1);
    return (is_negative ? "-" : "") + to_hex(std::string_view(number).substr(leading));
}

class fact_writer_t {
  public:
    fact_writer_t(const certificate_t& certificate, record_t& record) : certificate_(certificate), record_(record) {}

    void add_serial();
    void add_validity(bool local);
    void add_signature_algorithm(const oid_map_handle_t& map);
    void add_key(const oid_map_handle_t& map);

    std::vector<std::string> problems;

  private:
    const certificate_t& certificate_;
    record_t& record_;

    void add_time(const char* key, const char* local_key, cert_time64_t time, bool local);
};

void fact_writer_t::add_serial() {
    const std::string_view content = chars(certificate_.serial_number);
    if (content.empty()) {
        problems.push_back("serialNumber is empty");
        return;
    }
    record_.add("serial", shown_text_t(number_text(content)));
}

void fact_writer_t::add_validity(bool local) {
    validity_times_t validity;
    std::string problem;
    if (!read_validity_times(certificate_.validity, validity, problem)) {
        problems.push_back(problem);
    }
    add_time("not_before", "not_before_local", validity.not_before, local);
    add_time("not_after", "not_after_local", validity.not_after, local);
}

void fact_writer_t::add_time(const char* key, const char* local_key, cert_time64_t time, bool local) {
    if (time == CERT_TIME64_INVALID) {
        return;
    }
    std::string text;
    record_.add(key, shown_text_t(CertTimeToStringGMT(time, text)));
    if (local) {
        text.clear();
        record_.add(local_key, shown_text_t(CertTimeToString(time, text)));
    }
}

// RFC 5280 4.1.1.2: the one inside, which is signed, and the one outside are the same.
void fact_writer_t::add_signature_algorithm(const oid_map_handle_t& map) {
    const std::optional<named_oid_t> algorithm = name_signature_algorithm(certificate_.signature_algorithm, map);
    if (!algorithm.has_value()) {
        problems.push_back("signatureAlgorithm has no OID");
        return;
    }
    add_named("signature_algorithm", "signature_algorithm_oid", *algorithm, record_);
    if (chars(certificate_.signature_algorithm) != chars(certificate_.inner_signature)) {
        problems.push_back("the signature algorithm outside differs from the one that is signed");
    }
}

void fact_writer_t::add_key(const oid_map_handle_t& map) {
    public_key_t key;
    std::string problem;
    if (!read_public_key(certificate_.public_key, map, key, problem)) {
        problems.push_back(problem);
    }
    add_public_key(key, record_);
}

} // namespace

std::vector<std::string> add_certificate_facts(const certificate_t& certificate, const oid_map_handle_t& map,
                                               bool local, record_t& record) {
    fact_writer_t writer(certificate, record);
    writer.add_serial();
    writer.add_validity(local);
    writer.add_signature_algorithm(map);
    writer.add_key(map);
    return writer.problems;
}
