// mbedTLS: by hand on its ASN.1 primitives, what it has no functions for.
#include <mbedtls/asn1.h>
#include <mbedtls/asn1write.h>

#include "row.h"
#include "tasks.h"
#include "testing/pkcs_der.h"

namespace {

constexpr int TAG_SEQUENCE = MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE;

// A position in an enclosing element, and its end. After a failed read nothing is left, so all later reads fail too.
class reader_t {
  public:
    reader_t(const unsigned char* data, std::size_t size) : p_(const_cast<unsigned char*>(data)), end_(data + size) {}
    explicit reader_t(std::string_view bytes) : reader_t(octets(bytes), bytes.size()) {}

    std::string_view read(int tag) {
        std::size_t size = 0;
        return mbedtls_asn1_get_tag(&p_, end_, &size, tag) == 0 ? take(size) : fail();
    }
    std::string_view read_any() {
        std::size_t size = 0;
        if (p_ == end_) {
            return fail();
        }
        ++p_;
        return mbedtls_asn1_get_len(&p_, end_, &size) == 0 ? take(size) : fail();
    }
    // An element with its header.
    std::string_view read_whole(int tag) {
        const unsigned char* const start = p_;
        read(tag);
        return ok() ? as_chars(start, static_cast<std::size_t>(p_ - start)) : std::string_view();
    }
    reader_t enter(int tag) { return reader_t(read(tag)); }
    bool next_is(int tag) const { return p_ != end_ && *p_ == tag; }
    // An INTEGER of up to 31 bits.
    int read_int() {
        int value = 0;
        if (mbedtls_asn1_get_int(&p_, end_, &value) != 0) {
            fail();
        }
        return value;
    }
    // The bits of a BIT STRING; the first octet is ignored.
    reader_t enter_bits() {
        std::string_view bits = read(MBEDTLS_ASN1_BIT_STRING);
        bits.remove_prefix(bits.empty() ? 0 : 1);
        return reader_t(bits);
    }
    bool ok() const { return p_ != nullptr; }

  private:
    unsigned char* p_;
    const unsigned char* end_;

    std::string_view take(std::size_t size) {
        const unsigned char* const content = p_;
        p_ += size;
        return as_chars(content, size);
    }
    std::string_view fail() {
        p_ = nullptr;
        end_ = nullptr;
        return std::string_view();
    }
};

// Writes from the end to the front, as mbedTLS does: the last member comes first.
class writer_t {
  public:
    // An element whose content `write_content` writes.
    template <typename WRITE> void add(unsigned char tag, WRITE write_content) {
        const unsigned char* const end = p_;
        write_content();
        mbedtls_asn1_write_len(&p_, buffer_, static_cast<std::size_t>(end - p_));
        mbedtls_asn1_write_tag(&p_, buffer_, tag);
    }
    void add_oid(std::string_view content) { mbedtls_asn1_write_oid(&p_, buffer_, content.data(), content.size()); }
    void add_octet_string(std::string_view bytes) {
        mbedtls_asn1_write_octet_string(&p_, buffer_, octets(bytes), bytes.size());
    }
    void add_null() { mbedtls_asn1_write_null(&p_, buffer_); }
    void add_int(int value) { mbedtls_asn1_write_int(&p_, buffer_, value); }
    void assign_to(std::string& out) const {
        out.assign(as_chars(p_, static_cast<std::size_t>(buffer_ + sizeof buffer_ - p_)));
    }

  private:
    unsigned char buffer_[512];
    unsigned char* p_ = buffer_ + sizeof buffer_;
};

// What a developer would write down as constants.
struct constants_t {
    std::vector<std::string> algorithms =
        make_inputs(3, [](unsigned int i) { return oid_content(KEY_FAMILIES[i].algorithm); });
    std::vector<std::string> public_key_param_sets =
        make_inputs(3, [](unsigned int i) { return oid_content(KEY_FAMILIES[i].public_key_param_set); });
    std::string digest_param_set = oid_content(OID_DIGEST_PARAM_SET);
    std::string pbes2 = oid_content(OID_PBES2);
    std::string pbkdf2 = oid_content(OID_PBKDF2);
    std::string hmac_gost = oid_content(OID_HMAC_GOST);
    std::string gost_28147 = oid_content(OID_GOST_28147);
    std::string gost_28147_param_set = oid_content(OID_GOST_28147_PARAM_SET);
    std::vector<std::string> hashes = make_inputs(3, [](unsigned int i) { return oid_content(DIGEST_OIDS[i]); });
};
const constants_t CONSTANTS;

// Private keys

struct read_key_t : private_key_view_t {
    void operator()(const private_key_t& input) {
        reader_t in(input.der);
        reader_t key_info = in.enter(TAG_SEQUENCE);
        key_info.read(MBEDTLS_ASN1_INTEGER);
        reader_t algorithm = key_info.enter(TAG_SEQUENCE);
        const std::string_view oid = algorithm.read(MBEDTLS_ASN1_OID);
        algorithm.read_any();
        reader_t private_key = key_info.enter(MBEDTLS_ASN1_OCTET_STRING);
        key = private_key.read(MBEDTLS_ASN1_OCTET_STRING);
        for (type = 0; type < NO_KEY_FAMILY && oid != CONSTANTS.algorithms[type]; ++type) {
        }
        if (!algorithm.ok() || !private_key.ok()) {
            type = NO_KEY_FAMILY;
        }
    }
};

struct write_key_t : output_t {
    void operator()(const private_key_t& input) {
        writer_t writer;
        writer.add(TAG_SEQUENCE, [&] {
            writer.add(MBEDTLS_ASN1_OCTET_STRING, [&] { writer.add_octet_string(input.key); });
            writer.add(TAG_SEQUENCE, [&] {
                writer.add(TAG_SEQUENCE, [&] {
                    writer.add_oid(CONSTANTS.digest_param_set);
                    writer.add_oid(CONSTANTS.public_key_param_sets[input.type]);
                });
                writer.add_oid(CONSTANTS.algorithms[input.type]);
            });
            writer.add_int(0);
        });
        writer.assign_to(out);
    }
};

struct read_encrypted_key_t {
    encrypted_key_view_t view;
    bool ok = false;
    void operator()(const encrypted_key_t& input) {
        reader_t in(input.der);
        reader_t key_info = in.enter(TAG_SEQUENCE);
        reader_t algorithm = key_info.enter(TAG_SEQUENCE);
        view.encrypted = key_info.read(MBEDTLS_ASN1_OCTET_STRING);
        const std::string_view scheme = algorithm.read(MBEDTLS_ASN1_OID);
        reader_t params = algorithm.enter(TAG_SEQUENCE);
        reader_t derivation = params.enter(TAG_SEQUENCE);
        reader_t encryption = params.enter(TAG_SEQUENCE);
        const std::string_view cipher = encryption.read(MBEDTLS_ASN1_OID);
        reader_t cipher_params = encryption.enter(TAG_SEQUENCE);
        view.iv = cipher_params.read(MBEDTLS_ASN1_OCTET_STRING);
        cipher_params.read(MBEDTLS_ASN1_OID);
        const std::string_view function = derivation.read(MBEDTLS_ASN1_OID);
        reader_t pbkdf2 = derivation.enter(TAG_SEQUENCE);
        view.salt = pbkdf2.read(MBEDTLS_ASN1_OCTET_STRING);
        view.iterations = static_cast<unsigned int>(pbkdf2.read_int());
        if (pbkdf2.next_is(MBEDTLS_ASN1_INTEGER)) {
            pbkdf2.read(MBEDTLS_ASN1_INTEGER);
        }
        reader_t prf = pbkdf2.enter(TAG_SEQUENCE);
        const std::string_view hmac = prf.read(MBEDTLS_ASN1_OID);
        prf.read_any();
        ok = key_info.ok() && cipher_params.ok() && pbkdf2.ok() && prf.ok() && scheme == CONSTANTS.pbes2 &&
             cipher == CONSTANTS.gost_28147 && function == CONSTANTS.pbkdf2 && hmac == CONSTANTS.hmac_gost;
    }
    std::string shown() const { return ok ? view.shown() : "refused"; }
};

struct write_encrypted_key_t : output_t {
    void operator()(const encrypted_key_t& input) {
        writer_t writer;
        writer.add(TAG_SEQUENCE, [&] {
            writer.add_octet_string(input.encrypted);
            writer.add(TAG_SEQUENCE, [&] {
                writer.add(TAG_SEQUENCE, [&] {
                    writer.add(TAG_SEQUENCE, [&] { // encryptionScheme
                        writer.add(TAG_SEQUENCE, [&] {
                            writer.add_oid(CONSTANTS.gost_28147_param_set);
                            writer.add_octet_string(input.iv);
                        });
                        writer.add_oid(CONSTANTS.gost_28147);
                    });
                    writer.add(TAG_SEQUENCE, [&] { // keyDerivationFunc
                        writer.add(TAG_SEQUENCE, [&] {
                            writer.add(TAG_SEQUENCE, [&] {
                                writer.add_null();
                                writer.add_oid(CONSTANTS.hmac_gost);
                            });
                            writer.add_int(static_cast<int>(input.iterations));
                            writer.add_octet_string(input.salt);
                        });
                        writer.add_oid(CONSTANTS.pbkdf2);
                    });
                });
                writer.add_oid(CONSTANTS.pbes2);
            });
        });
        writer.assign_to(out);
    }
};

// Public keys and signatures

struct read_bare_rsa_key_t {
    std::string_view modulus, exponent;
    bool ok = false;
    void operator()(const rsa_key_t& input) {
        reader_t key(input.key_der);
        ok = read(key);
    }
    std::string shown() const { return ok ? listed_numbers(modulus, exponent) : "refused"; }

    bool read(reader_t& key) {
        reader_t numbers = key.enter(TAG_SEQUENCE);
        modulus = numbers.read(MBEDTLS_ASN1_INTEGER);
        while (modulus.size() > 1 && modulus.front() == '\0') {
            modulus.remove_prefix(1);
        }
        exponent = numbers.read(MBEDTLS_ASN1_INTEGER);
        return numbers.ok();
    }
};

struct read_rsa_key_t : read_bare_rsa_key_t {
    std::string_view algorithm_oid, parameters;
    void operator()(const rsa_key_t& input) {
        reader_t in(input.spki_der);
        reader_t key_info = in.enter(TAG_SEQUENCE);
        reader_t algorithm = key_info.enter(TAG_SEQUENCE);
        algorithm_oid = algorithm.read(MBEDTLS_ASN1_OID);
        parameters = algorithm.read_any();
        reader_t key = key_info.enter_bits();
        ok = read(key) && algorithm.ok();
    }
};

struct read_gost_key_t {
    std::string_view algorithm_oid, encryption_param_set;
    gost_key_view_t view;
    bool ok = false;
    void operator()(const gost_key_t& input) {
        reader_t in(input.spki_der);
        reader_t key_info = in.enter(TAG_SEQUENCE);
        reader_t algorithm = key_info.enter(TAG_SEQUENCE);
        algorithm_oid = algorithm.read(MBEDTLS_ASN1_OID);
        reader_t params = algorithm.enter(TAG_SEQUENCE);
        view.public_key_param_set = params.read_whole(MBEDTLS_ASN1_OID);
        view.digest_param_set = params.read_whole(MBEDTLS_ASN1_OID);
        ok = params.ok();
        encryption_param_set =
            params.next_is(MBEDTLS_ASN1_OID) ? params.read_whole(MBEDTLS_ASN1_OID) : std::string_view();
        reader_t key = key_info.enter_bits();
        view.point = key.read(MBEDTLS_ASN1_OCTET_STRING);
        ok = ok && key.ok();
    }
    std::string shown() const { return ok ? view.shown() : "refused"; }
};

struct read_signature_t {
    std::string_view r, s;
    void operator()(const dsa_signature_t& input) {
        reader_t in(input.der);
        reader_t numbers = in.enter(TAG_SEQUENCE);
        r = numbers.read(MBEDTLS_ASN1_INTEGER);
        s = numbers.read(MBEDTLS_ASN1_INTEGER);
    }
    std::string shown() const { return listed_numbers(r, s); }
};

// Digests

struct read_digest_t {
    std::string_view oid;
    bool ok = false;
    void operator()(const digest_t& digest) {
        reader_t in(digest.der);
        reader_t info = in.enter(TAG_SEQUENCE);
        reader_t algorithm = info.enter(TAG_SEQUENCE);
        oid = algorithm.read(MBEDTLS_ASN1_OID);
        algorithm.read_any();
        info.read(MBEDTLS_ASN1_OCTET_STRING);
        ok = algorithm.ok() && info.ok();
    }
    std::string shown() const { return ok ? std::string(oid) : "refused"; }
};

struct write_digest_t : output_t {
    void operator()(const digest_t& digest) {
        writer_t writer;
        writer.add(TAG_SEQUENCE, [&] {
            writer.add_octet_string(digest.value);
            writer.add(TAG_SEQUENCE, [&] {
                writer.add_null();
                writer.add_oid(CONSTANTS.hashes[digest.hash]);
            });
        });
        writer.assign_to(out);
    }
};

const peer_registration_t registration(
    "mbedTLS primitives", "",
    {contender<read_key_t>("PKCS#8 read"), contender<write_key_t>("PKCS#8 write"),
     contender<read_encrypted_key_t>("encrypted key read"), contender<write_encrypted_key_t>("encrypted key write"),
     contender<read_rsa_key_t>("SubjectPublicKeyInfo, RSA key"), contender<read_bare_rsa_key_t>("RSA key alone"),
     contender<read_gost_key_t>("SubjectPublicKeyInfo, GOST key"), contender<read_signature_t>("DSA signature"),
     contender<read_digest_t>("DigestInfo read"), contender<write_digest_t>("DigestInfo write")});

} // namespace
