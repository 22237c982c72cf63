#include "derkit/gost/container.h"

#include <utility>

#include "derkit/gost/pem.h"
#include "gost/container_reader.h"
#include "gost/container_writer.h"

namespace derkit::gost {

// Bags that the caller adds are in an entry of their own after those of the file.
struct container::state : container_content {
    bool has_added_entry = false;
};

namespace {

void collect(const std::vector<bag>& from, std::vector<const bag*>& to) {
    for (const bag& one : from) {
        if (one.type == bag_type::bags) {
            collect(one.nested, to);
        } else {
            to.push_back(&one);
        }
    }
}

} // namespace

const char* name_of(container_kind kind) noexcept {
    switch (kind) {
    case container_kind::gost94:
        return "GOST R 34.11-94";
    case container_kind::gost94_pkcs12_kdf:
        return "GOST R 34.11-94, MAC key of PKCS#12";
    case container_kind::tc26:
        return "GOST R 34.11-2012";
    case container_kind::tc26_pkcs12_kdf:
        return "GOST R 34.11-2012, MAC key of PKCS#12";
    case container_kind::gost_mixed:
        return "GOST R 34.11-94 and 34.11-2012 mixed";
    case container_kind::ctr_acpkm:
        return "RFC 9548";
    case container_kind::ctr_acpkm_omac:
        return "RFC 9548 with OMAC";
    case container_kind::ctr_acpkm_sha2:
        return "CTR-ACPKM with SHA-2";
    case container_kind::vendor_export:
        return "vendor's export";
    case container_kind::general:
        return "general PKCS#12";
    case container_kind::no_mac:
        return "no MAC";
    case container_kind::for_recipient:
        return "for a recipient";
    case container_kind::mixed:
        return "mixed algorithms";
    case container_kind::signed_instead:
        return "signed";
    case container_kind::unknown:
        break;
    }
    return "unknown";
}

container::container() : state_(std::make_unique<state>()) {}
container::~container() = default;
container::container(container&& other) noexcept = default;
container& container::operator=(container&& other) noexcept = default;

result<container> container::open(std::string_view file, std::optional<std::string_view> password,
                                  const open_options& options) {
    result<container_content> content = open_container(file, password, options);
    if (!content) {
        return content.error();
    }
    container opened;
    static_cast<container_content&>(*opened.state_) = *std::move(content);
    return opened;
}

result<container> container::inspect(std::string_view file, const limits& cost) {
    result<container_content> content = inspect_container(file, cost);
    if (!content) {
        return content.error();
    }
    container listed;
    static_cast<container_content&>(*listed.state_) = *std::move(content);
    return listed;
}

container_kind container::kind() const noexcept {
    return state_->kind;
}

container_form container::form() const noexcept {
    return state_->form;
}

const container_mac& container::mac() const noexcept {
    return state_->mac;
}

const std::vector<entry>& container::entries() const noexcept {
    return state_->entries;
}

std::vector<const bag*> container::bags() const {
    std::vector<const bag*> all;
    for (const entry& one : state_->entries) {
        collect(one.bags, all);
    }
    return all;
}

void container::add(bag added) {
    if (!state_->has_added_entry) {
        state_->entries.emplace_back();
        state_->has_added_entry = true;
    }
    state_->entries.back().bags.push_back(std::move(added));
}

result<std::string> container::write(std::string_view password, const write_options& options) const {
    return write_container(state_->entries, password, options);
}

secret to_pem(const bag& from) {
    if (from.value.empty() || (from.type != bag_type::private_key && from.type != bag_type::certificate)) {
        return secret();
    }
    return to_pem(from.type == bag_type::private_key ? "PRIVATE KEY" : "CERTIFICATE", from.value);
}

} // namespace derkit::gost
