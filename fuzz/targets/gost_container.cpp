// GOST containers under a known password: opening, listing, and writing what was opened.
//
// A changed octet nearly always makes the MAC wrong, so that nothing inside is reached. The mutator therefore changes the
// AuthenticatedSafe, or the plaintext of an encrypted entry, and makes a new container of it with a good MAC.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "derkit/gost/container.h"
#include "gost/ber.h"
#include "gost/der.h"
#include "gost/pfx.h"
#include "gost/schemes.h"
#include "support/gost.h"
#include "support/input.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size)
    __attribute__((weak)); // absent where inputs are only replayed

namespace {

using namespace derkit::gost;

void check_bag(const bag& one) {
    const bool has_value = !one.value.empty();
    require(!(has_value && one.refusal.has_value()), "what was refused has no value");
    require(one.type == bag_type::private_key || !one.encryption.has_value(), "only keys are shrouded");
    require(one.type == bag_type::bags || one.nested.empty(), "only bags of bags hold others");
    for (const bag& inside : one.nested) {
        check_bag(inside);
    }
}

void check_entries(const container& opened) {
    for (const entry& one : opened.entries()) {
        require(one.bags.empty() || !one.refusal.has_value(), "an entry that was refused has no bags");
        for (const bag& held : one.bags) {
            check_bag(held);
        }
    }
}

// What must survive writing: everything but the order, which keeps keys and the rest apart.
std::vector<std::string> texts_of(const container& from) {
    std::vector<std::string> texts;
    for (const bag* const one : from.bags()) {
        std::string text = one->friendly_name.value_or("-") + '|' + one->local_key_id.value_or("-") + '|';
        for (const attribute& extra : one->attributes) {
            text += extra.oid + '=';
            for (const std::string& value : extra.values) {
                text += value;
            }
        }
        texts.push_back(text + '|' + std::string(one->value.view()));
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

bool is_complete(const container& opened) {
    const std::vector<const bag*> bags = opened.bags();
    return std::none_of(opened.entries().begin(), opened.entries().end(),
                        [](const entry& one) { return one.refusal.has_value(); }) &&
           std::none_of(bags.begin(), bags.end(), [](const bag* one) { return one->refusal.has_value(); });
}

// Some bags can be read but not written: a key that is none, a name of many octets.
void check_written(const container& opened, format to) {
    const result<std::string> written = opened.write(GOST_PASSWORD, cheap_options(to));
    require(!written || is_complete(opened), "what was refused is not written");
    if (!written) {
        return;
    }
    const result<container> again = container::open(*written, GOST_PASSWORD);
    require(again.ok(), "a written container opens");
    require(is_complete(*again), "a written container opens in all its parts");
    require(texts_of(opened) == texts_of(*again), "a written container holds the same bags");
}

std::string open(const exact_bytes_t& in) {
    const std::string_view file(reinterpret_cast<const char*>(in.data()), in.size());
    const result<container> listed = container::inspect(file, cheap_limits());
    open_options options;
    options.cost = cheap_limits();
    const result<container> opened = container::open(file, GOST_PASSWORD, options);
    options.mac = integrity::accept_unverified;
    const result<container> unverified = container::open(file, GOST_PASSWORD, options);
    require(listed.ok() || !opened, "a container that opens can be listed");
    require(unverified.ok() || !opened, "a container that opens does so without its MAC too");
    if (listed) {
        check_entries(*listed);
        for (const bag* const one : listed->bags()) {
            require(one->type != bag_type::private_key || one->value.empty(), "no key is listed without a password");
        }
    }
    if (unverified) {
        check_entries(*unverified);
    }
    if (!opened) {
        return name_of(opened.why());
    }
    require(opened->mac().verdict == mac_verdict::good, "only a good MAC opens a container");
    require(texts_of(*opened) == texts_of(*unverified), "the MAC does not change what is inside");
    check_written(*opened, format::tc26);
    check_written(*opened, format::native);
    std::string answer;
    for (const std::string& text : texts_of(*opened)) {
        answer += text;
    }
    return answer;
}

// Changes octets within room for `growth` more.
std::string mutated(std::string_view octets, std::size_t growth) {
    std::string buffer(octets);
    buffer.resize(octets.size() + growth);
    const std::size_t size =
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(buffer.data()), octets.size(), buffer.size());
    buffer.resize(size);
    return buffer;
}

std::string with_good_mac(session& under, std::string_view authenticated_safe) {
    const std::string octets = der(asn_tag_t::OCTET_STRING, {authenticated_safe});
    const std::string content = der(asn_tag_t::CONTEXT_0, {octets});
    const std::string info = der(asn_tag_t::SEQUENCE, {der_oid(OID_DATA), content});
    const result<std::string> mac = make_mac_data(under, cheap_options(format::tc26), authenticated_safe);
    return mac ? der(asn_tag_t::SEQUENCE, {der_integer(3), info, *mac}) : std::string();
}

std::string encrypted_entry(session& under, std::string_view safe_contents) {
    const result<encrypted> made = encrypt(under, cheap_options(format::tc26), safe_contents, plaintext::SAFE_CONTENTS);
    if (!made) {
        return std::string();
    }
    const std::string ciphertext = der(asn_tag_t::CONTEXT_0_PRIMITIVE, {made->ciphertext});
    const std::string info = der(asn_tag_t::SEQUENCE, {der_oid(OID_DATA), made->algorithm, ciphertext});
    const std::string data = der(asn_tag_t::SEQUENCE, {der_integer(0), info});
    return der(asn_tag_t::SEQUENCE, {der_oid(OID_ENCRYPTED_DATA), der(asn_tag_t::CONTEXT_0, {data})});
}

// The plaintext of the first encrypted entry; nothing when there is none.
std::string first_plaintext(session& under, std::string_view authenticated_safe) {
    asn_cursor_t in(blob_of(authenticated_safe));
    asn_cursor_t entries = in.enter(asn_tag_t::SEQUENCE);
    while (entries.ok() && !entries.empty()) {
        const result<content_info> info = read_content_info(entries.enter(asn_tag_t::SEQUENCE));
        if (info && info->type.oid == OID_ENCRYPTED_DATA) {
            const result<encrypted_data> data = read_encrypted_data(info->content);
            const result<secret> plain =
                data ? decrypt(under, data->algorithm, blob_of(data->ciphertext), plaintext::SAFE_CONTENTS)
                     : result<secret>(data.error());
            return plain ? std::string(plain->view()) : std::string();
        }
    }
    return std::string();
}

// A new container of a changed one; nothing when it is none.
std::string remade(std::string_view file, bool inside, std::size_t growth) {
    session under(GOST_PASSWORD, cheap_limits());
    const result<definite_octets> octets = with_definite_lengths(file);
    const result<pfx> parts = octets ? read_pfx(octets->view()) : result<pfx>(octets.error());
    const result<std::string_view> safe =
        parts ? read_octet_string(parts->auth_safe.content) : result<std::string_view>(parts.error());
    if (!safe) {
        return std::string();
    }
    if (!inside) {
        return with_good_mac(under, mutated(*safe, growth));
    }
    const std::string plain = first_plaintext(under, *safe);
    return plain.empty()
               ? std::string()
               : with_good_mac(under, der(asn_tag_t::SEQUENCE, {encrypted_entry(under, mutated(plain, growth))}));
}

} // namespace

// One mutation in four is libFuzzer's own: it reaches the outermost layer.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned int seed) {
    const std::string_view file(reinterpret_cast<const char*>(data), size);
    const std::string made = seed % 4 == 0 ? std::string() : remade(file, seed % 4 == 1, max_size - size);
    if (made.empty() || made.size() > max_size) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    std::copy(made.begin(), made.end(), data);
    return made.size();
}

void check_input(std::string_view input) {
    answer_of(open, input);
}
