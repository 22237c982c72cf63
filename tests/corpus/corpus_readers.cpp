// Runs every reader over all files of the folder that DERKIT_TEST_CORPUS names. Whatever they hold, nothing crashes, no
// sanitizer reports an error, no file takes a second, and a name that was encoded from its text stays the same when it
// is printed and encoded again.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "asn/asn_cursor.h"
#include "derkit/derkit.h"
#include "testing/bytes.h"

namespace {

constexpr int SKIPPED = 77;
constexpr int MAX_DEPTH = 64;
constexpr double MAX_SECONDS_PER_FILE = 1.0;

struct counts_t {
    unsigned int files = 0;
    unsigned int elements = 0;
    unsigned int names = 0;
    unsigned int same_again = 0;
    unsigned int failures = 0;
};

std::string print(std::string_view der, PrintableDnOrder order) {
    const exact_bytes_t input(der);
    std::string text;
    return asn_dn_to_printable(input.data(), input.size(), text, order, OID_MAP_HANDLE_DEFAULT) ? text : std::string();
}

void check_name(std::string_view der, counts_t& counts) {
    const std::string text = print(der, PDN_ORDER_AS_ENCODED);
    print(der, PDN_ORDER_REVERSED);
    if (text.empty()) {
        return;
    }
    ++counts.names;
    std::string again;
    if (!printable_dn_normalize(text, again, nullptr, OID_MAP_HANDLE_DEFAULT)) {
        return;
    }
    counts.same_again += again == text ? 1 : 0;
    std::string once_more;
    if (!printable_dn_normalize(again, once_more, nullptr, OID_MAP_HANDLE_DEFAULT) || once_more != again) {
        std::printf("FAILED: [%s] becomes [%s]\n", again.c_str(), once_more.c_str());
        ++counts.failures;
    }
}

// The readers that take one element with its header.
void read_element(std::string_view element, counts_t& counts) {
    const exact_bytes_t input(element);
    ++counts.elements;
    check_name(element, counts);
    std::string text;
    asn_oid_to_printable(input.data(), input.size(), text, true, OID_MAP_HANDLE_DEFAULT);
    asn_ike_signalg_t signature_algorithm;
    if (asn_read_ike_signalg(input.data(), input.size(), signature_algorithm) != 0) {
        signature_algorithm.to_pki_alg();
    }
    asn_algorid_t algorithm;
    const std::string digest_info(element);
    asn_read_alg_from_digest(&algorithm, digest_info);
}

// The readers that take content alone, or text.
void read_content(std::string_view content) {
    const exact_bytes_t input(content);
    unsigned int value = 0;
    asn_read_INTEGER(input.data(), input.size(), value, 0xFFFFFFFF);
    std::string text;
    oid_asn_to_str_(input.data(), input.data() + input.size(), text);
    unsigned char oid[512];
    oid_str_to_asn_(input.chars(), input.chars() + input.size(), oid);
    text.clear();
    ldap_t61s_to_utf8s(input.chars(), input.size(), text);
    oid_map_release(oid_map_parse(input.chars(), input.size()));

    std::string dn(content);
    std::string out;
    printable_dn_normalize(dn, out, nullptr, OID_MAP_HANDLE_DEFAULT);
    printable_dn_get_attr(dn.c_str(), "CN", out, PDN_GET_ATTR_PAIR);
    printable_dn_contain_attrs(dn.c_str(), "CN=a");
    printable_dn_C_before_CN(dn.c_str());
    printable_dn_reverse(dn.data());
}

// Walks into everything that reads as elements, primitive content included: extensions and keys hold DER in strings.
void walk(std::string_view bytes, int depth, counts_t& counts) {
    asn_cursor_t in(bytes.data(), static_cast<unsigned int>(bytes.size()));
    while (!in.empty()) {
        const unsigned char* const begin = in.p;
        const blob_t content = in.read(asn_tag_t::ANY);
        if (!in.ok()) {
            return;
        }
        read_element(as_chars(begin, static_cast<std::size_t>(in.p - begin)), counts);
        read_content(as_chars(content.data, content.size));
        if (depth < MAX_DEPTH) {
            walk(as_chars(content.data, content.size), depth + 1, counts);
        }
    }
}

void check_file(const std::filesystem::path& path, counts_t& counts) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::clock_t start = std::clock();
    read_element(bytes, counts);
    read_content(bytes);
    walk(bytes, 0, counts);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    if (seconds > MAX_SECONDS_PER_FILE) {
        std::printf("FAILED: %s took %.1f seconds\n", path.c_str(), seconds);
        ++counts.failures;
    }
    ++counts.files;
}

} // namespace

int main() {
    const char* const corpus = std::getenv("DERKIT_TEST_CORPUS");
    if (corpus == nullptr) {
        std::puts("DERKIT_TEST_CORPUS is not set");
        return SKIPPED;
    }
    counts_t counts;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
        if (entry.is_regular_file()) {
            check_file(entry.path(), counts);
        }
    }
    std::printf("%u files, %u elements, %u names, %u of them the same after a round trip, %u failures\n", counts.files,
                counts.elements, counts.names, counts.same_again, counts.failures);
    return counts.files != 0 && counts.failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
