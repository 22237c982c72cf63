/// @file
/// PKCS#12 containers (RFC 7292) with cryptography supplied by the caller.
#ifndef DERKIT_PKCS12_HELPER_H
#define DERKIT_PKCS12_HELPER_H

#include <list>
#include <string>

#include "derkit/asn_types.h"
#include "derkit/pkcs8_helper.h"

/// @defgroup containers PKCS#12 containers
/// The only exception that the library itself throws is std::bad_alloc. Calls on distinct containers may run in
/// parallel.
/// @{

/// A view of BMPString content: UTF-16, big-endian.
struct bmp_string_t {
    unsigned int size = 0;               ///< number of bytes
    const unsigned char* data = nullptr; ///< first byte
};

/// One key or certificate of a container.
struct pkcs12_bag_t {
    unsigned int type = 0;      ///< 0: private key, 1: certificate; writers treat every other value as a key
    blob_t value;               ///< a complete PrivateKeyInfo element, or a DER certificate; not parsed
    bmp_string_t friendly_name; ///< content of friendlyName; size 0: absent
    blob_t local_key_id;        ///< content of localKeyId; size 0: absent
};

/// The integrity block of a container.
struct pkcs12_mac_t {
    blob_t digest_alg;           ///< content of the digest's AlgorithmIdentifier; filled on reading, ignored on writing
    blob_t digest;               ///< the MAC
    blob_t salt;                 ///< macSalt
    unsigned int iterations = 0; ///< iteration count; 1 when the file has none
};

/// A container: bags in the clear, encrypted bags, the MAC, and the plaintexts that bags point into.
///
/// It moves but does not copy: the bags of a copy would point into the source's plaintexts.
struct pkcs12_easy_t {
    std::list<pkcs12_bag_t> plain_bags;       ///< kept in the clear
    std::list<pkcs12_bag_t> encrypted_bags;   ///< decrypted shrouded keys too
    pkcs12_mac_t mac;                         ///< as read; written when make_mac declines
    std::list<std::string> decrypted_buffers; ///< owns every decrypted plaintext; do not change them

    pkcs12_easy_t() = default; ///< An empty container.
    /// Takes over bags and plaintexts; views stay valid.
    pkcs12_easy_t(pkcs12_easy_t&&) = default;
    /// Takes over bags and plaintexts; views stay valid.
    /// @return the container itself
    pkcs12_easy_t& operator=(pkcs12_easy_t&&) = default;
    pkcs12_easy_t(const pkcs12_easy_t&) = delete;
    pkcs12_easy_t& operator=(const pkcs12_easy_t&) = delete;
    ~pkcs12_easy_t() = default;
};

/// The cryptography of a container, implemented by the caller.
///
/// The library calls the four operations in the thread that called it; it never creates, copies or destroys the
/// object. Their order is part of the binary interface.
class pbe_crypto_t {
  public:
    /// Tells whether `mac` matches `data`: all that authSafe's [0] holds, which should be one complete OCTET STRING
    /// element (04, length, content). None of it has been parsed yet.
    /// @param mac   as in the file
    /// @param data  what the MAC covers
    /// @param size  bytes of it
    /// @return whether it matches; false ends the reading
    virtual bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) = 0;

    /// Fills `digest`, `salt` and `iterations` of `mac` for the same kind of data. What the views point to must
    /// stay valid until the writer returns. Choose an iteration count without a zero octet, such as 2000: see
    /// asn_write_INTEGER().
    /// @param data  what the MAC is to cover
    /// @param size  bytes of it
    /// @param mac   arrives empty, with zero iterations
    /// @return whether a MAC was made; if not, the container's own is written
    virtual bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) = 0;

    /// Decrypts `data` under `params`. The plaintext of an entry is an OCTET STRING around a SafeContents; that of a
    /// shrouded key becomes its bag's value unchanged.
    /// @param params  as in the file
    /// @param data    ciphertext
    /// @param size    bytes of it
    /// @param out     receives the plaintext; arrives empty
    /// @return whether it was decrypted; if not, the entry or key is skipped
    virtual bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) = 0;

    /// Chooses `params` and writes the ciphertext of `data` to `out`. What the views of `params` point to must stay
    /// valid until the writer returns; for the iteration count see make_mac.
    /// @param data    plaintext
    /// @param size    bytes of it
    /// @param params  to be chosen; arrive empty
    /// @param out     receives the ciphertext; arrives empty
    /// @return ignored
    virtual bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) = 0;

  protected:
    // Not virtual: a virtual destructor would add slots to the vtable.
    ~pbe_crypto_t() = default;
};

/// Reads the content of a MacData SEQUENCE.
/// @param data  the content, without the SEQUENCE's own header
/// @param size  bytes of it
/// @param mac   views into `data`; may be partly filled after a failure
/// @return whether it was read
DERKIT_API bool asn_read_pkcs12_MacData(const void* data, unsigned int size, pkcs12_mac_t& mac);

/// Reads a PFX.
///
/// The MAC is verified before anything inside is parsed. A file without a MAC is refused, and so is one whose authSafe
/// is not id-data. Entries that are of another kind, or that cannot be decrypted, are skipped.
///
/// @param data    the file's bytes; they must outlive the container, whose bags and MAC point into them
/// @param size    their number
/// @param crypto  never null
/// @param easy    bags are appended to what it holds; after a failure it keeps those read so far, and all its views
///                stay valid
/// @return whether it was read; as entries may be skipped, there may be no bag at all
DERKIT_API bool asn_read_pkcs12_easy(const void* data, unsigned int size, pbe_crypto_t* crypto, pkcs12_easy_t& easy);

/// Writes a PFX and assigns it to `out`, which bags may view: the plain bags in one id-data entry, the encrypted bags
/// in one id-encryptedData entry. After an exception `out` is unchanged.
///
/// Departs from RFC 7292: the MAC covers the whole OCTET STRING element, the encrypted plaintext is an OCTET STRING
/// around the SafeContents, iteration counts lose their zero octets, and the length of an element of 65,536 octets or
/// more is written too short when any of its octets but the lowest is zero.
/// @param easy    not changed
/// @param crypto  never null
/// @param out     receives the PFX, which replaces what it held
DERKIT_API void asn_write_pkcs12_easy(const pkcs12_easy_t& easy, pbe_crypto_t* crypto, std::string& out);

/// @}

#endif
