#include "formats/container.h"

#include "io/failure.h"

namespace {

constexpr const char* UNREAD_TYPE = "is of a type that is not read";

void add_bags(const gost::entry& entry, const std::vector<gost::bag>& bags, part_t& last, std::vector<part_t>& to) {
    for (const gost::bag& bag : bags) {
        ++last.bag_number;
        to.push_back({&entry, last.entry_number, &bag, last.bag_number});
        add_bags(entry, bag.nested, last, to);
    }
}

bool is_open_question(gost::cause why) {
    return why == gost::cause::password_needed || why == gost::cause::unverified;
}

} // namespace

gost::container list_container(const std::string& file, std::string_view bytes, const gost::limits& cost) {
    gost::result<gost::container> listed = gost::container::inspect(bytes, cost);
    if (!listed) {
        const bool is_none = listed.why() == gost::cause::malformed;
        throw failure_t(file, (is_none ? "not a PKCS#12 container: " : "") + text_of(listed.error()));
    }
    return *std::move(listed);
}

// A signature takes the place of the MAC, and an envelope that of the password.
std::optional<gost::failure> find_obstacle(const gost::container& listed, gost::integrity mac) {
    const bool has_mac = listed.mac().verdict != gost::mac_verdict::none;
    if (!has_mac && listed.kind() == gost::container_kind::for_recipient) {
        return gost::failure{gost::cause::recipient_needed, {}};
    }
    if (!has_mac && listed.kind() == gost::container_kind::signed_instead) {
        return gost::failure{gost::cause::signed_instead, {}};
    }
    if (mac == gost::integrity::accept_unverified) {
        return std::nullopt;
    }
    return has_mac ? listed.mac().scheme->unsupported : gost::failure{gost::cause::no_mac, {}};
}

gost::container list_openable_container(const std::string& file, std::string_view bytes,
                                        const gost::open_options& options) {
    gost::container listed = list_container(file, bytes, options.cost);
    if (const std::optional<gost::failure> obstacle = find_obstacle(listed, options.mac)) {
        throw failure_t(file, text_of(*obstacle));
    }
    return listed;
}

gost::container open_container(const std::string& file, std::string_view bytes, const std::optional<secret_t>& password,
                               const gost::open_options& options) {
    const std::optional<std::string_view> text = password.has_value() ? std::optional(password->text()) : std::nullopt;
    gost::result<gost::container> opened = gost::container::open(bytes, text, options);
    if (!opened) {
        throw failure_t(file, text_of(opened.error()));
    }
    return *std::move(opened);
}

const std::optional<gost::encryption_scheme>& part_t::encryption() const {
    return bag != nullptr && bag->encryption.has_value() ? bag->encryption : entry->encryption;
}

std::string part_t::place() const {
    const std::string in_file = "entry " + std::to_string(entry_number);
    return bag != nullptr ? in_file + ", bag " + std::to_string(bag_number) : in_file;
}

std::string part_t::typed_place() const {
    const named_oid_t type = name_of(bag != nullptr ? bag->id : entry->content_type);
    return place() + " (" + (type.name.empty() ? type.oid : type.name) + ")";
}

std::vector<part_t> parts_of(const gost::container& container) {
    std::vector<part_t> parts;
    part_t last;
    for (const gost::entry& entry : container.entries()) {
        ++last.entry_number;
        last.bag_number = 0;
        parts.push_back({&entry, last.entry_number, nullptr, 0});
        add_bags(entry, entry.bags, last, parts);
    }
    return parts;
}

std::string find_refusal(const part_t& part) {
    const std::optional<gost::failure>& refusal = part.bag != nullptr ? part.bag->refusal : part.entry->refusal;
    if (refusal.has_value() && !is_open_question(refusal->why)) {
        return text_of(*refusal);
    }
    return part.is(gost::bag_type::other) ? UNREAD_TYPE : "";
}
