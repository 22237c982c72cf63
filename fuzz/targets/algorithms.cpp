// Algorithm codes and their OIDs, DigestInfo, IKE signature algorithms, RSASSA-PSS parameters, tables of names.
#include <string>

#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "support/input.h"

namespace {

// 1.2.840.113549.1.1.10
constexpr unsigned char RSASSA_PSS_OID[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A};

constexpr unsigned int VENDOR_BITS = 0xFF000000;

using to_alg_t = pki_alg_t (*)(const void*, unsigned int);
using to_oid_t = oid_ref_t (*)(pki_alg_t);

// The code of an OID has an OID, though perhaps another, and that one has the same code.
unsigned int check_lookup(const exact_bytes_t& oid, to_alg_t to_alg, to_oid_t to_oid) {
    const pki_alg_t alg = to_alg(oid.data(), oid.size());
    if (alg != PKI_ALG_UNKNOWN) {
        const oid_ref_t found = to_oid(alg);
        require(found.data != nullptr && found.size != 0, "a known code has an OID");
        require(to_alg(found.data, found.size) == alg, "the OID of a code has that code");
        require(I2S_PKI_ALG_T->getString(alg, nullptr) != nullptr, "a known code has a name");
    }
    return alg;
}

std::string look_up(const exact_bytes_t& oid) {
    const unsigned int hash = check_lookup(oid, PKI_OID_TO_HASH_ALG, PKI_HASH_ALG_TO_OID);
    const unsigned int key = check_lookup(oid, PKI_OID_TO_KEY_ALG, PKI_KEY_ALG_TO_OID);
    const unsigned int signature = check_lookup(oid, PKI_OID_TO_CERT_SIGN_ALG, PKI_CERT_SIGN_ALG_TO_OID);
    const unsigned int any = PKI_OID_TO_ALG(oid.data(), oid.size());
    require(any == (hash != 0 ? hash : key != 0 ? key : signature), "any code is a hash's, a key's or a signature's");
    return read_text_t(oid).number(hash).number(key).number(signature).text();
}

// This reader takes a string, so there is nothing behind the input that it could see.
void read_digest_info(std::string_view input) {
    const std::string bytes(input);
    asn_algorid_t out;
    out.oid = view_of("replaced");
    const bool done = asn_read_alg_from_digest(&out, bytes);
    require(out.oid.data == nullptr ? out.oid.size == 0 && !done : lies_in(out.oid, bytes), "an OID lies in the input");
}

void check_written_digest_info(std::string_view digest, pki_alg_t hash) {
    const oid_ref_t oid = PKI_HASH_ALG_TO_OID(hash);
    std::string digest_info(digest);
    asn_add_alg_to_digest(digest_info, hash);
    require_same(digest, std::string_view(digest_info).substr(digest_info.size() - digest.size()),
                 "a DigestInfo ends with the digest");
    asn_algorid_t out;
    require(asn_read_alg_from_digest(&out, digest_info), "a written DigestInfo reads back");
    require_same(std::string_view(reinterpret_cast<const char*>(oid.data), oid.size), chars_of(out.oid),
                 "a DigestInfo keeps its OID");
    asn_algorid_t cut;
    require(!asn_read_alg_from_digest(&cut, digest_info.substr(0, digest_info.size() - 1)),
            "a DigestInfo that is cut short is refused");
}

// What stands behind the OID up to the end of the input are the parameters.
std::string read_signature_algorithm(const exact_bytes_t& in) {
    asn_ike_signalg_t out;
    const int done = asn_read_ike_signalg(in.data(), in.size(), out);
    require(done == 0 || done == 1, "the result is 0 or 1");
    read_text_t answer(in);
    answer.number(static_cast<unsigned int>(done)).view(out.oid).view(out.parameters);
    if (done != 0) {
        require(out.parameters.data == out.oid.data + out.oid.size, "parameters start behind the OID");
        require(out.parameters.data + out.parameters.size == in.data() + in.size(), "parameters run to the end");
        answer.number(out.to_pki_alg());
    }
    return answer.text();
}

std::string read_pss_parameters(const exact_bytes_t& in) {
    asn_ike_signalg_t algorithm;
    algorithm.oid.data = RSASSA_PSS_OID;
    algorithm.oid.size = sizeof RSASSA_PSS_OID;
    algorithm.parameters.data = in.data();
    algorithm.parameters.size = in.size();
    const unsigned int alg = algorithm.to_pki_alg();
    require(alg == 0 || ((alg & 0xFF) == PKI_ALG_RSASSA_PSS && alg >> 16 != 0), "a code names RSASSA-PSS and a hash");
    return read_text_t(in).number(alg).text();
}

// What is formed for a code reads back as that code, or as its standard form where the two share an OID. RSASSA-PSS
// without parameters is that with SHA-1.
void check_formed(pki_alg_t alg) {
    const oid_ref_t formed = asn_form_ike_signalg(alg);
    if (formed.data == nullptr) {
        require(formed.size == 0, "nothing has no size");
        return;
    }
    asn_ike_signalg_t out;
    require(asn_read_ike_signalg(formed.data, formed.size, out) == 1, "what is formed reads back");
    const unsigned int read = out.to_pki_alg();
    const unsigned int standard = alg == PKI_ALG_RSASSA_PSS ? PKI_ALG_SHA1_RSASSA_PSS : alg & ~VENDOR_BITS;
    require(read == alg || read == standard, "what is formed keeps its code");
}

std::string look_up_name(const exact_bytes_t& text) {
    const unsigned int value = I2S_PKI_ALG_T->getInt(text.chars(), 0);
    const unsigned int level = I2S_LOG_LEVEL->getInt(text.chars(), 4);
    require(value == 0 || I2S_PKI_ALG_T->getInt(I2S_PKI_ALG_T->getString(value, ""), 0) == value,
            "a value's name has that value");
    return read_text_t(text).number(value).number(level).text();
}

pki_alg_t pick_alg(taker_t& taker) {
    const unsigned int row = taker.octet();
    for (unsigned int i = 0; I2S_PKI_ALG_T[i].name != nullptr; ++i) {
        if (i == row) {
            return static_cast<pki_alg_t>(I2S_PKI_ALG_T[i].value);
        }
    }
    return static_cast<pki_alg_t>(taker.number(4));
}

} // namespace

void check_input(std::string_view input) {
    answer_of(look_up, input);
    answer_of(read_signature_algorithm, input);
    answer_of(read_pss_parameters, input);
    answer_to_text(look_up_name, up_to_zero(input));
    read_digest_info(input);
    taker_t taker(input);
    const pki_alg_t alg = pick_alg(taker);
    check_formed(alg);
    check_written_digest_info(taker.rest(), alg);
}
