#include "gost/container_reader.h"

#include <cstdint>
#include <limits>
#include <utility>

#include "asn/asn_cursor.h"
#include "gost/bag_reader.h"
#include "gost/ber.h"
#include "gost/container_kind.h"
#include "gost/der.h"
#include "gost/pfx.h"
#include "gost/schemes.h"

namespace derkit::gost {

namespace {

// The parts of a file that are read before its MAC is verified.
struct outer_layer {
    definite_octets file;
    pfx parts;
    std::optional<pkcs12_mac_t> mac;
};

// asn_read_pkcs12_MacData() drops the bits of the iterations above 32; such counts become the largest one.
result<pkcs12_mac_t> read_mac_data(const blob_t& content) {
    pkcs12_mac_t mac;
    if (!asn_read_pkcs12_MacData(content.data, content.size, mac)) {
        return cause::malformed;
    }
    asn_cursor_t in(content);
    in.skip(asn_tag_t::SEQUENCE);
    in.skip(asn_tag_t::OCTET_STRING);
    if (in.next_is(asn_tag_t::INTEGER) && read_iterations(in).why() == cause::too_many_iterations) {
        mac.iterations = std::numeric_limits<std::uint32_t>::max();
    }
    return mac;
}

// Octets after the PFX are ignored, as other programs do.
result<outer_layer> read_outer_layer(std::string_view file, const limits& cost) {
    if (file.size() > cost.max_size) {
        return cause::too_large;
    }
    result<definite_octets> octets = with_definite_lengths(file);
    if (!octets) {
        return octets.error();
    }
    outer_layer out{*std::move(octets), pfx(), std::nullopt};
    result<pfx> parts = read_pfx(out.file.view());
    if (!parts) {
        return parts.error();
    }
    out.parts = *std::move(parts);
    if (out.parts.mac_data.has_value()) {
        const result<pkcs12_mac_t> mac = read_mac_data(*out.parts.mac_data);
        if (!mac) {
            return mac.error();
        }
        out.mac = *mac;
    }
    return out;
}

// The native form has an OCTET STRING around each encrypted SafeContents.
std::string_view without_octet_string(std::string_view plain, container_form& form) {
    const result<std::string_view> inside = read_octet_string(plain);
    if (inside) {
        form = container_form::native;
    }
    return inside ? *inside : plain;
}

class entry_reader {
  public:
    entry_reader(session* under, const limits& cost) : bags_(under, cost), cost_(cost) {}

    // AuthenticatedSafe ::= SEQUENCE OF ContentInfo                                                 RFC 7292 4.1
    result<bool> read(std::string_view authenticated_safe, container_content& out) {
        const result<definite_octets> octets = with_definite_lengths(authenticated_safe);
        if (!octets) {
            return octets.error();
        }
        asn_cursor_t in(blob_of(octets->view()));
        asn_cursor_t entries = in.enter(asn_tag_t::SEQUENCE);
        while (entries.ok() && !entries.empty()) {
            const result<content_info> info = read_content_info(entries.enter(asn_tag_t::SEQUENCE));
            if (!info) {
                return info.error();
            }
            if (out.entries.size() == cost_.max_bags) {
                return cause::too_many_bags;
            }
            out.entries.push_back(read_entry(*info, out.form));
            if (bags_.exceeded() != cause::none) {
                return bags_.exceeded();
            }
        }
        return entries.ok() ? result<bool>(true) : cause::malformed;
    }

  private:
    bag_reader bags_;
    const limits& cost_;

    entry read_entry(const content_info& info, container_form& form) {
        entry out;
        out.content_type = info.type;
        if (info.type.oid == OID_DATA) {
            read_data(info.content, out);
        } else if (info.type.oid == OID_ENCRYPTED_DATA) {
            read_encrypted(info.content, form, out);
        } else if (info.type.oid == OID_ENVELOPED_DATA) {
            out.refusal = failure{cause::recipient_needed, {}};
        } else {
            out.refusal = failure{cause::unsupported_content, info.type.oid};
        }
        return out;
    }

    void read_data(std::string_view content, entry& out) {
        const result<std::string_view> octets = read_octet_string(content);
        if (!octets) {
            out.refusal = octets.error();
            return;
        }
        take_bags(*octets, out);
    }

    void read_encrypted(std::string_view content, container_form& form, entry& out) {
        const result<encrypted_data> data = read_encrypted_data(content);
        if (!data) {
            out.refusal = data.error();
            return;
        }
        out.encryption = outline_encryption(data->algorithm, cost_);
        if (data->content_type.oid != OID_DATA) {
            out.refusal = failure{cause::unsupported_content, data->content_type.oid};
            return;
        }
        const result<secret> plain =
            bags_.decrypt_part(data->algorithm, data->ciphertext, *out.encryption, plaintext::SAFE_CONTENTS);
        if (!plain) {
            out.refusal = plain.error();
            return;
        }
        take_bags(without_octet_string(*plain, form), out);
    }

    void take_bags(std::string_view safe_contents, entry& out) {
        result<std::vector<bag>> bags = bags_.read(safe_contents);
        if (bags) {
            out.bags = *std::move(bags);
        } else {
            out.refusal = bags.error();
        }
    }
};

container_mac outline_of_mac(const outer_layer& outer, const limits& cost) {
    container_mac out;
    if (outer.mac.has_value()) {
        out.scheme = outline_mac(*outer.mac, cost);
        out.verdict = out.scheme->unsupported.has_value() ? mac_verdict::unsupported : mac_verdict::not_checked;
    }
    return out;
}

// Fills the verdict and returns why the container is not to be trusted; cause::none when its MAC is good.
failure judge_mac(session& under, const outer_layer& outer, container_content& out) {
    if (out.mac.verdict == mac_verdict::none) {
        return {cause::no_mac, {}};
    }
    if (out.mac.verdict == mac_verdict::unsupported) {
        return *out.mac.scheme->unsupported;
    }
    const result<verified_mac> verified = verify_mac(under, *outer.mac, outer.parts.auth_safe.content);
    if (verified) {
        out.mac.verdict = mac_verdict::good;
        out.mac.key = verified->key;
        out.form = verified->form;
        return {};
    }
    out.mac.verdict = verified.why() == cause::wrong_mac ? mac_verdict::wrong : mac_verdict::unsupported;
    if (out.mac.verdict == mac_verdict::unsupported) {
        out.mac.scheme->unsupported = verified.error();
    }
    return verified.error();
}

result<bool> inspect_signed(const content_info& auth_safe, entry_reader& reader, container_content& out) {
    const result<std::string_view> octets = read_signed_octets(auth_safe.content);
    if (!octets) {
        return octets.error();
    }
    const result<bool> done = reader.read(*octets, out);
    out.kind = has_enveloped_data(out.entries) ? container_kind::for_recipient : container_kind::signed_instead;
    return done;
}

// A container that is enveloped as a whole has a single entry that says so; a signature leaves the entries readable.
result<bool> inspect_other_content(const content_info& auth_safe, entry_reader& reader, container_content& out) {
    if (auth_safe.type.oid == OID_SIGNED_DATA) {
        return inspect_signed(auth_safe, reader, out);
    }
    out.kind = container_kind::for_recipient;
    entry whole;
    whole.content_type = auth_safe.type;
    whole.refusal = failure{cause::recipient_needed, {}};
    out.entries.push_back(std::move(whole));
    return true;
}

result<bool> read_authenticated_safe(const outer_layer& outer, entry_reader& reader, container_content& out) {
    const result<std::string_view> octets = read_octet_string(outer.parts.auth_safe.content);
    if (!octets) {
        return octets.error();
    }
    result<bool> done = reader.read(*octets, out);
    out.kind = classify(out.mac, out.entries);
    return done;
}

bool is_signed_or_enveloped(const content_info& auth_safe) {
    return auth_safe.type.oid == OID_SIGNED_DATA || auth_safe.type.oid == OID_ENVELOPED_DATA;
}

failure refusal_of_other_content(const content_info& auth_safe, const limits& cost) {
    container_content listed;
    entry_reader reader(nullptr, cost);
    const result<bool> done = inspect_other_content(auth_safe, reader, listed);
    if (!done) {
        return done.error();
    }
    const bool is_signed = listed.kind == container_kind::signed_instead;
    return {is_signed ? cause::signed_instead : cause::recipient_needed, {}};
}

} // namespace

result<container_content> open_container(std::string_view file, std::optional<std::string_view> password,
                                         const open_options& options) {
    const result<outer_layer> outer = read_outer_layer(file, options.cost);
    if (!outer) {
        return outer.error();
    }
    const content_info& auth_safe = outer->parts.auth_safe;
    if (is_signed_or_enveloped(auth_safe)) {
        return refusal_of_other_content(auth_safe, options.cost);
    }
    if (auth_safe.type.oid != OID_DATA) {
        return failure{cause::unsupported_content, auth_safe.type.oid};
    }
    container_content out;
    out.mac = outline_of_mac(*outer, options.cost);
    session under(password, options.cost);
    failure distrust = judge_mac(under, *outer, out);
    if (distrust.why != cause::none && options.mac == integrity::required) {
        return distrust;
    }
    entry_reader reader(&under, options.cost);
    const result<bool> done = read_authenticated_safe(*outer, reader, out);
    return done ? result<container_content>(std::move(out)) : done.error();
}

result<container_content> inspect_container(std::string_view file, const limits& cost) {
    const result<outer_layer> outer = read_outer_layer(file, cost);
    if (!outer) {
        return outer.error();
    }
    const content_info& auth_safe = outer->parts.auth_safe;
    if (auth_safe.type.oid != OID_DATA && !is_signed_or_enveloped(auth_safe)) {
        return failure{cause::unsupported_content, auth_safe.type.oid};
    }
    container_content out;
    out.mac = outline_of_mac(*outer, cost);
    entry_reader reader(nullptr, cost);
    const result<bool> done = is_signed_or_enveloped(auth_safe) ? inspect_other_content(auth_safe, reader, out)
                                                                : read_authenticated_safe(*outer, reader, out);
    return done ? result<container_content>(std::move(out)) : done.error();
}

} // namespace derkit::gost
