// Rules of X.690 that an encoding breaks.
#ifndef DERKIT_TOOLS_FORMATS_ASN1_RULES_H
#define DERKIT_TOOLS_FORMATS_ASN1_RULES_H

#include <string>
#include <vector>

// What a breach leaves: octets that BER allows can still be read with certainty, others only as far as it goes.
enum class asn1_breach_of_t { DER, BER };

struct asn1_breach_t {
    asn1_breach_of_t of;
    std::string text; // "X.690 10.1: the length takes more octets than it needs"
};

using asn1_breaches_t = std::vector<asn1_breach_t>;

// Clauses of X.690 from 10 on are those of DER.
inline void add_der_breach(asn1_breaches_t& breaches, const char* clause, const std::string& text) {
    breaches.push_back({asn1_breach_of_t::DER, std::string("X.690 ") + clause + ": " + text});
}

inline void add_ber_breach(asn1_breaches_t& breaches, const char* clause, const std::string& text) {
    breaches.push_back({asn1_breach_of_t::BER, std::string("X.690 ") + clause + ": " + text});
}

#endif
