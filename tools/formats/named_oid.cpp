#include "formats/named_oid.h"

#include <algorithm>

#include "asn/asn_cursor.h"
#include "derkit/int2str.h"
#include "formats/oid_table.h"
#include "io/bytes.h"

bool is_same_name(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

namespace {

constexpr std::size_t MAX_GOST_PARAM_SETS = 3;

// Of the run: see use_oid_map().
oid_map_handle_t oid_map;
std::vector<std::string> oids_of_maps;

const OIDdescr_t* find_in_map(std::string_view content) {
    return oid_map.map == nullptr ? nullptr : oid_map_find_asn(oid_map, octets(content), size_of(content));
}

std::string short_name_of(const OIDdescr_t& entry) {
    return std::string(entry.oid_sn, entry.oid_sn_size);
}

std::string long_name_of(const OIDdescr_t& entry) {
    return std::string(entry.oid_ln, entry.oid_ln_size);
}

std::vector<std::string> split_aliases(std::string_view others) {
    std::vector<std::string> aliases;
    while (!others.empty()) {
        const std::size_t size = std::min(others.find('|'), others.size());
        aliases.emplace_back(others.substr(0, size));
        others.remove_prefix(std::min(size + 1, others.size()));
    }
    return aliases;
}

bool has_name(const oid_row_t& row, std::string_view name) {
    return is_same_name(row.name, name) ||
           std::ranges::any_of(split_aliases(row.others),
                               [name](const std::string& alias) { return is_same_name(alias, name); });
}

// Only one content has this text, so texts are compared instead.
std::string name_in_table(std::string_view oid) {
    const oid_row_t* const row = find_oid_row(oid);
    return row != nullptr ? std::string(row->name) : "";
}

std::string name_of_param_set(std::string_view oid) {
    const auto found = std::ranges::find_if(
        oid_table(), [oid](const oid_row_t& row) { return row.kind == oid_kind_t::PARAM_SET && row.oid == oid; });
    return found != oid_table().end() ? std::string(found->name) : "";
}

// That of the table, else the short one of the map.
std::string find_name(std::string_view oid, std::string_view content) {
    const std::string name = name_in_table(oid);
    const OIDdescr_t* const entry = name.empty() ? find_in_map(content) : nullptr;
    return entry != nullptr ? short_name_of(*entry) : name;
}

bool has_long_name(const std::string& content, std::string_view name) {
    const OIDdescr_t* const entry = find_in_map(content);
    return entry != nullptr && is_same_name(long_name_of(*entry), name);
}

// The library finds entries by their short names only.
std::optional<std::string> find_by_long_name(std::string_view name) {
    for (const oid_row_t& row : oid_table()) {
        const std::optional<std::string> content =
            row.kind == oid_kind_t::ATTRIBUTE ? oid_from_text(row.oid) : std::nullopt;
        if (content.has_value() && has_long_name(*content, name)) {
            return content;
        }
    }
    const auto found =
        std::ranges::find_if(oids_of_maps, [name](const std::string& content) { return has_long_name(content, name); });
    return found != oids_of_maps.end() ? std::optional(*found) : std::nullopt;
}

std::optional<std::string> find_algorithm_by_name(const std::string& name) {
    const oid_ref_t oid =
        oid_of_algorithm(static_cast<pki_alg_t>(I2S_PKI_ALG_T->getInt(name.c_str(), PKI_ALG_UNKNOWN)));
    return oid.size != 0 ? std::optional(std::string(chars(oid.data, oid.size))) : std::nullopt;
}

// A decimal number without limit.
class decimal_t {
  public:
    // Appends seven bits.
    void append(unsigned int bits) {
        unsigned long long carry = bits;
        for (unsigned int& digits : groups_) {
            carry += digits * 128ULL;
            digits = static_cast<unsigned int>(carry % GROUP);
            carry /= GROUP;
        }
        if (carry != 0) {
            groups_.push_back(static_cast<unsigned int>(carry));
        }
    }

    bool is_below(unsigned int number) const { return groups_.empty() || (groups_.size() == 1 && groups_[0] < number); }

    // The number must not be below the other one.
    void subtract(unsigned int number) {
        for (unsigned int& digits : groups_) {
            const bool borrows = digits < number;
            digits = (borrows ? digits + GROUP : digits) - number;
            number = borrows ? 1 : 0;
        }
    }

    std::string text() const {
        std::string text;
        for (const unsigned int digits : groups_) {
            const std::string group = std::to_string(digits);
            text.insert(0, std::string(GROUP_SIZE - group.size(), '0') + group);
        }
        const std::size_t first = text.find_first_not_of('0');
        return first == std::string::npos ? "0" : text.substr(first);
    }

  private:
    static constexpr unsigned int GROUP = 1'000'000'000;
    static constexpr std::size_t GROUP_SIZE = 9;

    std::vector<unsigned int> groups_; // the lowest first
};

// Removes the first subidentifier. Nothing if it is cut short.
std::optional<decimal_t> take_subidentifier(std::string_view& content) {
    decimal_t number;
    while (!content.empty()) {
        const unsigned int octet = static_cast<unsigned char>(content[0]);
        content.remove_prefix(1);
        number.append(octet & 0x7F);
        if ((octet & 0x80) == 0) {
            return number;
        }
    }
    return std::nullopt;
}

// The first two arcs share a subidentifier (X.690 8.19.4).
std::string first_arcs(decimal_t shared) {
    const unsigned int first = shared.is_below(40) ? 0 : shared.is_below(80) ? 1 : 2;
    shared.subtract(40 * first);
    return std::to_string(first) + "." + shared.text();
}

std::string without_leading_zeros(std::string_view dotted) {
    std::string text;
    bool at_start = true; // of an arc
    for (std::size_t i = 0; i < dotted.size(); ++i) {
        const bool last_of_arc = i + 1 == dotted.size() || dotted[i + 1] == '.';
        if (at_start && dotted[i] == '0' && !last_of_arc) {
            continue;
        }
        text += dotted[i];
        at_start = dotted[i] == '.';
    }
    return text;
}

} // namespace

std::optional<std::string> oid_from_text(std::string_view dotted) {
    unsigned char content[512];
    const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), content);
    return size != 0 ? std::optional(std::string(chars(content, size))) : std::nullopt;
}

std::optional<std::string> find_other_arcs(std::string_view dotted) {
    const std::optional<std::string> content = oid_from_text(dotted);
    if (!content.has_value()) {
        return std::nullopt;
    }
    const std::optional<std::string> arcs = oid_arcs(*content);
    return arcs != without_leading_zeros(dotted) ? arcs : std::nullopt;
}

std::string oid_content(const std::string& der) {
    asn_cursor_t in(der);
    const blob_t content = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    const bool is_element = in.ok() && in.empty() && content.size != 0;
    return is_element ? std::string(chars(content)) : der;
}

std::optional<std::string> oid_arcs(std::string_view content) {
    const std::optional<decimal_t> shared = take_subidentifier(content);
    if (!shared.has_value()) {
        return std::nullopt;
    }
    std::string arcs = first_arcs(*shared);
    while (!content.empty()) {
        const std::optional<decimal_t> arc = take_subidentifier(content);
        if (!arc.has_value()) {
            return std::nullopt;
        }
        arcs += "." + arc->text();
    }
    return arcs;
}

std::string oid_text(std::string_view content) {
    // Text never leads to more octets than this, and long numbers take long to convert.
    constexpr std::size_t MAX_CONTENT_SIZE = 506;
    if (content.size() <= MAX_CONTENT_SIZE) {
        const std::optional<std::string> arcs = oid_arcs(content);
        if (arcs.has_value() && oid_from_text(*arcs) == content) {
            return *arcs;
        }
    }
    return "#" + to_hex(content);
}

void use_oid_map(oid_map_handle_t map) {
    oid_map = map;
}

void note_oids_of_map(std::string_view text) {
    constexpr std::string_view LINE_ENDS = "\r\n";
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find_first_of(LINE_ENDS));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t begin = std::min(line.find_first_not_of(" \t"), line.size());
        const std::size_t end = std::min(line.find_first_not_of("0123456789.", begin), line.size());
        if (const std::optional<std::string> content = oid_from_text(line.substr(begin, end - begin))) {
            oids_of_maps.push_back(*content);
        }
    }
}

oid_ref_t oid_of_algorithm(pki_alg_t alg) {
    for (oid_ref_t (*const lookup)(pki_alg_t) : {PKI_HASH_ALG_TO_OID, PKI_KEY_ALG_TO_OID, PKI_CERT_SIGN_ALG_TO_OID}) {
        const oid_ref_t oid = lookup(alg);
        if (oid.size != 0) {
            return oid;
        }
    }
    return g_null_oid;
}

std::optional<std::string> oid_from_name(const std::string& name) {
    if (name.empty()) {
        return std::nullopt;
    }
    const OIDdescr_t* const entry = oid_map_find_sn(oid_map, name.data(), size_of(name));
    if (entry != nullptr) {
        return std::string(chars(entry->oid_asn, entry->oid_asn_size));
    }
    if (const std::optional<std::string> content = find_algorithm_by_name(name)) {
        return content;
    }
    const auto row = std::ranges::find_if(oid_table(), [&name](const oid_row_t& each) { return has_name(each, name); });
    return row != oid_table().end() ? oid_from_text(row->oid) : find_by_long_name(name);
}

oid_names_t names_of_oid(std::string_view content) {
    oid_names_t names;
    if (const OIDdescr_t* const entry = find_in_map(content)) {
        names.short_name = short_name_of(*entry);
        names.long_name = long_name_of(*entry);
    }
    names.algorithm = I2S_PKI_ALG_T->getString(PKI_OID_TO_ALG(content.data(), size_of(content)), "");
    if (const oid_row_t* const row = find_oid_row(oid_text(content))) {
        names.name = row->name;
        names.kind = name_of(row->kind);
        names.others = split_aliases(row->others);
        std::erase_if(names.others, [&names](const std::string& other) {
            return is_same_name(other, names.short_name) || is_same_name(other, names.long_name);
        });
    }
    return names;
}

named_oid_t name_oid(const blob_t& content) {
    const std::string oid = content.size == 0 ? "" : oid_text(chars(content));
    return {oid, find_name(oid, chars(content))};
}

named_oid_t name_gost_param_set(const blob_t& content) {
    const std::string oid = content.size == 0 ? "" : oid_text(chars(content));
    const std::string name = name_of_param_set(oid);
    return {oid, name.empty() ? find_name(oid, chars(content)) : name};
}

std::vector<named_oid_t> read_gost_param_sets(asn_cursor_t& params) {
    std::vector<named_oid_t> param_sets;
    while (param_sets.size() < MAX_GOST_PARAM_SETS && params.next_is(asn_tag_t::OBJECT_IDENTIFIER)) {
        const blob_t oid = params.read(asn_tag_t::OBJECT_IDENTIFIER);
        if (params.ok()) {
            param_sets.push_back(name_gost_param_set(oid));
        }
    }
    return param_sets;
}

std::string describe(const named_oid_t& oid) {
    if (oid.oid.empty()) {
        return "(no OID)";
    }
    return oid.name.empty() ? oid.oid : oid.name + " (" + oid.oid + ")";
}
