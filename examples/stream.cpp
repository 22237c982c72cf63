// How do I go through a million certificates? One at a time: counts the countries of certificates in DER, one after the
// other on the standard input, with the memory of one.
#include <derkit/helpers/helpers.h>
#include <iostream>
#include <map>
#include <string>

// Reads the next element of the stream; nothing at the end and for what is no certificate. Then no further one is found.
static derkit::maybe_string next_element(std::istream& in) {
    std::string element(6, '\0'); // every header fits, and no certificate is shorter
    if (!in.read(&element[0], 6)) {
        return derkit::maybe_string();
    }
    const unsigned char* const header = reinterpret_cast<const unsigned char*>(element.data());
    const unsigned long long size = derkit::element_size(header, 6);
    if (size < 6 || size > 1024 * 1024) { // the input must not choose how much memory you use
        return derkit::maybe_string();
    }
    element.resize(static_cast<std::size_t>(size));
    in.read(&element[6], static_cast<std::streamsize>(size - 6));
    return in ? derkit::maybe_string(std::move(element)) : derkit::maybe_string();
}

static derkit::maybe_string country_of(const std::string& certificate) {
    derkit::cursor outer = derkit::cursor(derkit::to_blob(certificate)).enter(asn_tag_t::SEQUENCE);
    derkit::cursor fields = outer.enter(asn_tag_t::SEQUENCE);
    fields.skip_if(asn_tag_t::CONTEXT_0); // version
    fields.skip(asn_tag_t::INTEGER);
    fields.skip(asn_tag_t::SEQUENCE); // signature
    fields.skip(asn_tag_t::SEQUENCE); // issuer
    fields.skip(asn_tag_t::SEQUENCE); // validity
    const derkit::maybe_string subject = derkit::name_to_text(fields.read_element(asn_tag_t::SEQUENCE));
    return subject ? derkit::attribute_of(*subject, "C") : derkit::maybe_string();
}

int main() {
    std::ios::sync_with_stdio(false);
    std::map<std::string, unsigned long> counts;
    unsigned long count = 0;
    while (const derkit::maybe_string certificate = next_element(std::cin)) {
        ++counts[country_of(*certificate).value_or("none")];
        ++count;
    }
    std::cout << count << " certificates\n";
    for (const auto& entry : counts) {
        std::cout << entry.second << ' ' << entry.first << '\n';
    }
    return std::cin.eof() && std::cin.gcount() == 0 ? 0 : 1; // whether the stream ended after a certificate
}
