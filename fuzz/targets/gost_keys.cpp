// Private keys, PBES2 parameters and encrypted keys: reading, and writing what was read.
#include <string>

#include "asn/asn_cursor.h"
#include "derkit/pkcs8_helper.h"
#include "support/input.h"

namespace {

constexpr unsigned int NUM_KEY_TYPES = 3;
constexpr unsigned int UNTOUCHED = 0xA5A5A5A5;

// Every proper prefix of what was written is refused.
template <typename READER> void check_cut(const std::string& written, READER reads) {
    for (const std::size_t size : {std::size_t(0), written.size() / 2, written.size() - 1}) {
        require(!reads(exact_bytes_t(std::string_view(written).substr(0, size))), "what is cut short is refused");
    }
}

void check_written_key(unsigned int key_type, std::string_view private_key) {
    pkcs8_pki_gost_t in;
    in.key_type = key_type;
    in.private_key = view_of(private_key);
    std::string written = "gone";
    asn_write_pkcs8_pki_gost(in, written);

    const exact_bytes_t block(written);
    pkcs8_pki_gost_t out;
    const bool done = asn_read_pkcs8_pki_gost(block.data(), block.size(), out);
    require(done == (key_type < NUM_KEY_TYPES), "a written key of a known type reads back");
    if (done) {
        require(out.key_type == key_type, "a key keeps its type");
        require_same(private_key, chars_of(out.private_key), "a key keeps its octets");
        check_cut(written, [](const exact_bytes_t& cut) {
            pkcs8_pki_gost_t ignored;
            return asn_read_pkcs8_pki_gost(cut.data(), cut.size(), ignored);
        });
    }
}

void check_same_parameters(const pkcs5_pbe_gost_t& in, const pkcs5_pbe_gost_t& out) {
    require_same(chars_of(in.salt), chars_of(out.salt), "parameters keep their salt");
    require_same(chars_of(in.iv), chars_of(out.iv), "parameters keep their vector");
    require(out.iterations == as_written(in.iterations), "a count keeps the octets that are not zero");
}

void check_written_parameters(const pkcs5_pbe_gost_t& in) {
    std::string written = "gone";
    asn_write_pkcs5_pbe_gost(in, written);
    const exact_bytes_t block(written);
    asn_cursor_t element(block.data(), block.size());
    const blob_t content = element.read(asn_tag_t::SEQUENCE);
    require(element.ok() && element.empty(), "parameters are one element");
    pkcs5_pbe_gost_t out;
    require(asn_read_pkcs5_pbe_gost(content.data, content.size, out), "written parameters read back");
    check_same_parameters(in, out);
    check_cut(std::string(chars_of(content)), [](const exact_bytes_t& cut) {
        pkcs5_pbe_gost_t ignored;
        return asn_read_pkcs5_pbe_gost(cut.data(), cut.size(), ignored);
    });
}

void check_written_encrypted_key(const pkcs8_encrypted_pki_gost_t& in) {
    std::string written = "gone";
    asn_write_pkcs8_encrypted_pki_gost(in, written);
    const exact_bytes_t block(written);
    pkcs8_encrypted_pki_gost_t out;
    require(asn_read_pkcs8_encrypted_pki_gost(block.data(), block.size(), out), "a written encrypted key reads back");
    require_same(chars_of(in.encrypted_data), chars_of(out.encrypted_data), "an encrypted key keeps its octets");
    check_same_parameters(in.pbe, out.pbe);
    check_cut(written, [](const exact_bytes_t& cut) {
        pkcs8_encrypted_pki_gost_t ignored;
        return asn_read_pkcs8_encrypted_pki_gost(cut.data(), cut.size(), ignored);
    });
}

std::string read_key_info(const exact_bytes_t& in) {
    asn_pkcs8_priv_key_info_t out;
    const bool done = asn_read_pkcs8_priv_key_info(in.data(), in.size(), out);
    return read_text_t(in).number(done).view(out.algorithm).view(out.private_key).text();
}

std::string read_key(const exact_bytes_t& in) {
    pkcs8_pki_gost_t out;
    out.key_type = UNTOUCHED;
    const bool done = asn_read_pkcs8_pki_gost(in.data(), in.size(), out);
    if (done) {
        check_written_key(out.key_type, chars_of(out.private_key));
    }
    require(!done || read_key_info(in)[0] == '1', "a GOST key is a key");
    return read_text_t(in).number(done).number(out.key_type).view(out.private_key).text();
}

std::string read_parameters(const exact_bytes_t& in) {
    pkcs5_pbe_gost_t out;
    out.iterations = UNTOUCHED;
    const bool done = asn_read_pkcs5_pbe_gost(in.data(), in.size(), out);
    if (done) {
        check_written_parameters(out);
    }
    return read_text_t(in).number(done).view(out.salt).number(out.iterations).view(out.iv).text();
}

std::string read_encrypted_key(const exact_bytes_t& in) {
    pkcs8_encrypted_pki_gost_t out;
    out.pbe.iterations = UNTOUCHED;
    const bool done = asn_read_pkcs8_encrypted_pki_gost(in.data(), in.size(), out);
    if (done) {
        check_written_encrypted_key(out);
    }
    return read_text_t(in)
        .number(done)
        .view(out.pbe.salt)
        .number(out.pbe.iterations)
        .view(out.pbe.iv)
        .view(out.encrypted_data)
        .text();
}

// Arbitrary records.
void check_records(std::string_view input) {
    taker_t taker(input);
    check_written_key(taker.octet() % (NUM_KEY_TYPES + 1), taker.rest());
    pkcs8_encrypted_pki_gost_t key;
    key.pbe.iterations = static_cast<unsigned int>(taker.number(4));
    key.pbe.salt = view_of(taker.counted());
    key.pbe.iv = view_of(taker.counted());
    key.encrypted_data = view_of(taker.rest());
    check_written_parameters(key.pbe);
    check_written_encrypted_key(key);
}

} // namespace

void check_input(std::string_view input) {
    answer_of(read_key_info, input);
    answer_of(read_key, input);
    answer_of(read_parameters, input);
    answer_of(read_encrypted_key, input);
    check_records(input);
}
