// Whole containers: reading with a crypto object that hands back parts of the input, refuses or throws, and writing
// what was read.
#include <string>

#include "derkit/pkcs12_helper.h"
#include "support/container.h"
#include "support/handing_crypto.h"
#include "support/input.h"

namespace {

enum outcome_t : unsigned int { REFUSED, DONE, THROWN };

outcome_t read(const exact_bytes_t& in, handing_crypto_t& crypto, pkcs12_easy_t& easy) {
    try {
        return asn_read_pkcs12_easy(in.data(), in.size(), crypto.object(), easy) ? DONE : REFUSED;
    } catch (const crypto_failure_t&) {
        return THROWN;
    }
}

std::string write(const pkcs12_easy_t& easy) {
    const exact_bytes_t nothing("");
    handing_crypto_t crypto(nothing);
    std::string written = "gone";
    asn_write_pkcs12_easy(easy, crypto.object(), written);
    return written;
}

std::string mac_of(const exact_bytes_t& in, const pkcs12_easy_t& easy) {
    return read_text_t(in).bytes(bytes_of(easy.mac.digest, in, easy)).bytes(bytes_of(easy.mac.salt, in, easy)).text();
}

// What is written reads back, and what is read is written the same.
void check_written(const exact_bytes_t& in, const pkcs12_easy_t& easy) {
    const std::string bytes = write(easy);
    require(bytes.size() < 0x10000, "lengths are exact below 65,536");
    const exact_bytes_t written(bytes);
    handing_crypto_t crypto(written);
    pkcs12_easy_t again;
    require(read(written, crypto, again) == DONE, "a written container reads back");
    require_same(bags_of(easy.plain_bags, in, easy), bags_of(again.plain_bags, written, again),
                 "a container keeps its plain bags");
    require_same(bags_of(easy.encrypted_bags, in, easy), bags_of(again.encrypted_bags, written, again),
                 "a container keeps its encrypted bags");
    require_same(mac_of(in, easy), mac_of(written, again), "a container keeps its MAC");
    require_same(bytes, write(again), "a container that is read is written the same");
}

std::string read_container(const exact_bytes_t& in) {
    handing_crypto_t crypto(in);
    pkcs12_easy_t easy;
    const outcome_t outcome = read(in, crypto, easy);
    require(crypto.num_verified <= 1 && (outcome != DONE || crypto.accepted), "a MAC is verified once");
    crypto.require_kept(easy.decrypted_buffers);
    require(crypto.accepted || (easy.plain_bags.empty() && easy.encrypted_bags.empty()),
            "nothing is read before the MAC is verified");
    const std::string plain = bags_of(easy.plain_bags, in, easy);
    const std::string encrypted = bags_of(easy.encrypted_bags, in, easy);
    if (outcome == DONE) {
        check_written(in, easy);
    }
    return read_text_t(in)
        .number(outcome)
        .bytes(plain)
        .bytes(encrypted)
        .view(easy.mac.digest_alg)
        .view(easy.mac.digest)
        .view(easy.mac.salt)
        .number(easy.mac.iterations)
        .text();
}

// A container that is read into twice holds everything twice.
void check_read_twice(std::string_view input) {
    const exact_bytes_t in(input);
    handing_crypto_t crypto(in);
    pkcs12_easy_t easy;
    const outcome_t first = read(in, crypto, easy);
    const std::string plain = bags_of(easy.plain_bags, in, easy);
    const std::string encrypted = bags_of(easy.encrypted_bags, in, easy);
    handing_crypto_t fresh_crypto(in);
    require(read(in, fresh_crypto, easy) == first, "a container that holds bags reads the same");
    require_same(plain + plain, bags_of(easy.plain_bags, in, easy), "plain bags are appended");
    require_same(encrypted + encrypted, bags_of(easy.encrypted_bags, in, easy), "encrypted bags are appended");
}

} // namespace

void check_input(std::string_view input) {
    answer_of(read_container, input);
    check_read_twice(input);
}
