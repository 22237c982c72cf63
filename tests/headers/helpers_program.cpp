// Uses every helper in every version of C++ since 14. Prints what it finds; exits with the number of surprises.
#include <derkit/helpers/helpers.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

int surprises = 0;

void expect(bool holds, const char* what) {
    if (!holds) {
        std::printf("not so: %s\n", what);
        ++surprises;
    }
}

// A password-less toy: every MAC is of this answer, and nothing is encrypted.
class toy_crypto final : public pbe_crypto_t {
  public:
    bool answer = true;

    bool verify_mac(const pkcs12_mac_t&, const void*, unsigned int) override { return answer; }
    bool make_mac(const void*, unsigned int, pkcs12_mac_t& mac) override {
        mac.digest = mac.salt = derkit::to_blob("mac", 3);
        mac.iterations = 2000;
        return answer;
    }
    bool decrypt(const pkcs5_pbe_gost_t&, const void*, unsigned int, std::string&) override { return false; }
    bool encrypt(const void*, unsigned int, pkcs5_pbe_gost_t&, std::string&) override { return true; }
};

void use_bytes() {
    const std::string text = "\x01\xAB";
    const std::vector<unsigned char> octets{0x01, 0xAB};
    expect(derkit::to_hex(derkit::to_blob(text)) == "01AB", "to_hex of a string");
    expect(derkit::to_string(derkit::to_blob(octets)) == text, "to_string of a vector");
    expect(derkit::maybe_string().value_or("none") == "none", "maybe_string");
#if __cplusplus >= 201703L
    expect(derkit::to_string_view(derkit::to_blob(std::string_view(text))) == text, "string views");
#endif
#ifdef __cpp_lib_span
    expect(derkit::to_span(derkit::to_blob(std::span<const unsigned char>(octets))).size() == 2, "spans");
#endif
}

void use_cursor() {
    const unsigned char der[] = {0x30, 0x05, 0xA0, 0x00, 0x02, 0x01, 0x07};
    expect(derkit::element_size(der, 2) == sizeof der, "element_size");
    derkit::cursor in(der, sizeof der);
    derkit::cursor inside = in.enter(asn_tag_t::SEQUENCE);
    expect(inside.skip_if(asn_tag_t::CONTEXT_0) && inside.read(asn_tag_t::INTEGER).size == 1, "steps");
    expect(in.ok() && in.empty() && inside.rest().size == 0, "the end");
}

void use_names() {
    derkit::oid_map map("1.2.3 = A");
    map.add("1.2.4 = B");
    const derkit::oid_map moved(std::move(map));
    const derkit::maybe_string der = derkit::text_to_name("a=1,B=2", moved);
    expect(der && *derkit::name_to_text(derkit::to_blob(*der), PDN_ORDER_REVERSED, moved) == "B=2,A=1", "names");
    const derkit::maybe_string oid = derkit::text_to_oid("1.2.3");
    expect(moved.find("B") != nullptr && moved.find(derkit::to_blob(*oid)) != nullptr, "find");
    expect(*derkit::canonical_name("cn=a, O=b") == "CN=a,O=b", "canonical_name");
    expect(*derkit::attribute_of("CN=a,O=b", "O") == "b" && *derkit::reversed_name("CN=a,O=b") == "O=b,CN=a", "text");
    expect(*derkit::oid_to_text(derkit::to_blob(*oid)) == "1.2.3", "OIDs");
}

void use_pkcs12() {
    const unsigned char name[] = {0xD8, 0x3D, 0xDE, 0x00};
    bmp_string_t friendly_name;
    friendly_name.data = name;
    friendly_name.size = sizeof name;
    expect(*derkit::to_utf8(friendly_name) == "\xF0\x9F\x98\x80", "to_utf8");

    toy_crypto toy;
    derkit::recording_crypto crypto(toy, {PKI_ALG_GOST_3411_94});
    const derkit::maybe_string file = derkit::write_pkcs12(pkcs12_easy_t(), crypto);
    expect(file.ok(), "write_pkcs12");
    pkcs12_easy_t container;
    expect(derkit::read_pkcs12(derkit::to_blob(*file), crypto, container) == derkit::pkcs12_refusal::NONE,
           "read_pkcs12");
    toy.answer = false;
    const derkit::pkcs12_refusal refusal = derkit::read_pkcs12(derkit::to_blob(*file), crypto, container);
    expect(refusal == derkit::pkcs12_refusal::WRONG_MAC && !crypto.mac_good(), derkit::message_of(refusal));
    expect(!derkit::write_pkcs12(container, crypto), "a refused MAC");
}

} // namespace

int main() {
    use_bytes();
    use_cursor();
    use_names();
    use_pkcs12();
    std::printf("C++%ld, %d surprises\n", __cplusplus / 100 % 100, surprises);
    return surprises;
}
