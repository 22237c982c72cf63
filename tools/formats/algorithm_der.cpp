#include "formats/algorithm_der.h"

#include "asn/asn_builder.h"

std::string identifier_without_parameters(std::string_view oid) {
    asn_tag_t_<64> algorithm(asn_tag_t::SEQUENCE);
    algorithm.add_element(asn_tag_t::OBJECT_IDENTIFIER, oid);
    std::string der;
    algorithm.assign_to(der);
    return der;
}

// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }     RFC 8017 9.2
std::string form_digest_info_prefix(std::string_view oid, unsigned int digest_size) {
    asn_tag_t_<64> algorithm(asn_tag_t::SEQUENCE);
    algorithm.add_element(asn_tag_t::OBJECT_IDENTIFIER, oid);
    algorithm.add_element(asn_tag_t::NULL_VALUE, std::string_view());
    asn_tag_t_<256> digest_info(asn_tag_t::SEQUENCE);
    digest_info.add_node(algorithm);
    digest_info.add_element(asn_tag_t::OCTET_STRING, std::string(digest_size, '\0'));
    std::string der;
    digest_info.assign_to(der);
    der.resize(der.size() - digest_size);
    return der;
}
