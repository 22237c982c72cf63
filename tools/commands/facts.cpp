#include "commands/facts.h"

#include <algorithm>
#include <iterator>

#include "formats/extensions.h"
#include "formats/iso_time.h"
#include "io/bytes.h"
#ifdef DERKIT_WITH_GOST
#include "io/fingerprint.h"
#endif

namespace {

using problems_t = std::vector<std::string>; // why facts cannot be shown

// Two's complement: inverts all bits and adds one.
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

// A big-endian number that is not negative, without leading zero octets.
std::string magnitude_text(std::string_view number) {
    const std::size_t first = number.find_first_not_of('\0');
    return first == std::string_view::npos ? "00" : to_hex(number.substr(first));
}

// Content octets of an INTEGER (X.690 8.3) as a number: "-" before a negative one, no leading zero octets.
std::string number_text(std::string_view content) {
    std::string number(content);
    const bool is_negative = (static_cast<unsigned char>(content[0]) & 0x80) != 0;
    if (is_negative) {
        negate(number);
    }
    return (is_negative ? "-" : "") + magnitude_text(number);
}

void add_time(const char* key, const char* local_key, cert_time64_t time, bool local, record_t& record) {
    record.add_if(key, utc_text(time).value_or(""));
    if (local) {
        record.add_if(local_key, local_text(time).value_or(""));
    }
}

void add_serial(const blob_t& serial_number, record_t& record, problems_t& problems) {
    const std::string_view content = chars(serial_number);
    if (content.empty()) {
        problems.push_back("serialNumber is empty");
        return;
    }
    record.add("serial", number_text(content));
}

// RFC 5280 4.1.1.2: the algorithm must be the one that is signed with the rest.
void add_signature_algorithm(const certificate_t& certificate, record_t& record, problems_t& problems) {
    const std::optional<named_oid_t> algorithm = name_signature_algorithm(certificate.signature_algorithm);
    if (!algorithm.has_value()) {
        problems.push_back("signatureAlgorithm has no OID");
        return;
    }
    add_named("signature_algorithm", "signature_algorithm_oid", *algorithm, record);
    if (chars(certificate.signature_algorithm) != chars(certificate.inner_signature)) {
        problems.push_back("the signature algorithm differs from the signed one");
    }
}

void add_certified_key(const blob_t& key_info, record_t& record, problems_t& problems) {
    public_key_t key;
    std::string problem;
    if (!read_public_key(key_info, key, problem)) {
        problems.push_back(problem);
    }
    add_public_key(key, record);
}

// Version ::= INTEGER { v1(0), v2(1), v3(2) }                             RFC 5280 4.1.2.1
void add_version(const blob_t& content, record_t& record, problems_t& problems) {
    const bool is_one_octet = content.size == 1 && content.data[0] < 0x80;
    if (content.size != 0 && !is_one_octet) {
        problems.push_back("version is malformed");
        return;
    }
    record.add("version", content.size == 0 ? 1 : content.data[0] + 1u);
}

#ifdef DERKIT_WITH_GOST
void add_fingerprints(std::string_view certificate, record_t& record) {
    record.add_bytes("fingerprint_sha256", sha256_of(certificate));
    record.add_bytes("fingerprint_streebog256", streebog256_of(certificate));
}
#else
void add_fingerprints(std::string_view, record_t&) {}
#endif

void add_extensions(const blob_t& content, const name_style_t& style, record_t& record, problems_t& problems) {
    std::vector<extension_t> extensions;
    if (!read_extensions(asn_cursor_t(content), extensions)) {
        problems.push_back("an extension is malformed");
    }
    std::vector<record_t> parts;
    for (const extension_t& extension : extensions) {
        std::string problem;
        parts.push_back(describe_extension(extension, style, problem));
        if (!problem.empty()) {
            problems.push_back(problem);
        }
        for (const std::string& remark : parts.back().remarks()) {
            record.remark(title_of(extension) + ": " + remark);
        }
    }
    if (!parts.empty()) {
        record.add("extensions", parts);
    }
}

} // namespace

place_t place_in_pem(const std::string& file, const char* thing, unsigned int number, std::size_t line) {
    const std::string which = std::string(thing) + " " + std::to_string(number);
    return {file, number, file + ": " + which + " (line " + std::to_string(line) + ")"};
}

void warn_of_trailing(const std::string& subject, const char* thing, unsigned long long size, console_t& console) {
    if (size != 0) {
        console.warn(subject, std::to_string(size) + " bytes after the " + thing + " are ignored");
    }
}

void for_each_file(const std::vector<std::string>& files, console_t& console,
                   const std::function<void(const std::string& file)>& handle) {
    if (files.size() > 1) {
        console.expect_several();
    }
    for (const std::string& file : files) {
        try {
            handle(file);
        } catch (const failure_t& failure) {
            console.fail(failure);
        }
    }
}

void for_each_argument(const std::vector<std::string>& arguments, console_t& console,
                       const std::function<void(const std::string& argument, const place_t& place)>& handle) {
    unsigned int number = 0;
    for_each_file(arguments, console, [&](const std::string& argument) {
        handle(argument, {COMMAND_LINE, ++number, argument});
    });
}

void add_oid(const char* key, const named_oid_t& named, record_t& record) {
    record.add_if(key, named.oid);
    if (named.is_hexadecimal()) {
        record.remark(std::string(key) +
                      " has no dotted text that leads back to its DER, so it is shown in hexadecimal");
    }
}

void add_named(const char* name_key, const char* oid_key, const std::optional<named_oid_t>& named, record_t& record) {
    if (named.has_value()) {
        record.add_if(name_key, named->name);
        add_oid(oid_key, *named, record);
    }
}

void add_param_sets(const std::vector<named_oid_t>& param_sets, record_t& record) {
    static constexpr const char* KEYS[][2] = {
        {"param_set", "param_set_oid"},
        {"digest_param_set", "digest_param_set_oid"},
        {"encryption_param_set", "encryption_param_set_oid"},
    };
    for (std::size_t i = 0; i < std::min(param_sets.size(), std::size(KEYS)); ++i) {
        add_named(KEYS[i][0], KEYS[i][1], param_sets[i], record);
    }
}

void add_public_key(const public_key_t& key, record_t& record) {
    if (key.algorithm.oid.empty()) {
        return;
    }
    add_named("public_key_algorithm", "public_key_algorithm_oid", key.algorithm, record);
    if (key.bits != 0) {
        record.add("public_key_bits", key.bits);
    }
    add_param_sets(key.param_sets, record);
    add_named("curve", "curve_oid", key.curve, record);
}

void add_public_key_details(const public_key_t& key, record_t& record) {
    if (key.modulus.size != 0) {
        record.add("modulus", magnitude_text(chars(key.modulus)));
        record.add("exponent", magnitude_text(chars(key.exponent)));
    }
    if (key.pss.has_value()) {
        add_named("pss_hash", "pss_hash_oid", key.pss->hash, record);
        add_named("pss_mask", "pss_mask_oid", key.pss->mask, record);
        add_named("pss_mask_hash", "pss_mask_hash_oid", key.pss->mask_hash, record);
        record.add("pss_salt_size", key.pss->salt_size);
    }
}

std::vector<std::string> add_validity(const blob_t& content, bool local, record_t& record) {
    problems_t problems;
    const validity_t validity = read_validity(content, problems);
    add_time("not_before", "not_before_local", validity.not_before, local, record);
    add_time("not_after", "not_after_local", validity.not_after, local, record);
    return problems;
}

std::vector<std::string> add_certificate_facts(const certificate_t& certificate, const name_style_t& style, bool local,
                                               record_t& record) {
    problems_t problems;
    add_version(certificate.version, record, problems);
    add_serial(certificate.serial_number, record, problems);
    problems_t bad_times = add_validity(certificate.validity, local, record);
    problems.insert(problems.end(), bad_times.begin(), bad_times.end());
    add_signature_algorithm(certificate, record, problems);
    add_certified_key(certificate.public_key, record, problems);
    add_fingerprints(chars(certificate.encoding), record);
    add_extensions(certificate.extensions, style, record, problems);
    return problems;
}

void add_name(const char* key, const blob_t& name, const name_style_t& style, record_t& record) {
    const shown_name_t shown = show_name(name, style);
    record.add(key, shown.text);
    if (!shown.remark.empty()) {
        record.remark(key + (": " + shown.remark));
    }
}

void warn_of_remarks(const record_t& record, const std::string& subject, console_t& console) {
    for (const std::string& remark : record.remarks()) {
        console.warn(subject, remark);
    }
}
