#include "formats/refusal.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "io/bytes.h"

namespace {

struct remedy_t {
    gost::cause why;
    const char* text;
};

constexpr remedy_t REMEDIES[] = {
    {gost::cause::too_many_bags, " (--max-bags allows more)"},
    {gost::cause::too_many_iterations, " (--max-iterations allows more)"},
    {gost::cause::budget_exhausted, " (--max-iterations allows more)"},
    {gost::cause::no_mac, " (--accept-unverified opens it all the same)"},
    {gost::cause::unsupported_mac, " (--accept-unverified opens it all the same)"},
};

std::string detail_text(const std::string& detail) {
    const bool is_dotted = detail.find('.') != std::string::npos;
    const std::optional<std::string> content = is_dotted ? oid_from_text(detail) : std::nullopt;
    return content.has_value() ? describe(name_oid(make_blob(*content))) : detail;
}

} // namespace

named_oid_t name_of(const gost::named_oid& oid) {
    if (!oid.name.empty()) {
        return {oid.oid, oid.name};
    }
    const std::optional<std::string> content = oid_from_text(oid.oid);
    return content.has_value() ? name_oid(make_blob(*content)) : named_oid_t{oid.oid, ""};
}

std::string text_of(const gost::failure& failure) {
    std::string text = gost::text_of(failure.why);
    if (!failure.detail.empty()) {
        text += ": " + detail_text(failure.detail);
    }
    const remedy_t* const remedy = std::ranges::find(REMEDIES, failure.why, &remedy_t::why);
    return remedy != std::end(REMEDIES) ? text + remedy->text : text;
}
