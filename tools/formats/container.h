// PKCS#12 containers: listed, opened, and walked part by part.
#ifndef DERKIT_TOOLS_FORMATS_CONTAINER_H
#define DERKIT_TOOLS_FORMATS_CONTAINER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/gost/container.h"
#include "formats/refusal.h"
#include "io/secret.h"

// What a container tells without its password. `file` names it in messages. Throws failure_t if it is none.
gost::container list_container(const std::string& file, std::string_view bytes, const gost::limits& cost);

// Why no password opens a container that was listed; nothing if one may.
std::optional<gost::failure> find_obstacle(const gost::container& listed, gost::integrity mac);

// As list_container(), and throws failure_t for a container that no password opens.
gost::container list_openable_container(const std::string& file, std::string_view bytes,
                                        const gost::open_options& options);

// Throws failure_t; parts that cannot be opened are no failure.
gost::container open_container(const std::string& file, std::string_view bytes, const std::optional<secret_t>& password,
                               const gost::open_options& options);

// An entry, or a bag in it. Numbers start at 1; a bag of bags is followed by those that it holds.
struct part_t {
    const gost::entry* entry = nullptr;
    std::size_t entry_number = 0;
    const gost::bag* bag = nullptr; // null for the entry itself
    std::size_t bag_number = 0;

    bool is(gost::bag_type type) const { return bag != nullptr && bag->type == type; }

    // That of the bag itself, or of its entry.
    const std::optional<gost::encryption_scheme>& encryption() const;

    // "entry 2, bag 1".
    std::string place() const;

    // The same with its type: "entry 2, bag 1 (crlBag)".
    std::string typed_place() const;
};

// In file order; views into the container.
std::vector<part_t> parts_of(const gost::container& container);

// Why a part is not read, whatever the password is where none was given; empty if it is read or may be.
std::string find_refusal(const part_t& part);

#endif
