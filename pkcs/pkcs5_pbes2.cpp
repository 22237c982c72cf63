#include "pkcs/pkcs5_pbes2.h"

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "pkcs/pkcs_oids.h"

namespace {

// The content of keyDerivationFunc.
//
// PBKDF2-params ::= SEQUENCE {                                                                      RFC 8018 A.2
//   salt CHOICE { specified OCTET STRING, ... }, iterationCount INTEGER,
//   keyLength INTEGER OPTIONAL, prf AlgorithmIdentifier DEFAULT hmacWithSHA1 }
// The key length is ignored. The prf must be HMAC GOST R 34.11-94 with some parameters; there is no default.
bool read_pbkdf2(asn_cursor_t derivation, pkcs5_pbe_gost_t& out) {
    const blob_t function = derivation.read(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t params = derivation.enter(asn_tag_t::SEQUENCE);
    params.read(asn_tag_t::OCTET_STRING, out.salt);
    const blob_t iterations = params.read(asn_tag_t::INTEGER);
    if (params.next_is(asn_tag_t::INTEGER)) {
        params.skip(asn_tag_t::INTEGER);
    }
    asn_cursor_t prf = params.enter(asn_tag_t::SEQUENCE);
    const blob_t prf_oid = prf.read(asn_tag_t::OBJECT_IDENTIFIER);
    prf.skip(asn_tag_t::ANY);
    return prf.ok() && asn_oid_equal_(function, g_oid_PBKDF2) && asn_oid_equal_(prf_oid, g_oid_HMAC_GOSTR3411) &&
           asn_read_INTEGER(iterations.data, iterations.size, out.iterations, 0xFFFFFFFF);
}

auto pbkdf2(const pkcs5_pbe_gost_t& in) {
    return asn_element(
        asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_PBKDF2),
        asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OCTET_STRING, in.salt),
                    asn_element(asn_tag_t::INTEGER, asn_integer_t(in.iterations)),
                    asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_HMAC_GOSTR3411),
                                asn_element(asn_tag_t::NULL_VALUE))));
}

auto cipher(const pkcs5_pbe_gost_t& in) {
    return asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_gost28147_89),
                       asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OCTET_STRING, in.iv),
                                   asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_encryptionParamSet)));
}

} // namespace

// PBES2-params ::= SEQUENCE {                                                                       RFC 8018 A.4
//   keyDerivationFunc AlgorithmIdentifier, encryptionScheme AlgorithmIdentifier }
// Gost28147-89-Parameters ::= SEQUENCE {                                                            RFC 4490 5.1.1
//   iv OCTET STRING, encryptionParamSet OBJECT IDENTIFIER }
// The encryption parameter set must be there but is not compared. The key derivation is read after everything else has
// been read and the first two OIDs have been judged. Further elements are ignored.
bool asn_read_pkcs5_PBES2(const void* data, unsigned int size, pkcs5_pbe_gost_t& out) {
    asn_cursor_t in(data, size);
    const blob_t algorithm = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t params = in.enter(asn_tag_t::SEQUENCE);
    const asn_cursor_t derivation = params.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t encryption = params.enter(asn_tag_t::SEQUENCE);
    const blob_t cipher = encryption.read(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t cipher_params = encryption.enter(asn_tag_t::SEQUENCE);
    cipher_params.read(asn_tag_t::OCTET_STRING, out.iv);
    cipher_params.skip(asn_tag_t::OBJECT_IDENTIFIER);
    return cipher_params.ok() && asn_oid_equal_(algorithm, g_oid_PBES2) && asn_oid_equal_(cipher, g_oid_gost28147_89) &&
           read_pbkdf2(derivation, out);
}

bool asn_read_pkcs5_pbe_gost(const void* data, unsigned int size, pkcs5_pbe_gost_t& out) {
    return asn_read_pkcs5_PBES2(data, size, out);
}

void asn_write_pkcs5_PBES2(const pkcs5_pbe_gost_t& in, asn_tag_t_<300>& algorithm) {
    algorithm.add(asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_PBES2),
                  asn_element(asn_tag_t::SEQUENCE, pbkdf2(in), cipher(in)));
}

void asn_write_pkcs5_pbe_gost(const pkcs5_pbe_gost_t& in, std::string& out) {
    asn_tag_t_<300> algorithm(asn_tag_t::SEQUENCE);
    asn_write_pkcs5_PBES2(in, algorithm);
    algorithm.assign_to(out);
}
