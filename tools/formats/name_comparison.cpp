#include "formats/name_comparison.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <type_traits>

#include <locale.h>
#include <wctype.h>

#include "formats/folding_table.h"

namespace {

// Letters of one look, by intentional.txt of Unicode Technical Standard 39, and digits that are taken for letters. The
// first one stands for all of a row; case was folded before.
constexpr std::u32string_view LOOK_ALIKES[] = {
    U"aαа", U"bвβ", U"cс",  U"dԁ",  U"eеε", U"hһнη", U"iіι", U"jјϳ", U"kκк", U"l1ӏ", U"mμм",  U"nν", U"oοо0", U"pρр",
    U"sѕ",  U"tτт", U"xχх", U"yуυ", U"zζ",  U"æӕ",   U"əәǝ", U"гγᴦ", U"пπᴨ", U"лλᴫ", U"зӡʒ3", U"өɵ", U"ǃ!",
};

char32_t looks_like(char32_t code) {
    for (const std::u32string_view row : LOOK_ALIKES) {
        if (row.find(code) != std::u32string_view::npos) {
            return row[0];
        }
    }
    return code;
}

std::u32string with_looks(std::u32string text) {
    std::ranges::transform(text, text.begin(), looks_like);
    return text;
}

// RFC 4518 2.2 and 2.3.
std::u32string folded(std::u32string_view text) {
    std::u32string out;
    for (const char32_t code : text) {
        const auto* const row = std::ranges::lower_bound(FOLDING, code, {}, &folding_row_t::code);
        if (row != std::end(FOLDING) && row->code == code) {
            out.append(FOLDED + row->place, row->size);
        } else if (code >= 0x20 || code == 0) {
            out += code;
        }
    }
    return out;
}

// RFC 4518 2.6.1: one blank between words, none around them.
std::u32string squeezed(std::u32string_view text) {
    std::u32string out;
    for (const char32_t code : text) {
        if (code != U' ' || (!out.empty() && out.back() != U' ')) {
            out += code;
        }
    }
    if (out.ends_with(U' ')) {
        out.pop_back();
    }
    return out;
}

struct free_locale_t {
    void operator()(std::remove_pointer_t<locale_t>* locale) const { freelocale(locale); }
};

// Letters in lower case; those of ASCII only where the system has no locale of Unicode.
std::u32string in_lower_case(std::u32string text) {
    static const std::unique_ptr<std::remove_pointer_t<locale_t>, free_locale_t> unicode(
        newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr));
    for (char32_t& code : text) {
        if (code < 0x80 || unicode == nullptr) {
            code = code >= U'A' && code <= U'Z' ? code + 0x20 : code;
        } else {
            code = static_cast<char32_t>(towlower_l(static_cast<wint_t>(code), unicode.get()));
        }
    }
    return text;
}

// A value as texts that are the same ever more often.
struct value_keys_t {
    std::u32string text;
    std::u32string folded;
    std::u32string matched; // what RFC 5280 7.1 compares

    explicit value_keys_t(const std::string& utf8)
        : text(code_points(utf8)), folded(::folded(text)), matched(squeezed(folded)) {}
};

bool values_match(const name_attribute_t& a, const name_attribute_t& b) {
    if (!a.text.has_value() || !b.text.has_value()) {
        return a.value == b.value;
    }
    return *a.text == *b.text || value_keys_t(*a.text).matched == value_keys_t(*b.text).matched;
}

bool attributes_match(const name_attribute_t& a, const name_attribute_t& b) {
    return a.type == b.type && values_match(a, b);
}

// Members of an RDN have no order.
bool rdns_match(const rdn_t& a, const rdn_t& b) {
    return std::ranges::is_permutation(a, b, attributes_match);
}

std::string code_text(char32_t code) {
    static constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string digits;
    for (; code != 0 || digits.size() < 4; code >>= 4) {
        digits.insert(digits.begin(), DIGITS[code & 0xF]);
    }
    return "U+" + digits;
}

// The texts have one length.
std::vector<std::string> list_look_alikes(const value_keys_t& a, const value_keys_t& b) {
    std::vector<std::string> found;
    for (std::size_t i = 0; i < a.matched.size(); ++i) {
        if (a.matched[i] != b.matched[i]) {
            found.push_back("character " + std::to_string(i + 1) + ": " + code_text(a.matched[i]) + " and " +
                            code_text(b.matched[i]));
        }
    }
    return found;
}

void compare_texts(const value_keys_t& a, const value_keys_t& b, name_difference_t& out) {
    if (a.matched != b.matched) {
        const bool looks_the_same = with_looks(a.matched) == with_looks(b.matched);
        out.kinds.emplace_back(looks_the_same ? "look_alike" : "value");
        out.look_alikes = looks_the_same ? list_look_alikes(a, b) : std::vector<std::string>();
        return;
    }
    const std::u32string words_a = squeezed(a.text);
    const std::u32string words_b = squeezed(b.text);
    if (words_a != words_b) {
        out.kinds.emplace_back(in_lower_case(words_a) == in_lower_case(words_b) ? "case" : "form");
    }
    if (a.folded != b.folded) {
        out.kinds.emplace_back("blanks");
    }
}

// What differs in two attributes; no kinds if their octets do not.
name_difference_t compare_attributes(const name_attribute_t& a, const name_attribute_t& b) {
    name_difference_t out;
    out.a = &a;
    out.b = &b;
    if (a.type != b.type) {
        out.kinds.emplace_back("type");
    }
    if (a.tag != b.tag) {
        out.kinds.emplace_back("string_type");
    }
    if (a.text.has_value() && b.text.has_value() && *a.text != *b.text) {
        compare_texts(value_keys_t(*a.text), value_keys_t(*b.text), out);
    } else if (a.text.has_value() != b.text.has_value() || (!a.text.has_value() && a.value != b.value)) {
        out.kinds.emplace_back("value");
    } else if (out.kinds.empty() && a.value != b.value) {
        out.kinds.emplace_back("encoding");
    }
    return out;
}

// Pairs what belongs together best: the same octets first, then what matches, then the same type, then the same value.
class rdn_comparison_t {
  public:
    rdn_comparison_t(const rdn_t& a, const rdn_t& b, std::vector<name_difference_t>& out) : out_(out) {
        for (const name_attribute_t& attribute : a) {
            left_a_.push_back(&attribute);
        }
        for (const name_attribute_t& attribute : b) {
            left_b_.push_back(&attribute);
        }
    }

    void run() {
        pair([](const name_attribute_t& a, const name_attribute_t& b) {
            return a.type == b.type && a.value == b.value;
        });
        pair(attributes_match);
        pair([](const name_attribute_t& a, const name_attribute_t& b) { return a.type == b.type; });
        pair(values_match);
        for (const name_attribute_t* const a : left_a_) {
            out_.push_back({{}, {}, a, nullptr, {"missing"}, {}});
        }
        for (const name_attribute_t* const b : left_b_) {
            out_.push_back({{}, {}, nullptr, b, {"missing"}, {}});
        }
    }

  private:
    std::vector<const name_attribute_t*> left_a_;
    std::vector<const name_attribute_t*> left_b_;
    std::vector<name_difference_t>& out_;

    void pair(bool (*belong)(const name_attribute_t& a, const name_attribute_t& b)) {
        for (auto a = left_a_.begin(); a != left_a_.end();) {
            const auto b =
                std::ranges::find_if(left_b_, [&](const name_attribute_t* other) { return belong(**a, *other); });
            if (b == left_b_.end()) {
                ++a;
                continue;
            }
            name_difference_t difference = compare_attributes(**a, **b);
            if (!difference.kinds.empty()) {
                out_.push_back(difference);
            }
            left_b_.erase(b);
            a = left_a_.erase(a);
        }
    }
};

bool same_octets(const rdn_t& a, const rdn_t& b) {
    return std::ranges::equal(a, b, [](const name_attribute_t& left, const name_attribute_t& right) {
        return left.type == right.type && left.value == right.value;
    });
}

constexpr std::size_t NONE = static_cast<std::size_t>(-1);

// For each RDN of a, the one of b that it is compared with.
using pairs_t = std::vector<std::size_t>;

// The RDNs that match, each with the first one that is free.
pairs_t pair_matching(const std::vector<rdn_t>& a, const std::vector<rdn_t>& b, std::vector<bool>& taken) {
    pairs_t pairs(a.size(), NONE);
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t j = 0; j < b.size() && pairs[i] == NONE; ++j) {
            if (!taken[j] && rdns_match(a[i], b[j])) {
                pairs[i] = j;
                taken[j] = true;
            }
        }
    }
    return pairs;
}

// Of RDNs that match none: those that have a type in common, then any.
void pair_others(const std::vector<rdn_t>& a, const std::vector<rdn_t>& b, std::vector<bool>& taken, pairs_t& pairs) {
    const auto share_a_type = [](const rdn_t& left, const rdn_t& right) {
        return std::ranges::find_first_of(left, right, {}, &name_attribute_t::type, &name_attribute_t::type) !=
               left.end();
    };
    const auto share_a_value = [](const rdn_t& left, const rdn_t& right) {
        return std::ranges::find_first_of(left, right, values_match) != left.end();
    };
    for (const bool by_type : {true, false}) {
        for (std::size_t i = 0; i < a.size(); ++i) {
            for (std::size_t j = 0; j < b.size() && pairs[i] == NONE; ++j) {
                if (!taken[j] && (by_type ? share_a_type(a[i], b[j]) : share_a_value(a[i], b[j]))) {
                    pairs[i] = j;
                    taken[j] = true;
                }
            }
        }
    }
}

rdn_order_t order_of(const pairs_t& pairs) {
    pairs_t places;
    std::ranges::copy_if(pairs, std::back_inserter(places), [](std::size_t place) { return place != NONE; });
    if (std::ranges::is_sorted(places)) {
        return rdn_order_t::SAME;
    }
    return std::ranges::is_sorted(places, std::greater()) ? rdn_order_t::REVERSED : rdn_order_t::OTHER;
}

void compare_rdns(const rdn_t& a, const rdn_t& b, std::vector<name_difference_t>& out) {
    const std::size_t before = out.size();
    rdn_comparison_t(a, b, out).run();
    if (out.size() == before && !same_octets(a, b)) {
        out.push_back({{}, {}, &a.front(), &b.front(), {"member_order"}, {}});
    }
}

void add_places(std::size_t from, std::size_t rdn_a, std::size_t rdn_b, std::vector<name_difference_t>& out) {
    for (; from < out.size(); ++from) {
        out[from].rdn_a = rdn_a != NONE ? std::optional(rdn_a) : std::nullopt;
        out[from].rdn_b = rdn_b != NONE ? std::optional(rdn_b) : std::nullopt;
    }
}

} // namespace

name_comparison_t compare_names(std::string_view der_a, const std::vector<rdn_t>& parts_a, std::string_view der_b,
                                const std::vector<rdn_t>& parts_b) {
    name_comparison_t out;
    const bool in_order = std::ranges::equal(parts_a, parts_b, rdns_match);
    out.match = der_a == der_b ? name_match_t::SAME_OCTETS : in_order ? name_match_t::MATCH : name_match_t::DIFFERENT;
    std::vector<bool> taken(parts_b.size(), false);
    pairs_t pairs(parts_a.size(), NONE);
    if (in_order) {
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            pairs[i] = i;
            taken[i] = true;
        }
    } else {
        pairs = pair_matching(parts_a, parts_b, taken);
        pair_others(parts_a, parts_b, taken, pairs);
    }
    out.order = order_of(pairs);
    static const rdn_t NO_RDN;
    for (std::size_t i = 0; i < parts_a.size(); ++i) {
        const std::size_t before = out.differences.size();
        compare_rdns(parts_a[i], pairs[i] == NONE ? NO_RDN : parts_b[pairs[i]], out.differences);
        add_places(before, i, pairs[i], out.differences);
    }
    for (std::size_t j = 0; j < parts_b.size(); ++j) {
        if (!taken[j]) {
            const std::size_t before = out.differences.size();
            compare_rdns(NO_RDN, parts_b[j], out.differences);
            add_places(before, NONE, j, out.differences);
        }
    }
    return out;
}
