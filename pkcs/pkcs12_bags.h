// SafeContents: the bags inside one entry of a container.
#ifndef DERKIT_PKCS12_BAGS_H
#define DERKIT_PKCS12_BAGS_H

#include <list>

#include "asn/asn_builder.h"
#include "derkit/pkcs12_helper.h"

enum pkcs12_bag_type_t : unsigned int { PKCS12_BAG_KEY = 0, PKCS12_BAG_CERTIFICATE = 1 };

// What the reader of bags needs besides its input.
struct pkcs12_easy_wrap_t {
    pkcs12_easy_t* easy;
    pbe_crypto_t* crypto;
};

// Reads a SafeContents element and appends its bags to the container, in file order: to `encrypted_bags` when it comes
// from an EncryptedData, else to `plain_bags`. Decrypted shrouded keys always go to `encrypted_bags`, their
// plaintexts to `decrypted_buffers`. Bags read before a failure stay.
bool asn_read_pkcs12_bags(const void* data, unsigned int size, bool from_encrypted, pkcs12_easy_wrap_t& wrap);

// A SafeContents to be written, with one SafeBag for each bag: a part of an element (asn_element.h).
class pkcs12_safe_contents_t {
  public:
    explicit pkcs12_safe_contents_t(const std::list<pkcs12_bag_t>& bags);

    unsigned int size() const;
    unsigned char* write_to(unsigned char* to) const;

  private:
    const std::list<pkcs12_bag_t>* bags_;
    unsigned int content_size_;
};

// Appends a SafeContents to `out`.
void asn_write_pkcs12_bags(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& out);

#endif
