// Public keys, and signature values.
#include <string>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"
#include "support/input.h"

namespace {

// The size of the key of an empty BIT STRING; nobody may follow it.
constexpr unsigned int WRAPPED_SIZE = 0xFFFFFFFF;

std::string read_rsa(const exact_bytes_t& in, const asn_pubkey_t& key) {
    asn_rsa_pubkey_t out;
    const int done = asn_read_rsa_pubkey(key, out);
    require(done == 0 || (lies_in(out.modulus, chars_of(key.key)) && lies_in(out.exponent, chars_of(key.key))),
            "an RSA key lies in the key's bits");
    asn_cursor_t bits(key.key);
    const blob_t modulus = bits.enter(asn_tag_t::SEQUENCE).read(asn_tag_t::INTEGER);
    require(out.modulus.size < 2 || out.modulus.data[0] != 0, "a modulus has no leading zero");
    require((out.modulus.size == 0) == (modulus.size == 0), "a modulus of zeros keeps one");
    require(out.modulus.data + out.modulus.size == modulus.data + modulus.size, "a modulus keeps its end");
    return read_text_t(in).number(static_cast<unsigned int>(done)).view(out.modulus).view(out.exponent).text();
}

bool is_oid_element(const blob_t& element) {
    return element.size >= 2 && element.data[0] == asn_tag_t::OBJECT_IDENTIFIER;
}

std::string read_gost(const exact_bytes_t& in, const asn_pubkey_t& key) {
    asn_gost_pubkey_t out;
    const int done = asn_read_gost_pubkey(key, out);
    require(done == 0 || lies_in(out.key, chars_of(key.key)), "a point lies in the key's bits");
    require(done == 0 || (is_oid_element(out.public_key_param_set) && is_oid_element(out.digest_param_set)),
            "parameter sets are complete elements");
    require(out.encryption_param_set.data == nullptr || is_oid_element(out.encryption_param_set),
            "the third parameter set is an element or absent");
    return read_text_t(in)
        .number(static_cast<unsigned int>(done))
        .view(out.public_key_param_set)
        .view(out.digest_param_set)
        .view(out.encryption_param_set)
        .view(out.key)
        .text();
}

std::string read_key(const exact_bytes_t& in) {
    asn_pubkey_t out;
    const int done = asn_read_pubkey(in.data(), static_cast<long>(in.size()), out);
    read_text_t answer(in);
    answer.number(static_cast<unsigned int>(done)).view(out.algorithm).view(out.parameters);
    if (done != 0 && out.key.size == WRAPPED_SIZE) {
        asn_rsa_pubkey_t rsa;
        require(asn_read_rsa_pubkey(out, rsa) == 0, "no RSA key is read from an empty BIT STRING");
        require(read_gost(in, asn_pubkey_t{out.algorithm, out.parameters, blob_t()})[0] == '0',
                "no GOST key is read from no bits");
        asn_gost_pubkey_t gost;
        require(asn_read_gost_pubkey(out, gost) == 0, "no GOST key is read from an empty BIT STRING");
        return answer.number(WRAPPED_SIZE).text();
    }
    answer.view(out.key);
    return done == 0 ? answer.text() : answer.bytes(read_rsa(in, out)).bytes(read_gost(in, out)).text();
}

std::string read_signature(const exact_bytes_t& in) {
    asn_dsa_certsign_t out;
    const int done = asn_read_dsa_certsign(in.data(), in.size(), out);
    return read_text_t(in).number(static_cast<unsigned int>(done)).view(out.r).view(out.s).text();
}

// Readers of bare keys: the first octet is the size of the parameters that follow; the rest is the key's bits.
std::string read_inner(const exact_bytes_t& in) {
    taker_t taker(in.text());
    asn_pubkey_t key;
    key.parameters = view_of(taker.counted());
    key.key = view_of(taker.rest());
    return read_rsa(in, key) + read_gost(in, key);
}

} // namespace

void check_input(std::string_view input) {
    answer_of(read_key, input);
    answer_of(read_signature, input);
    answer_of(read_inner, input);
    asn_pubkey_t untouched;
    require(asn_read_pubkey(nullptr, -1, untouched) == 0 && untouched.algorithm.data == nullptr,
            "a negative size is refused");
}
