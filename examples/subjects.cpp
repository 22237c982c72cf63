// Which names are in a bundle? Prints the subject of every certificate of a PEM file, such as ca-certificates.crt.
#include <derkit/helpers/helpers.h>
#include <fstream>
#include <iostream>
#include <string>

// Collects the bytes that lines of Base64 stand for.
struct base64_decoder {
    std::string bytes;
    unsigned int bits = 0;
    int num_bits = 0;

    void add(const std::string& line) {
        static const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (const char c : line) {
            const std::size_t digit = digits.find(c);
            if (digit != std::string::npos) { // padding and line ends are not digits
                bits = bits << 6 | static_cast<unsigned int>(digit);
                num_bits += 6;
            }
            if (num_bits >= 8) {
                num_bits -= 8;
                bytes += static_cast<char>(bits >> num_bits & 0xFF);
            }
        }
    }
};

// Certificate ::= SEQUENCE { tbsCertificate SEQUENCE { version [0] OPTIONAL, serialNumber INTEGER, signature, issuer,
// validity, subject, … }, … }
static derkit::maybe_string subject_of(const std::string& der) {
    derkit::cursor certificate = derkit::cursor(derkit::to_blob(der)).enter(asn_tag_t::SEQUENCE);
    derkit::cursor fields = certificate.enter(asn_tag_t::SEQUENCE);
    fields.skip_if(asn_tag_t::CONTEXT_0);
    fields.skip(asn_tag_t::INTEGER);
    fields.skip(asn_tag_t::SEQUENCE); // signature
    fields.skip(asn_tag_t::SEQUENCE); // issuer
    fields.skip(asn_tag_t::SEQUENCE); // validity
    const blob_t subject = fields.read_element(asn_tag_t::SEQUENCE);
    return derkit::name_to_text(subject, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT_FILE);
}

int main(int argc, char** argv) {
    std::ifstream bundle(argc > 1 ? argv[1] : "/etc/ssl/certs/ca-certificates.crt");
    base64_decoder certificate;
    bool inside = false;
    for (std::string line; std::getline(bundle, line);) {
        if (line == "-----BEGIN CERTIFICATE-----") {
            certificate = base64_decoder();
            inside = true;
        } else if (line == "-----END CERTIFICATE-----") {
            std::cout << subject_of(certificate.bytes).value_or("(not a certificate)") << '\n';
            inside = false;
        } else if (inside) {
            certificate.add(line);
        }
    }
    return bundle.eof() ? 0 : 1;
}
