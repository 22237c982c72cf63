// The node that every writer builds DER with.
#include "asn/asn_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/views.h"

namespace {

constexpr bool IS_32_BIT = sizeof(void*) == 4;

template <unsigned int N> std::string encoding_of(const asn_tag_t_<N>& node) {
    return std::string(as_chars(node.encoding(), node.encoding_size()));
}

template <unsigned int N> bool is_inline(const asn_tag_t_<N>& node) {
    return node.buffer == node.inline_buffer;
}

std::string some_content(std::size_t size) {
    std::string content;
    for (std::size_t i = 0; i < size; ++i) {
        content.push_back(static_cast<char>(i * 7 + 1));
    }
    return content;
}

template <unsigned int N> void add_content(asn_tag_t_<N>& node, std::string_view content) {
    const exact_bytes_t bytes(content);
    node.add_bytes(bytes.data(), bytes.size());
}

// Identifier and length. Past 127 the length loses its octets up to the last zero, the lowest octet aside.
std::string header_of(asn_tag_t::Type tag, std::size_t size) {
    std::string length;
    for (const int shift : {24, 16, 8, 0}) {
        const char octet = static_cast<char>(size >> shift & 0xFF);
        if (octet == 0 && shift != 0) {
            length.clear();
        } else {
            length.push_back(octet);
        }
    }
    const std::string form = size < 128 ? "" : std::string(1, static_cast<char>(0x80 | length.size()));
    return static_cast<char>(tag) + form + length;
}

std::string element(asn_tag_t::Type tag, const std::string& content) {
    return header_of(tag, content.size()) + content;
}

// The invariants of a node that something was appended to. It is inline as long as it has the capacity that it began with.
template <unsigned int N>
void expect_node(const asn_tag_t_<N>& node, const std::string& content, unsigned int capacity) {
    SCOPED_TRACE("N = " + std::to_string(N) + ", content of " + std::to_string(content.size()));
    const std::string header = header_of(node.tag, content.size());
    EXPECT_EQ(node.capacity, capacity);
    EXPECT_EQ(is_inline(node), capacity == N);
    EXPECT_EQ(node.content_size, content.size());
    EXPECT_EQ(node.total_size, header.size() + content.size());
    EXPECT_EQ(node.encoding_size(), node.total_size);
    EXPECT_EQ(node.encoding(), node.buffer + 6 - header.size());
    EXPECT_TRUE(same_bytes(header + content, encoding_of(node)));
}

// ---- layout ----

template <unsigned int... N> void expect_layout() {
    constexpr std::size_t PTR = sizeof(void*);
    static_assert((std::is_standard_layout_v<asn_tag_t_<N>> && ...));
    static_assert(((offsetof(asn_tag_t_<N>, tag) == 0 && offsetof(asn_tag_t_<N>, total_size) == 4) && ...));
    static_assert(((offsetof(asn_tag_t_<N>, buffer) == 8 && offsetof(asn_tag_t_<N>, capacity) == 8 + PTR) && ...));
    static_assert(((offsetof(asn_tag_t_<N>, content_size) == 12 + PTR) && ...));
    static_assert(((offsetof(asn_tag_t_<N>, inline_buffer) == 16 + PTR) && ...));
    static_assert(
        ((sizeof(asn_tag_t_<N>) == (16 + PTR + (N == 0 ? 0 : std::max(N, 6u)) + PTR - 1) / PTR * PTR) && ...));
}

TEST(builder_layout, is_the_same_up_to_the_inline_octets) {
    expect_layout<0, 3, 4, 6, 8, 16, 32, 40, 64, 70, 80, 96, 128, 256, 300, 320, 512, 1024>();
    EXPECT_EQ(sizeof(asn_tag_t_<3>), IS_32_BIT ? 28u : 32u) << "six octets of storage";
    EXPECT_EQ(sizeof(asn_tag_t_<300>), IS_32_BIT ? 320u : 328u);

    using node_t = asn_tag_t_<16>;
    static_assert(std::is_same_v<decltype(node_t::tag), asn_tag_t::Type> && sizeof(node_t::tag) == 1);
    static_assert(std::is_same_v<decltype(node_t::total_size), unsigned int>);
    static_assert(std::is_same_v<decltype(node_t::buffer), unsigned char*>);
    static_assert(std::is_same_v<decltype(node_t::capacity), unsigned int>);
    static_assert(std::is_same_v<decltype(node_t::content_size), unsigned int>);
    static_assert(sizeof(node_t::inline_buffer) == 16);
}

TEST(builder_layout, nodes_are_built_in_place_and_never_copied) {
    static_assert(!std::is_copy_constructible_v<asn_tag_t_<16>> && !std::is_copy_assignable_v<asn_tag_t_<16>>);
    static_assert(!std::is_move_constructible_v<asn_tag_t_<16>> && !std::is_move_assignable_v<asn_tag_t_<16>>);
    static_assert(std::is_constructible_v<asn_tag_t_<16>, asn_tag_t::Type>);
}

// ---- a fresh node ----

// Before and after an empty append, which moves a node without header room to the heap.
template <unsigned int N> void expect_fresh_node() {
    asn_tag_t_<N> node(asn_tag_t::NULL_VALUE);
    EXPECT_EQ(node.tag, asn_tag_t::NULL_VALUE);
    expect_node(node, "", N);
    node.add_bytes(nullptr, 0);
    expect_node(node, "", N < 6 ? 22 : N);
}

template <unsigned int... N> void expect_fresh_nodes() {
    (expect_fresh_node<N>(), ...);
}

TEST(builder, fresh_node_encodes_as_identifier_and_zero_length) {
    expect_fresh_nodes<1, 3, 4, 5, 6, 16, 1024>();
    EXPECT_TRUE(same_bytes(from_hex("05 00"), encoding_of(asn_tag_t_<16>(asn_tag_t::NULL_VALUE))));
}

void expect_no_encoding(const asn_tag_t_<0>& node) {
    EXPECT_EQ(node.tag, asn_tag_t::SEQUENCE);
    EXPECT_EQ(node.total_size, 0u);
    EXPECT_EQ(node.encoding_size(), 0u);
    EXPECT_EQ(node.content_size, 0u);
    std::string out = "replaced";
    node.assign_to(out);
    EXPECT_EQ(out, "");
    asn_tag_t_<0> parent(asn_tag_t::SET);
    parent.add_node(node); // though this is the parent's first append
    expect_node(parent, "", 22);
}

TEST(builder, node_without_inline_room_has_no_encoding_before_its_first_append) {
    asn_tag_t_<0> node(asn_tag_t::SEQUENCE);
    EXPECT_TRUE(is_inline(node));
    EXPECT_EQ(node.capacity, 0u);
    expect_no_encoding(node);
    node.add_bytes(nullptr, 0);
    expect_node(node, "", 22);

    asn_tag_t_<0> reserved(asn_tag_t::SEQUENCE);
    reserved.reserve(8);
    EXPECT_EQ(reserved.capacity, 30u);
    expect_no_encoding(reserved);
    reserved.add_bytes(nullptr, 0);
    expect_node(reserved, "", 30);
}

// ---- growth ----

template <unsigned int N> void expect_capacity(unsigned int content_size, unsigned int capacity) {
    asn_tag_t_<N> node(asn_tag_t::SET);
    add_content(node, some_content(content_size));
    expect_node(node, some_content(content_size), capacity);
}

template <unsigned int... N> void expect_growth_past_inline_room() {
    (expect_capacity<N>(N - 6, N), ...);
    (expect_capacity<N>(N - 5, N - 5 + 22), ...);
}

TEST(builder_growth, content_of_n_minus_6_stays_inline_and_one_more_takes_its_size_and_22) {
    expect_growth_past_inline_room<6, 7, 16, 128, 300, 1024>();
    expect_capacity<0>(1, 23);
    expect_capacity<3>(1, 23);
    expect_capacity<32>(65535, 65557);
}

TEST(builder_growth, each_step_fits_exactly_and_leaves_16_octets_of_zero) {
    asn_tag_t_<16> node(asn_tag_t::OCTET_STRING);
    const struct {
        unsigned int appended;
        unsigned int capacity;
    } steps[] = {{10, 16}, {1, 33}, {16, 33}, {1, 50}, {16, 50}, {100, 166}, {0, 166}, {16, 166}, {1, 183}};
    std::string content;
    for (const auto& step : steps) {
        const bool grows = node.capacity != step.capacity;
        add_content(node, some_content(step.appended));
        content += some_content(step.appended);
        expect_node(node, content, step.capacity);
        if (grows) {
            EXPECT_TRUE(same_bytes(std::string(16, '\0'), as_chars(node.buffer + 6 + content.size(), 16)));
        }
    }
}

TEST(builder_growth, reserve_takes_the_step_once_and_changes_neither_content_nor_header) {
    asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
    std::string content = some_content(5);
    add_content(node, content);
    node.reserve(5); // fits
    expect_node(node, content, 16);
    node.reserve(1000);
    expect_node(node, content, 5 + 1000 + 22);
    const unsigned char* const block = node.buffer;
    for (int i = 0; i < 100; ++i) {
        add_content(node, some_content(10));
        content += some_content(10);
    }
    EXPECT_EQ(node.buffer, block);
    expect_node(node, content, 5 + 1000 + 22);

    asn_tag_t_<8> outgrown(asn_tag_t::SEQUENCE);
    add_content(outgrown, some_content(100)); // room for 16 more
    outgrown.reserve(17);
    expect_node(outgrown, some_content(100), 100 + 17 + 22);

    asn_tag_t_<6> with_header_room(asn_tag_t::SEQUENCE);
    with_header_room.reserve(0);
    expect_node(with_header_room, "", 6);
    asn_tag_t_<5> without_header_room(asn_tag_t::SEQUENCE);
    without_header_room.reserve(0);
    expect_node(without_header_room, "", 22);
}

TEST(builder_growth, add_before_leaves_room_for_more_if_a_node_can_hold_it) {
    const std::string content = some_content(20);
    asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
    node.add_before(1000, view_of(content));
    expect_node(node, content, 20 + 1000 + 22);
    EXPECT_TRUE(same_bytes(std::string(1016, '\0'), as_chars(node.buffer + 26, 1016)));
    const unsigned char* const block = node.buffer;
    add_content(node, some_content(1016)); // the slack too
    EXPECT_EQ(node.buffer, block);

    for (const unsigned int more : {0xFFFFFFE9U - 19, 0xFFFFFFE9U, 0xFFFFFFFFU}) {
        asn_tag_t_<0> small(asn_tag_t::SEQUENCE);
        small.add_before(more, view_of(content));
        expect_node(small, content, 20 + 22);
    }
    asn_tag_t_<32> roomy(asn_tag_t::SEQUENCE);
    roomy.add_before(1000, view_of(content)); // fits
    expect_node(roomy, content, 32);
}

// Bytes that are about to be written need not be zero before.
TEST(builder_growth, leaves_zero_after_what_it_is_for) {
    asn_tag_t_<16> reserved(asn_tag_t::SEQUENCE);
    reserved.reserve(100);
    EXPECT_TRUE(same_bytes(std::string(116, '\0'), as_chars(reserved.buffer + 6, 116)));
    asn_tag_t_<0> member(asn_tag_t::OCTET_STRING);
    add_content(member, some_content(100));
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    list.add_member(member);
    list.add_member(member);
    EXPECT_EQ(list.capacity, 204U + 22);
    list.add_member(member);
    EXPECT_EQ(list.capacity, 408U + 22);
    EXPECT_TRUE(same_bytes(std::string(118, '\0'), as_chars(list.buffer + 6 + 306, 118)));
}

TEST(builder_growth, content_of_every_small_size_is_appended_whole_and_nothing_after_it) {
    for (unsigned int size = 0; size <= 64; ++size) {
        asn_tag_t_<128> node(asn_tag_t::OCTET_STRING);
        std::fill(node.buffer + HEADER_ROOM, node.buffer + node.capacity, static_cast<unsigned char>(0xA5));
        add_content(node, "held");
        add_content(node, some_content(size));
        expect_node(node, "held" + some_content(size), 128);
        const unsigned int used = HEADER_ROOM + node.content_size;
        EXPECT_TRUE(
            same_bytes(std::string(node.capacity - used, '\xA5'), as_chars(node.buffer + used, node.capacity - used)));
    }
}

// ---- children ----

TEST(builder_child, carries_its_header_into_several_parents_and_stays_as_it_is) {
    asn_tag_t_<16> oid(asn_tag_t::OBJECT_IDENTIFIER);
    add_content(oid, from_hex("55 04 03"));
    const asn_tag_t_<8> null(asn_tag_t::NULL_VALUE);
    asn_tag_t_<32> algorithm(asn_tag_t::SEQUENCE);
    asn_tag_t_<0> list(asn_tag_t::SET);
    algorithm.add_node(oid);
    EXPECT_TRUE(same_bytes(from_hex("30 05 06 03 55 04 03"), encoding_of(algorithm))) << "complete after every append";
    algorithm.add_node(null);
    EXPECT_TRUE(same_bytes(from_hex("30 07 06 03 55 04 03 05 00"), encoding_of(algorithm)));
    list.add_node(oid);
    list.add_node(oid);
    EXPECT_TRUE(same_bytes(from_hex("31 0A 06 03 55 04 03 06 03 55 04 03"), encoding_of(list)));
    expect_node(oid, from_hex("55 04 03"), 16);
}

// 24 + 24 + 22, 60 + 60 + 22, 132 + 132 + 22: a long list takes few steps.
TEST(builder_child, member_of_a_list_doubles_the_room) {
    asn_tag_t_<16> member(asn_tag_t::OCTET_STRING);
    add_content(member, some_content(10));
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    std::string content;
    for (const unsigned int capacity : {34U, 34U, 70U, 70U, 70U, 142U, 142U, 142U, 142U, 142U, 142U, 286U}) {
        list.add_member(member);
        content += encoding_of(member);
        expect_node(list, content, capacity);
    }
}

TEST(builder_child, member_takes_a_step_only_if_it_does_not_fit_and_its_own_size_at_least) {
    asn_tag_t_<0> member(asn_tag_t::OCTET_STRING);
    add_content(member, some_content(100));
    const asn_tag_t_<16> null(asn_tag_t::NULL_VALUE);
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    std::string content;
    for (int i = 0; i < 5; ++i) {
        list.add_member(null);
        content += from_hex("05 00");
        expect_node(list, content, 16);
    }
    list.add_member(member);
    expect_node(list, content + encoding_of(member), 10 + 102 + 22);
}

// ---- delivery ----

TEST(builder_delivery, assign_to_leaves_the_encoding_alone_in_the_string) {
    asn_tag_t_<16> node(asn_tag_t::INTEGER);
    for (const char* const encoding : {"02 01 05", "02 02 05 05"}) { // reading out changes nothing
        add_content(node, "\5");
        for (std::string out : {std::string(), std::string("held"), std::string(1000, 'x')}) {
            node.assign_to(out);
            EXPECT_TRUE(same_bytes(from_hex(encoding), out));
        }
    }
}

// ---- elements whose content is at hand, and headers of every length ----

// 65,536 and 65,791 are written as one length octet, 65,792 as three.
class builder_element : public testing::TestWithParam<unsigned int> {};
INSTANTIATE_TEST_SUITE_P(sizes, builder_element,
                         testing::Values(0, 1, 123, 124, 125, 126, 127, 128, 250, 255, 256, 65530, 65533, 65535, 65536,
                                         65791, 65792));

TEST_P(builder_element, adds_what_nodes_one_inside_the_other_add) {
    const std::string content = some_content(GetParam());
    const exact_bytes_t bytes(content);
    const std::string_view text(bytes.chars(), bytes.size());
    const std::string octets = element(asn_tag_t::OCTET_STRING, content);

    asn_tag_t_<0> by_pointer(asn_tag_t::SEQUENCE);
    by_pointer.add_element(asn_tag_t::OCTET_STRING, bytes.data(), bytes.size());
    expect_node(by_pointer, octets, by_pointer.content_size + 22); // one step that fits exactly
    asn_tag_t_<16> by_view(asn_tag_t::SEQUENCE);
    by_view.add(asn_element(asn_tag_t::OCTET_STRING, view_of(text)));
    EXPECT_TRUE(same_bytes(element(asn_tag_t::SEQUENCE, octets), encoding_of(by_view)));
    asn_tag_t_<128> by_text(asn_tag_t::SEQUENCE);
    by_text.add_element(asn_tag_t::OCTET_STRING, text);
    EXPECT_TRUE(same_bytes(element(asn_tag_t::SEQUENCE, octets), encoding_of(by_text)));

    asn_tag_t_<0> node(asn_tag_t::OCTET_STRING);
    add_content(node, content);
    expect_node(node, content, GetParam() + 22);
    asn_tag_t_<3> by_node(asn_tag_t::SEQUENCE);
    by_node.add_node(node);
    expect_node(by_node, octets, by_node.content_size + 22);
    asn_tag_t_<16> by_member(asn_tag_t::SEQUENCE);
    by_member.add_member(node);
    EXPECT_TRUE(same_bytes(element(asn_tag_t::SEQUENCE, octets), encoding_of(by_member)));

    asn_tag_t_<0> nested(asn_tag_t::SEQUENCE);
    nested.add(asn_element(asn_tag_t::CONTEXT_0, asn_element(asn_tag_t::OCTET_STRING, text)));
    asn_tag_t_<32> wrapped(asn_tag_t::SEQUENCE);
    wrapped.add(asn_element(asn_tag_t::CONTEXT_0, node));
    for (const std::string& encoding : {encoding_of(nested), encoding_of(wrapped)}) {
        EXPECT_TRUE(same_bytes(element(asn_tag_t::SEQUENCE, element(asn_tag_t::CONTEXT_0, octets)), encoding));
    }
}

TEST(builder_element, of_a_constant_is_added_whole) {
    static constexpr unsigned char OID[] = {0x55, 0x04, 0x00, 0x03};
    asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
    node.add(asn_element(asn_tag_t::OBJECT_IDENTIFIER, OID),
             asn_element(asn_tag_t::OBJECT_IDENTIFIER, asn_view_of(OID)));
    EXPECT_TRUE(same_bytes(from_hex("30 0C 06 04 55 04 00 03 06 04 55 04 00 03"), encoding_of(node)));
}

TEST(builder_element, integer_has_the_content_that_asn_write_INTEGER_writes) {
    for (const unsigned int value : {0u, 1u, 127u, 128u, 2000u, 0x10080u, 0x80000000u, 0xFFFFFFFFu}) {
        std::string content;
        asn_write_INTEGER(value, content);
        asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
        node.add(asn_element(asn_tag_t::INTEGER, asn_integer_t(value)));
        EXPECT_TRUE(same_bytes(element(asn_tag_t::SEQUENCE, element(asn_tag_t::INTEGER, content)), encoding_of(node)));
    }
}

std::string header_written_for(unsigned int content_size) {
    unsigned char room[HEADER_ROOM];
    write_header_before(room + sizeof room, asn_tag_t::SEQUENCE, content_size);
    const unsigned int size = header_size(content_size);
    return std::string(as_chars(room + sizeof room - size, size));
}

TEST(builder_length, octets_end_before_the_first_zero_above_the_lowest) {
    const char* const lengths[] = {
        // content size and header
        // minimal
        "00000000 30 00", "0000007F 30 7F", "00000080 30 81 80", "000000FF 30 81 FF", "00000100 30 82 01 00",
        "00001234 30 82 12 34", "0000FF00 30 82 FF 00", "0000FFFF 30 82 FF FF", "00010100 30 83 01 01 00",
        "0001FFFF 30 83 01 FF FF", "00123456 30 83 12 34 56", "00FFFFFF 30 83 FF FF FF", "01010100 30 84 01 01 01 00",
        "12345678 30 84 12 34 56 78", "80808080 30 84 80 80 80 80", "FFFFFFE9 30 84 FF FF FF E9",
        // too short, for bits 8 to 15 or 16 to 23 are zero
        "00010000 30 81 00", "00010001 30 81 01", "0001007F 30 81 7F", "000100FF 30 81 FF", "00020000 30 81 00",
        "00FF00AB 30 81 AB", "01000000 30 81 00", "01010000 30 81 00", "FFFF00FF 30 81 FF", "01000100 30 82 01 00",
        "010012FF 30 82 12 FF", "FF00FFFF 30 82 FF FF"};
    for (const std::string_view length : lengths) {
        const auto size = static_cast<unsigned int>(std::stoul(std::string(length.substr(0, 8)), nullptr, 16));
        EXPECT_TRUE(same_bytes(from_hex(length.substr(8)), header_written_for(size))) << length;
        EXPECT_TRUE(same_bytes(from_hex(length.substr(8)), header_of(asn_tag_t::SEQUENCE, size))) << length;
    }
    for (unsigned int size = 0; size < 65536; ++size) {
        ASSERT_TRUE(same_bytes(header_of(asn_tag_t::SEQUENCE, size), header_written_for(size))) << size;
    }
}

TEST(builder_length, changes_with_the_octet_that_needs_more_or_fewer) {
    asn_tag_t_<300> node(asn_tag_t::OCTET_STRING);
    std::string content;
    for (const unsigned int size : {127u, 128u, 255u, 256u, 65535u, 65536u, 65791u, 65792u}) {
        const std::string more = some_content(size).substr(content.size());
        add_content(node, more);
        content += more;
        expect_node(node, content, size + HEADER_ROOM <= 300 ? 300 : node.capacity);
    }
}

// ---- trees ----

TEST(builder_tree, writes_its_parts_in_order_at_every_depth) {
    static constexpr unsigned char OID[] = {0x2A, 0x03};
    asn_tag_t_<16> finished(asn_tag_t::SET);
    add_content(finished, "f");
    asn_tag_t_<64> node(asn_tag_t::SEQUENCE);
    node.add(asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, OID),
                         asn_element(asn_tag_t::NULL_VALUE)),
             finished, asn_element(asn_tag_t::CONTEXT_0, finished, std::string_view("raw")));
    node.add(asn_element(asn_tag_t::INTEGER, asn_integer_t(2000)));
    EXPECT_TRUE(same_bytes(from_hex("30 17 30 06 06 02 2A 03 05 00 31 01 66 A0 06 31 01 66 72 61 77 02 02 07 D0"),
                           encoding_of(node)));
    EXPECT_TRUE(same_bytes(from_hex("02 02 07 D0"), chars_of(node.last_octets(4))));
}

TEST(builder_tree, leaves_out_what_is_not_present) {
    const auto octets = asn_element(asn_tag_t::OCTET_STRING, std::string_view("x"));
    asn_tag_t_<64> node(asn_tag_t::SEQUENCE);
    node.add(asn_optional_t(false, octets), asn_optional_t(true, octets));
    node.add(asn_element(asn_tag_t::SET, asn_optional_t(false, octets)));
    EXPECT_TRUE(same_bytes(from_hex("30 05 04 01 78 31 00"), encoding_of(node)));
}

// Growth must not free what is still to be copied.
TEST(builder_tree, may_view_the_node_that_it_is_added_to) {
    asn_tag_t_<0> node(asn_tag_t::SEQUENCE);
    std::string content;
    add_content(node, some_content(100));
    content += some_content(100);
    for (int i = 0; i < 3; ++i) {
        node.add(asn_element(asn_tag_t::SET, node));
        content += element(asn_tag_t::SET, element(asn_tag_t::SEQUENCE, content));
        EXPECT_TRUE(same_bytes(element(asn_tag_t::SEQUENCE, content), encoding_of(node)));
    }
}

// ---- the largest content ----

// A node that claims to hold a lot, and the state that a refusal must leave as it was.
class claiming_node_t {
  public:
    explicit claiming_node_t(unsigned int content_size) : node_(asn_tag_t::OCTET_STRING) {
        node_.add_bytes("\x01\x02", 2);
        node_.content_size = content_size;
        storage_ = storage();
    }

    template <typename OPERATION> void expect_refusal(OPERATION operation) {
        const unsigned int content_size = node_.content_size;
        EXPECT_THROW(operation(node_), std::bad_alloc);
        EXPECT_EQ(node_.tag, asn_tag_t::OCTET_STRING);
        EXPECT_EQ(node_.total_size, 4u);
        EXPECT_TRUE(is_inline(node_));
        EXPECT_EQ(node_.capacity, 16u);
        EXPECT_EQ(node_.content_size, content_size);
        EXPECT_TRUE(same_bytes(storage_, storage()));
    }

  private:
    std::string storage() const { return std::string(as_chars(node_.inline_buffer, sizeof node_.inline_buffer)); }

    asn_tag_t_<16> node_;
    std::string storage_;
};

TEST(builder_refusal, of_content_past_2_to_32_minus_23_comes_before_anything_changes) {
    const struct {
        unsigned int content_size;
        unsigned int appended;
    } cases[] = {{0xFFFFFFE9, 1},
                 {0xFFFFFFE9 - 3, 4},
                 {0, 0xFFFFFFEA},
                 {0, 0xFFFFFFFF},
                 {1, 0xFFFFFFE9},
                 // sums that wrap
                 {0xFFFFFFE9, 23},
                 {2, 0xFFFFFFFF},
                 {0xFFFFFFE9, 0xFFFFFFFF},
                 {0x80000000, 0x80000000}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.appended) + " to " + std::to_string(c.content_size));
        claiming_node_t node(c.content_size);
        asn_tag_t_<16> child(asn_tag_t::NULL_VALUE);
        child.total_size = c.appended;
        child.content_size = c.appended - 2;
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_bytes(nullptr, c.appended); });
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.reserve(c.appended); });
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_node(child); });
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_member(child); });
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add(child); });
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_before(0xFFFFFFFF, child); });
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add(asn_element(asn_tag_t::SET, child)); });
    }
}

TEST(builder_refusal, starts_right_after_2_to_32_minus_23) {
    EXPECT_EQ(MAX_CONTENT_SIZE, 4294967296u - 23);
    asn_tag_t_<16> node(asn_tag_t::OCTET_STRING);
    node.capacity = 0xFFFFFFFF; // room enough: what is asked for is never allocated
    node.content_size = 0xFFFFFFE9 - 3;
    EXPECT_NO_THROW(node.reserve(3));
    EXPECT_THROW(node.reserve(4), std::bad_alloc);
    if constexpr (sizeof(void*) == 8) { // 32 bits cannot address the end of such a content
        node.content_size = 0xFFFFFFE9;
        EXPECT_NO_THROW(node.add_bytes(nullptr, 0));
        EXPECT_EQ(node.total_size, 0xFFFFFFE9 + 6);
    }
}

TEST(builder_refusal, of_an_element_whose_size_does_not_fit) {
    claiming_node_t node(2);
    for (const unsigned long long size : {0xFFFFFFE4ULL, 0xFFFFFFEAULL, 0x100000001ULL, ~0ULL}) {
        const std::string_view claimed("x", static_cast<std::size_t>(size));
        if (claimed.size() > 1) { // it is where sizes have 32 bits
            node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_element(asn_tag_t::OCTET_STRING, claimed); });
        }
    }
    node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_element(asn_tag_t::OCTET_STRING, "x", 0xFFFFFFFF); });
    // With a header before them the last two wrap.
    for (const unsigned int size : {0xFFFFFFE0U, 0xFFFFFFFAU, 0xFFFFFFFFU}) {
        const blob_t claimed = view_of(std::string_view("x", size));
        node.expect_refusal([&](asn_tag_t_<16>& n) {
            n.add(asn_element(asn_tag_t::SET, asn_element(asn_tag_t::OCTET_STRING, claimed)));
        });
    }
}

} // namespace
