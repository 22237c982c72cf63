#include "derkit/pkcs12_helper.h"

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "pkcs/pkcs12_bags.h"
#include "pkcs/pkcs12_mac.h"
#include "pkcs/pkcs5_pbes2.h"
#include "pkcs/pkcs7.h"
#include "pkcs/pkcs_oids.h"

namespace {

constexpr unsigned char PFX_VERSION[] = {3};

// Any version of one octet is accepted; in a longer one only the first octet counts.
bool is_accepted_version(const blob_t& version, unsigned char expected) {
    return version.size == 1 || (version.size != 0 && version.data[0] == expected);
}

// Moves a plaintext to the back of the container's buffers, after those of its own bags, however reading them ends.
class keep_on_exit_t {
  public:
    keep_on_exit_t(std::list<std::string>& buffers, std::list<std::string>& plaintext)
        : buffers_(buffers), plaintext_(plaintext) {}
    ~keep_on_exit_t() { buffers_.splice(buffers_.end(), plaintext_); }
    keep_on_exit_t(const keep_on_exit_t&) = delete;
    keep_on_exit_t& operator=(const keep_on_exit_t&) = delete;

  private:
    std::list<std::string>& buffers_;
    std::list<std::string>& plaintext_;
};

bool read_data(const blob_t& content, pkcs12_easy_wrap_t& wrap) {
    blob_t safe_contents;
    return asn_read_pkcs7_data(content.data, content.size, safe_contents) &&
           asn_read_pkcs12_bags(safe_contents.data, safe_contents.size, false, wrap);
}

// The version is judged after everything has been read. The entry is left out when it does not hold id-data, when it is
// encrypted in another way and when it cannot be decrypted. The plaintext is an OCTET STRING around the SafeContents.
bool read_encrypted_data(const blob_t& content, pkcs12_easy_wrap_t& wrap) {
    pkcs7_encrypted_data_t encrypted;
    if (!asn_read_pkcs7_EncryptedData(content.data, content.size, encrypted) ||
        !is_accepted_version(encrypted.version, PKCS7_ENCRYPTED_DATA_VERSION[0])) {
        return false;
    }
    pkcs5_pbe_gost_t pbe;
    if (!asn_oid_equal_(encrypted.content_type, g_oid_pkcs7_id_data) ||
        !asn_read_pkcs5_pbe_gost(encrypted.algorithm.data, encrypted.algorithm.size, pbe)) {
        return true;
    }
    // In a list node from the start: the bags view these bytes, which must not move.
    std::list<std::string> plaintext(1);
    const blob_t& ciphertext = encrypted.encrypted_content;
    if (!wrap.crypto->decrypt(pbe, ciphertext.data, ciphertext.size, plaintext.front())) {
        return true;
    }
    const keep_on_exit_t keep(wrap.easy->decrypted_buffers, plaintext);
    asn_cursor_t octets(plaintext.front());
    const blob_t safe_contents = octets.read(asn_tag_t::OCTET_STRING);
    return octets.ok() && asn_read_pkcs12_bags(safe_contents.data, safe_contents.size, true, wrap);
}

// One entry of the AuthenticatedSafe; entries of other content types are left out.
bool read_entry(asn_cursor_t entry, pkcs12_easy_wrap_t& wrap) {
    pkcs7_content_info_t info;
    const blob_t bytes = entry.rest();
    if (!asn_read_pkcs7_ContentInfo(bytes.data, bytes.size, info)) {
        return false;
    }
    if (asn_oid_equal_(info.content_type, g_oid_pkcs7_id_data)) {
        return read_data(info.content, wrap);
    }
    if (asn_oid_equal_(info.content_type, g_oid_pkcs7_id_encrypted_data)) {
        return read_encrypted_data(info.content, wrap);
    }
    return true;
}

// AuthenticatedSafe ::= SEQUENCE OF ContentInfo                                                     RFC 7292 4.1
bool read_authenticated_safe(const blob_t& octets, pkcs12_easy_wrap_t& wrap) {
    asn_cursor_t in(octets);
    asn_cursor_t entries = in.enter(asn_tag_t::SEQUENCE);
    while (!entries.empty()) {
        if (!read_entry(entries.enter(asn_tag_t::SEQUENCE), wrap)) {
            return false;
        }
    }
    return entries.ok();
}

auto plain_entry(const std::list<pkcs12_bag_t>& bags) {
    return pkcs7_content_info(g_oid_pkcs7_id_data, asn_element(asn_tag_t::OCTET_STRING, pkcs12_safe_contents_t(bags)));
}

// Encrypts the bags, as an OCTET STRING around their SafeContents.
void encrypt_bags(const std::list<pkcs12_bag_t>& bags, pbe_crypto_t* crypto, asn_tag_t_<300>& algorithm,
                  std::string& ciphertext) {
    asn_tag_t_<0> plaintext(asn_tag_t::OCTET_STRING);
    asn_write_pkcs12_bags(bags, plaintext);
    pkcs5_pbe_gost_t pbe;
    crypto->encrypt(plaintext.encoding(), plaintext.encoding_size(), pbe, ciphertext);
    asn_write_pkcs5_PBES2(pbe, algorithm);
}

} // namespace

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }              RFC 7292 4
// The MacData must be there, and the content must be id-data. The MAC covers all of [0],
// and nothing in there is parsed before it is verified. Bytes after any element are ignored.
bool asn_read_pkcs12_easy(const void* data, unsigned int size, pbe_crypto_t* crypto, pkcs12_easy_t& easy) {
    asn_cursor_t in(data, size);
    asn_cursor_t pfx = in.enter(asn_tag_t::SEQUENCE);
    const blob_t version = pfx.read(asn_tag_t::INTEGER);
    const blob_t auth_safe = pfx.read(asn_tag_t::SEQUENCE);
    blob_t mac_data;
    if (pfx.next_is(asn_tag_t::SEQUENCE)) {
        mac_data = pfx.read(asn_tag_t::SEQUENCE);
    }
    pkcs7_content_info_t info;
    if (!pfx.ok() || !is_accepted_version(version, PFX_VERSION[0]) ||
        !asn_read_pkcs7_ContentInfo(auth_safe.data, auth_safe.size, info) ||
        !asn_oid_equal_(info.content_type, g_oid_pkcs7_id_data)) {
        return false;
    }
    if (!asn_read_pkcs12_MacData(mac_data.data, mac_data.size, easy.mac) ||
        !crypto->verify_mac(easy.mac, info.content.data, info.content.size)) {
        return false;
    }
    blob_t authenticated_safe;
    pkcs12_easy_wrap_t wrap = {&easy, crypto};
    return asn_read_pkcs7_data(info.content.data, info.content.size, authenticated_safe) &&
           read_authenticated_safe(authenticated_safe, wrap);
}

void asn_write_pkcs12_easy(const pkcs12_easy_t& easy, pbe_crypto_t* crypto, std::string& out) {
    const bool has_encrypted = !easy.encrypted_bags.empty();
    asn_tag_t_<300> algorithm(asn_tag_t::SEQUENCE);
    std::string ciphertext;
    if (has_encrypted) {
        encrypt_bags(easy.encrypted_bags, crypto, algorithm, ciphertext);
    }
    const auto encrypted_entry =
        pkcs7_content_info(g_oid_pkcs7_id_encrypted_data, pkcs7_encrypted_data(algorithm, ciphertext));
    const auto octets = asn_element(asn_tag_t::OCTET_STRING,
                                    asn_element(asn_tag_t::SEQUENCE,
                                                asn_optional_t(!easy.plain_bags.empty(), plain_entry(easy.plain_bags)),
                                                asn_optional_t(has_encrypted, encrypted_entry)));

    constexpr unsigned int MAC_DATA_SIZE = 128; // estimated
    asn_tag_t_<0> pfx(asn_tag_t::SEQUENCE);
    pfx.add_before(MAC_DATA_SIZE, asn_element(asn_tag_t::INTEGER, PFX_VERSION),
                   pkcs7_content_info(g_oid_pkcs7_id_data, octets));
    const blob_t covered = pfx.last_octets(octets.size());
    pkcs12_mac_t fresh_mac;
    const bool made = crypto->make_mac(covered.data, covered.size, fresh_mac);
    asn_write_pkcs12_MacData(made ? fresh_mac : easy.mac, pfx);
    pfx.assign_to(out);
}
