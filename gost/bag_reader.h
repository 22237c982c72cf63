// Reads SafeContents, with a password or without.
#ifndef DERKIT_GOST_BAG_READER_H
#define DERKIT_GOST_BAG_READER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "asn/asn_cursor.h"
#include "derkit/gost/container.h"
#include "gost/schemes.h"

namespace derkit::gost {

class bag_reader {
  public:
    // Without a session, everything that may be secret is withheld.
    bag_reader(session* under, const limits& cost) : under_(under), cost_(cost) {}

    // Reads a SafeContents; cause::malformed when it is not one. When the file exceeds a limit, reading stops and
    // exceeded() says so.
    result<std::vector<bag>> read(std::string_view safe_contents);

    // Decrypts with the session, or says why not.
    result<secret> decrypt_part(const blob_t& algorithm, std::string_view ciphertext, const encryption_scheme& scheme,
                                plaintext expected);

    // The limit that the file exceeds; cause::none while it keeps within all.
    cause exceeded() const { return exceeded_; }

  private:
    session* under_;
    const limits& cost_;
    std::size_t num_bags_ = 0;
    std::size_t num_attributes_ = 0; // and values
    cause exceeded_ = cause::none;

    result<std::vector<bag>> read_bags(std::string_view safe_contents, unsigned int depth);
    result<bag> read_bag(asn_cursor_t in, unsigned int depth);
    bool count_attribute_or_value();
    bool read_attributes(asn_cursor_t in, bag& out);
    bool read_attribute(asn_cursor_t in, bag& out);
    bool read_values(asn_cursor_t in, std::vector<std::string>& out);
    void read_value(std::string_view value, unsigned int depth, bag& out);
    void read_shrouded_key(std::string_view value, bag& out);
    void read_nested(std::string_view value, unsigned int depth, bag& out);
};

} // namespace derkit::gost

#endif
