// The parts of a container, each read from the whole input: MacData, ContentInfo, data and SafeContents.
#include <algorithm>
#include <string>

#include "asn/asn_cursor.h"
#include "derkit/pkcs12_helper.h"
#include "pkcs/pkcs12_bags.h"
#include "pkcs/pkcs12_mac.h"
#include "pkcs/pkcs7.h"
#include "support/container.h"
#include "support/handing_crypto.h"
#include "support/input.h"

namespace {

constexpr unsigned int UNTOUCHED = 0xA5A5A5A5;

std::string write(const pkcs12_mac_t& mac) {
    asn_tag_t_<0> parent(asn_tag_t::SEQUENCE);
    asn_write_pkcs12_MacData(mac, parent);
    std::string written;
    parent.assign_to(written);
    return written;
}

// What is written reads back, and what is read is written the same.
void check_written(const pkcs12_mac_t& mac) {
    const std::string written = write(mac);
    const exact_bytes_t block(written);
    asn_cursor_t in(block.data(), block.size());
    asn_cursor_t parent = in.enter(asn_tag_t::SEQUENCE);
    const blob_t content = parent.read(asn_tag_t::SEQUENCE);
    require(parent.ok() && parent.empty() && in.empty(), "a MAC is one element");
    pkcs12_mac_t again;
    require(asn_read_pkcs12_MacData(content.data, content.size, again), "a written MAC reads back");
    require_same(chars_of(mac.digest), chars_of(again.digest), "a MAC keeps its digest");
    require_same(chars_of(mac.salt), chars_of(again.salt), "a MAC keeps its salt");
    require_same(written, write(again), "a MAC that is read is written the same");
}

std::string read_mac(const exact_bytes_t& in) {
    pkcs12_mac_t mac;
    mac.iterations = UNTOUCHED;
    const bool done = asn_read_pkcs12_MacData(in.data(), in.size(), mac);
    if (done) {
        check_written(mac);
    }
    return read_text_t(in)
        .number(done)
        .view(mac.digest_alg)
        .view(mac.digest)
        .view(mac.salt)
        .number(mac.iterations)
        .text();
}

std::string read_content_info(const exact_bytes_t& in) {
    pkcs7_content_info_t info;
    const bool done = asn_read_pkcs7_ContentInfo(in.data(), in.size(), info);
    return read_text_t(in).number(done).view(info.content_type).view(info.content).text();
}

std::string read_data(const exact_bytes_t& in) {
    blob_t data;
    const bool done = asn_read_pkcs7_data(in.data(), in.size(), data);
    return read_text_t(in).number(done).view(data).text();
}

std::string write(const std::list<pkcs12_bag_t>& bags) {
    asn_tag_t_<0> parent(asn_tag_t::OCTET_STRING);
    asn_write_pkcs12_bags(bags, parent);
    asn_cursor_t in(parent.encoding(), parent.encoding_size());
    return std::string(chars_of(in.read(asn_tag_t::OCTET_STRING)));
}

// All in one list: keys that were shrouded are written bare.
void check_written(const std::list<pkcs12_bag_t>& bags, const std::string& expected) {
    const exact_bytes_t written(write(bags));
    handing_crypto_t crypto(written);
    pkcs12_easy_t again;
    pkcs12_easy_wrap_t wrap = {&again, crypto.object()};
    require(asn_read_pkcs12_bags(written.data(), written.size(), true, wrap), "written bags read back");
    require_same(expected, bags_of(again.encrypted_bags, written, again), "bags keep what they hold");
    require(again.plain_bags.empty() && again.decrypted_buffers.empty(), "bags go where they belong");
}

std::string read_bags(bool from_encrypted, const exact_bytes_t& in) {
    handing_crypto_t crypto(in);
    crypto.accepted = true;
    pkcs12_easy_t easy;
    pkcs12_easy_wrap_t wrap = {&easy, crypto.object()};
    unsigned int done = 0;
    try {
        done = asn_read_pkcs12_bags(in.data(), in.size(), from_encrypted, wrap) ? 1 : 0;
    } catch (const crypto_failure_t&) {
        done = 2;
    }
    crypto.require_kept(easy.decrypted_buffers);
    if (from_encrypted) {
        require(easy.plain_bags.empty(), "what was encrypted is not plain");
    } else {
        const auto holds = [](const pkcs12_bag_t& bag, const std::string& plaintext) {
            return bag.type == PKCS12_BAG_KEY && chars_of(bag.value) == plaintext;
        };
        require(std::equal(easy.encrypted_bags.begin(), easy.encrypted_bags.end(), easy.decrypted_buffers.begin(),
                           easy.decrypted_buffers.end(), holds),
                "every shrouded key is its plaintext");
    }
    const std::string plain = bags_of(easy.plain_bags, in, easy);
    const std::string encrypted = bags_of(easy.encrypted_bags, in, easy);
    check_written(easy.plain_bags, plain);
    check_written(easy.encrypted_bags, encrypted);
    return read_text_t(in).number(done).bytes(plain).bytes(encrypted).text();
}

} // namespace

void check_input(std::string_view input) {
    answer_of(read_mac, input);
    answer_of(read_content_info, input);
    answer_of(read_data, input);
    answer_of([](const exact_bytes_t& in) { return read_bags(false, in); }, input);
    answer_of([](const exact_bytes_t& in) { return read_bags(true, in); }, input);
}
