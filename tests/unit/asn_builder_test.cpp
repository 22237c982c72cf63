// The node that every writer builds DER with.
#include "asn/asn_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include "support/expect.h"
#include "testing/bytes.h"

namespace {

constexpr bool IS_32_BIT = sizeof(void*) == 4;

template <unsigned int N> std::string encoding_of(const asn_tag_t_<N>& node) {
    return std::string(as_chars(node.encoding(), node.encoding_size()));
}

template <unsigned int N> std::string assigned(const asn_tag_t_<N>& node) {
    std::string out;
    node.assign_to(out);
    return out;
}

template <unsigned int N> bool is_inline(const asn_tag_t_<N>& node) {
    return node.buffer == node.inline_buffer;
}

std::string some_content(unsigned int size) {
    std::string content;
    for (unsigned int i = 0; i < size; ++i) {
        content.push_back(static_cast<char>(i * 7 + 1));
    }
    return content;
}

template <unsigned int N> void add_content(asn_tag_t_<N>& node, const std::string& content) {
    const exact_bytes_t bytes(content);
    node.add_bytes(bytes.data(), bytes.size());
}

// Identifier and the length octets that X.690 10.1 asks for.
std::string der_header(unsigned char tag, unsigned int length) {
    std::string octets;
    for (unsigned int left = length; left != 0; left >>= 8) {
        octets.insert(octets.begin(), static_cast<char>(left & 0xFF));
    }
    if (length < 128) {
        return std::string{static_cast<char>(tag), static_cast<char>(length)};
    }
    return std::string{static_cast<char>(tag), static_cast<char>(0x80 | octets.size())} + octets;
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

TEST(builder_layout, fields_lie_at_the_same_offsets_for_every_inline_size) {
    expect_layout<0, 3, 4, 6, 8, 16, 32, 40, 64, 70, 80, 96, 128, 256, 300, 320, 512, 1024>();
    EXPECT_EQ(sizeof(asn_tag_t_<3>), IS_32_BIT ? 28u : 32u) << "six octets of storage";
    EXPECT_EQ(sizeof(asn_tag_t_<300>), IS_32_BIT ? 320u : 328u);
}

TEST(builder_layout, field_types) {
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

template <unsigned int... N, typename CHECK> void for_each_size(CHECK check) {
    (check.template operator()<N>(), ...);
}

TEST(builder, fresh_node_encodes_as_identifier_and_zero_length) {
    for_each_size<1, 3, 4, 5, 6, 16, 1024>([]<unsigned int N>() {
        SCOPED_TRACE("N = " + std::to_string(N));
        const asn_tag_t_<N> node(asn_tag_t::NULL_VALUE);
        EXPECT_EQ(node.tag, asn_tag_t::NULL_VALUE);
        EXPECT_EQ(node.total_size, 2u);
        EXPECT_TRUE(is_inline(node));
        EXPECT_EQ(node.capacity, N);
        EXPECT_EQ(node.content_size, 0u);
        EXPECT_EQ(node.encoding(), node.buffer + 4);
        EXPECT_TRUE(same_bytes(from_hex("05 00"), encoding_of(node)));
    });
}

TEST(builder, node_without_inline_room_starts_without_an_encoding) {
    const asn_tag_t_<0> node(asn_tag_t::SEQUENCE);
    EXPECT_EQ(node.tag, asn_tag_t::SEQUENCE);
    EXPECT_EQ(node.total_size, 0u);
    EXPECT_EQ(node.encoding_size(), 0u);
    EXPECT_TRUE(is_inline(node));
    EXPECT_EQ(node.capacity, 0u);
    EXPECT_EQ(node.content_size, 0u);
    std::string out = "replaced";
    node.assign_to(out);
    EXPECT_EQ(out, "");
}

TEST(builder, empty_append_moves_a_node_without_header_room_to_22_bytes) {
    for_each_size<0, 1, 5>([]<unsigned int N>() {
        SCOPED_TRACE("N = " + std::to_string(N));
        asn_tag_t_<N> node(asn_tag_t::SEQUENCE);
        node.add_bytes(nullptr, 0);
        EXPECT_FALSE(is_inline(node));
        EXPECT_EQ(node.capacity, 22u);
        EXPECT_EQ(node.content_size, 0u);
        EXPECT_EQ(node.total_size, 2u);
        EXPECT_TRUE(same_bytes(from_hex("30 00"), encoding_of(node)));
    });
}

TEST(builder, empty_append_leaves_a_node_with_header_room_as_it_was) {
    asn_tag_t_<6> node(asn_tag_t::SEQUENCE);
    node.add_bytes(nullptr, 0);
    EXPECT_TRUE(is_inline(node));
    EXPECT_EQ(node.capacity, 6u);
    EXPECT_TRUE(same_bytes(from_hex("30 00"), encoding_of(node)));
}

// ---- growth ----

// Appends to a node of N and looks whether it stays inline.
template <unsigned int N> void expect_capacity(unsigned int content_size, bool stays_inline, unsigned int capacity) {
    SCOPED_TRACE("N = " + std::to_string(N) + ", content of " + std::to_string(content_size));
    asn_tag_t_<N> node(asn_tag_t::OCTET_STRING);
    const std::string content = some_content(content_size);
    add_content(node, content);
    EXPECT_EQ(is_inline(node), stays_inline);
    EXPECT_EQ(node.capacity, capacity);
    EXPECT_EQ(node.content_size, content_size);
    EXPECT_TRUE(same_bytes(der_header(0x04, content_size) + content, encoding_of(node)));
}

TEST(builder_growth, content_of_n_minus_6_stays_inline_and_one_more_takes_its_size_and_22) {
    expect_capacity<0>(1, false, 23);
    expect_capacity<3>(1, false, 23);
    expect_capacity<6>(1, false, 23);
    expect_capacity<7>(1, true, 7);
    expect_capacity<7>(2, false, 24);
    expect_capacity<16>(10, true, 16);
    expect_capacity<16>(11, false, 33);
    expect_capacity<128>(122, true, 128);
    expect_capacity<128>(123, false, 145);
    expect_capacity<300>(294, true, 300);
    expect_capacity<300>(295, false, 317);
    expect_capacity<1024>(1018, true, 1024);
    expect_capacity<1024>(1019, false, 1041);
}

TEST(builder_growth, each_step_fits_exactly_and_leaves_16_bytes) {
    asn_tag_t_<16> node(asn_tag_t::OCTET_STRING);
    const struct {
        unsigned int appended;
        unsigned int capacity;
    } steps[] = {{10, 16}, {1, 33}, {16, 33}, {1, 50}, {16, 50}, {100, 166}, {0, 166}, {16, 166}, {1, 183}};
    std::string content;
    for (const auto& step : steps) {
        const std::string more = some_content(step.appended);
        add_content(node, more);
        content += more;
        EXPECT_EQ(node.capacity, step.capacity) << "content of " << content.size();
        EXPECT_EQ(node.content_size, content.size());
        EXPECT_TRUE(same_bytes(der_header(0x04, node.content_size) + content, encoding_of(node)));
    }
}

TEST(builder_growth, new_block_is_zero_behind_the_content) {
    asn_tag_t_<16> node(asn_tag_t::OCTET_STRING);
    add_content(node, some_content(60));
    const std::string slack(as_chars(node.buffer + 6 + 60, 16));
    EXPECT_EQ(node.capacity, 6u + 60 + 16);
    EXPECT_TRUE(same_bytes(std::string(16, '\0'), slack));
}

TEST(builder_growth, content_lies_behind_six_octets_with_the_header_right_aligned) {
    for (const unsigned int size : {0u, 1u, 127u, 128u, 255u, 256u, 65535u}) {
        asn_tag_t_<32> node(asn_tag_t::SET);
        const std::string content = some_content(size);
        add_content(node, content);
        const std::string header = der_header(0x31, size);
        SCOPED_TRACE(size);
        EXPECT_EQ(node.encoding(), node.buffer + 6 - header.size());
        EXPECT_EQ(node.total_size, header.size() + size);
        EXPECT_EQ(node.encoding_size(), node.total_size);
        EXPECT_TRUE(same_bytes(header, as_chars(node.encoding(), header.size())));
        EXPECT_TRUE(same_bytes(content, as_chars(node.buffer + 6, size)));
    }
}

TEST(builder_growth, reserve_takes_the_step_once_and_changes_neither_content_nor_header) {
    asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
    add_content(node, some_content(5));
    node.reserve(5);
    EXPECT_TRUE(is_inline(node)) << "what fits needs no step";
    EXPECT_EQ(node.capacity, 16u);
    node.reserve(1000);
    EXPECT_EQ(node.capacity, 5u + 1000 + 22);
    EXPECT_EQ(node.content_size, 5u);
    EXPECT_TRUE(same_bytes(der_header(0x30, 5) + some_content(5), encoding_of(node)));
    const unsigned char* const block = node.buffer;
    std::string content = some_content(5);
    for (int i = 0; i < 100; ++i) {
        add_content(node, some_content(10));
        content += some_content(10);
        EXPECT_EQ(node.buffer, block);
    }
    EXPECT_EQ(node.capacity, 5u + 1000 + 22);
    EXPECT_TRUE(same_bytes(der_header(0x30, 1005) + content, encoding_of(node)));
}

TEST(builder_growth, reserving_nothing_needs_no_room_but_the_header) {
    asn_tag_t_<6> with_room(asn_tag_t::SEQUENCE);
    with_room.reserve(0);
    EXPECT_EQ(with_room.capacity, 6u);
    asn_tag_t_<5> without_room(asn_tag_t::SEQUENCE);
    without_room.reserve(0);
    EXPECT_EQ(without_room.capacity, 22u);
    EXPECT_TRUE(same_bytes(from_hex("30 00"), encoding_of(without_room)));
}

TEST(builder_growth, reserve_gives_a_node_without_inline_room_no_encoding_yet) {
    asn_tag_t_<0> node(asn_tag_t::SEQUENCE);
    node.reserve(8);
    EXPECT_EQ(node.capacity, 30u);
    EXPECT_EQ(node.encoding_size(), 0u);
    EXPECT_EQ(assigned(node), "");
    asn_tag_t_<16> parent(asn_tag_t::SET);
    parent.add_node(node);
    EXPECT_TRUE(same_bytes(from_hex("31 00"), encoding_of(parent)));
    node.add_bytes(nullptr, 0);
    EXPECT_EQ(node.capacity, 30u);
    EXPECT_TRUE(same_bytes(from_hex("30 00"), encoding_of(node)));
}

TEST(builder_growth, content_of_every_small_size_is_appended_whole_and_nothing_behind_it) {
    for (unsigned int size = 0; size <= 64; ++size) {
        asn_tag_t_<128> node(asn_tag_t::OCTET_STRING);
        std::fill(node.buffer + HEADER_ROOM, node.buffer + node.capacity, static_cast<unsigned char>(0xA5));
        add_content(node, "held");
        add_content(node, some_content(size));
        EXPECT_TRUE(same_bytes(der_header(0x04, 4 + size) + "held" + some_content(size), encoding_of(node)));
        const unsigned int used = HEADER_ROOM + node.content_size;
        EXPECT_TRUE(
            same_bytes(std::string(node.capacity - used, '\xA5'), as_chars(node.buffer + used, node.capacity - used)));
    }
}

// ---- children ----

TEST(builder_child, carries_its_header_into_the_parent) {
    asn_tag_t_<16> oid(asn_tag_t::OBJECT_IDENTIFIER);
    add_content(oid, from_hex("55 04 03"));
    const asn_tag_t_<8> null(asn_tag_t::NULL_VALUE);
    asn_tag_t_<32> algorithm(asn_tag_t::SEQUENCE);
    algorithm.add_node(oid);
    EXPECT_TRUE(same_bytes(from_hex("30 05 06 03 55 04 03"), encoding_of(algorithm))) << "complete after every append";
    algorithm.add_node(null);
    EXPECT_TRUE(same_bytes(from_hex("30 07 06 03 55 04 03 05 00"), encoding_of(algorithm)));
}

TEST(builder_child, of_the_long_form_and_of_any_inline_size) {
    asn_tag_t_<0> child(asn_tag_t::OCTET_STRING);
    add_content(child, some_content(200));
    asn_tag_t_<3> parent(asn_tag_t::CONTEXT_0);
    parent.add_node(child);
    EXPECT_TRUE(same_bytes(from_hex("A0 81 CB 04 81 C8") + some_content(200), encoding_of(parent)));
}

TEST(builder_child, goes_into_several_parents_and_stays_as_it_is) {
    asn_tag_t_<16> child(asn_tag_t::INTEGER);
    add_content(child, from_hex("05"));
    asn_tag_t_<16> first(asn_tag_t::SEQUENCE);
    asn_tag_t_<0> second(asn_tag_t::SET);
    first.add_node(child);
    first.add_node(child);
    second.add_node(child);
    EXPECT_TRUE(same_bytes(from_hex("30 06 02 01 05 02 01 05"), encoding_of(first)));
    EXPECT_TRUE(same_bytes(from_hex("31 03 02 01 05"), encoding_of(second)));
    EXPECT_TRUE(same_bytes(from_hex("02 01 05"), encoding_of(child)));
    EXPECT_TRUE(is_inline(child));
}

TEST(builder_child, without_inline_room_adds_nothing_before_its_first_append) {
    asn_tag_t_<0> child(asn_tag_t::SEQUENCE);
    asn_tag_t_<16> parent(asn_tag_t::SET);
    parent.add_node(child);
    EXPECT_TRUE(same_bytes(from_hex("31 00"), encoding_of(parent)));
    child.add_bytes(nullptr, 0);
    parent.add_node(child);
    EXPECT_TRUE(same_bytes(from_hex("31 02 30 00"), encoding_of(parent)));
}

TEST(builder_child, appending_nothing_gives_a_parent_without_inline_room_its_encoding) {
    const asn_tag_t_<0> child(asn_tag_t::SEQUENCE);
    asn_tag_t_<0> parent(asn_tag_t::SET);
    parent.add_node(child);
    EXPECT_TRUE(same_bytes(from_hex("31 00"), encoding_of(parent)));
    EXPECT_EQ(parent.capacity, 22u);
}

TEST(builder_child, member_of_a_list_doubles_the_room) {
    asn_tag_t_<16> member(asn_tag_t::OCTET_STRING);
    add_content(member, some_content(10));
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    const unsigned int capacities[] = {12 + 22, 34, 24 + 24 + 22, 70, 70, 60 + 60 + 22, 142};
    std::string content;
    for (const unsigned int capacity : capacities) {
        list.add_member(member);
        content += encoding_of(member);
        EXPECT_EQ(list.capacity, capacity) << "content of " << content.size();
        EXPECT_TRUE(
            same_bytes(der_header(0x30, static_cast<unsigned int>(content.size())) + content, encoding_of(list)));
    }
}

TEST(builder_child, member_larger_than_the_list_before_it_takes_its_own_size) {
    asn_tag_t_<0> member(asn_tag_t::OCTET_STRING);
    add_content(member, some_content(100));
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    add_content(list, some_content(4));
    list.add_member(member);
    EXPECT_EQ(list.capacity, 4u + 102 + 22);
    EXPECT_TRUE(same_bytes(from_hex("30 6A") + some_content(4) + encoding_of(member), encoding_of(list)));
}

TEST(builder_child, member_that_fits_takes_no_step) {
    const asn_tag_t_<16> member(asn_tag_t::NULL_VALUE);
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    for (int i = 0; i < 5; ++i) {
        list.add_member(member);
        EXPECT_TRUE(is_inline(list));
    }
    list.add_member(member);
    EXPECT_EQ(list.capacity, 10u + 10 + 22);
}

TEST(builder_child, many_members_take_few_steps) {
    asn_tag_t_<16> member(asn_tag_t::INTEGER);
    add_content(member, from_hex("05"));
    asn_tag_t_<16> list(asn_tag_t::SEQUENCE);
    unsigned int num_steps = 0;
    for (int i = 0; i < 20000; ++i) {
        const unsigned int before = list.capacity;
        list.add_member(member);
        num_steps += list.capacity != before;
    }
    EXPECT_EQ(list.content_size, 60000u);
    EXPECT_LE(num_steps, 16u) << "log2 of 60,000";
    EXPECT_LE(list.capacity, 2 * list.content_size + 22);
}

// ---- delivery ----

TEST(builder_delivery, assign_to_leaves_the_encoding_alone_in_the_string) {
    asn_tag_t_<16> node(asn_tag_t::INTEGER);
    add_content(node, from_hex("05"));
    for (const std::string& held : {std::string(), std::string("held"), std::string(1000, 'x')}) {
        std::string out = held;
        node.assign_to(out);
        EXPECT_TRUE(same_bytes(from_hex("02 01 05"), out));
    }
    EXPECT_TRUE(same_bytes(from_hex("02 01 05"), encoding_of(node))) << "reading out changes nothing";
    add_content(node, from_hex("06"));
    EXPECT_TRUE(same_bytes(from_hex("02 02 05 06"), assigned(node)));
}

// ---- elements whose content is at hand ----

// What nodes of their own, one inside the other, would encode; tags from the outermost on.
std::string as_nodes(std::initializer_list<asn_tag_t::Type> tags, const std::string& content) {
    std::string encoded = content;
    for (auto tag = std::rbegin(tags); tag != std::rend(tags); ++tag) {
        asn_tag_t_<16> node(*tag);
        add_content(node, encoded);
        encoded = encoding_of(node);
    }
    return encoded;
}

class builder_element : public testing::TestWithParam<unsigned int> {};

TEST_P(builder_element, adds_what_a_node_with_that_content_adds) {
    const std::string content = some_content(GetParam());
    const exact_bytes_t bytes(content);
    blob_t view;
    view.size = bytes.size();
    view.data = bytes.data();
    const std::string expected = as_nodes({asn_tag_t::SEQUENCE, asn_tag_t::OCTET_STRING}, content);

    asn_tag_t_<0> by_pointer(asn_tag_t::SEQUENCE);
    by_pointer.add_element(asn_tag_t::OCTET_STRING, bytes.data(), bytes.size());
    EXPECT_TRUE(same_bytes(expected, encoding_of(by_pointer)));
    EXPECT_EQ(by_pointer.capacity, by_pointer.content_size + 22) << "one step that fits exactly";
    asn_tag_t_<16> by_view(asn_tag_t::SEQUENCE);
    by_view.add_element(asn_tag_t::OCTET_STRING, view);
    EXPECT_TRUE(same_bytes(expected, encoding_of(by_view)));
    asn_tag_t_<128> by_text(asn_tag_t::SEQUENCE);
    by_text.add_element(asn_tag_t::OCTET_STRING, std::string_view(content));
    EXPECT_TRUE(same_bytes(expected, encoding_of(by_text)));
}

TEST_P(builder_element, nested_adds_what_two_nodes_add) {
    const exact_bytes_t bytes(some_content(GetParam()));
    asn_tag_t_<32> node(asn_tag_t::SEQUENCE);
    node.add_nested(asn_tag_t::CONTEXT_0, asn_tag_t::OCTET_STRING, bytes.data(), bytes.size());
    EXPECT_TRUE(same_bytes(
        as_nodes({asn_tag_t::SEQUENCE, asn_tag_t::CONTEXT_0, asn_tag_t::OCTET_STRING}, some_content(GetParam())),
        encoding_of(node)));
}

TEST_P(builder_element, wrapped_adds_a_node_inside_another) {
    asn_tag_t_<32> child(asn_tag_t::SEQUENCE);
    add_content(child, some_content(GetParam()));
    asn_tag_t_<32> node(asn_tag_t::SEQUENCE);
    node.add_wrapped(asn_tag_t::CONTEXT_0, child);
    EXPECT_TRUE(
        same_bytes(as_nodes({asn_tag_t::SEQUENCE, asn_tag_t::CONTEXT_0, asn_tag_t::SEQUENCE}, some_content(GetParam())),
                   encoding_of(node)));
}

INSTANTIATE_TEST_SUITE_P(sizes, builder_element,
                         testing::Values(0, 1, 123, 124, 125, 126, 127, 128, 250, 255, 256, 65530, 65535, 65536, 65791,
                                         65792));

TEST(builder_element, of_a_constant_is_added_whole) {
    static constexpr unsigned char OID[] = {0x55, 0x04, 0x00, 0x03};
    asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
    node.add_element(asn_tag_t::OBJECT_IDENTIFIER, OID);
    node.add_element(asn_tag_t::OBJECT_IDENTIFIER, asn_view_of(OID));
    EXPECT_TRUE(same_bytes(from_hex("30 0C 06 04 55 04 00 03 06 04 55 04 00 03"), encoding_of(node)));
}

TEST(builder_element, integer_has_the_content_that_asn_write_INTEGER_gives) {
    for (const unsigned int value : {0u, 1u, 127u, 128u, 2000u, 0x10080u, 0x80000000u, 0xFFFFFFFFu}) {
        std::string content;
        asn_write_INTEGER(value, content);
        asn_tag_t_<16> node(asn_tag_t::SEQUENCE);
        node.add_integer(value);
        EXPECT_TRUE(same_bytes(as_nodes({asn_tag_t::SEQUENCE, asn_tag_t::INTEGER}, content), encoding_of(node)));
    }
}

TEST(builder_reserve_estimate, is_a_reservation_if_a_node_can_hold_it) {
    asn_tag_t_<0> node(asn_tag_t::SEQUENCE);
    for (const unsigned long long n : {0xFFFFFFEAULL, 0xFFFFFFFFULL, 0x100000001ULL}) {
        EXPECT_NO_THROW(node.reserve_estimate(n));
        EXPECT_EQ(node.capacity, 0u);
    }
    node.reserve_estimate(1000);
    EXPECT_EQ(node.capacity, 1000u + 22);
    node.add_bytes(nullptr, 0);
    node.content_size = 10;
    EXPECT_NO_THROW(node.reserve_estimate(0xFFFFFFE9ULL - 9));
    EXPECT_EQ(node.capacity, 1000u + 22);
}

// ---- length octets ----

struct length_case_t {
    const char* name;
    unsigned int content_size;
    const char* header;
};

std::string header_for(unsigned int content_size) {
    unsigned char room[HEADER_ROOM];
    write_header_before(room + sizeof room, asn_tag_t::SEQUENCE, content_size);
    const unsigned int size = header_size(content_size);
    return std::string(as_chars(room + sizeof room - size, size));
}

class builder_length : public testing::TestWithParam<length_case_t> {};

TEST_P(builder_length, header) {
    EXPECT_TRUE(same_bytes(from_hex(GetParam().header), header_for(GetParam().content_size)));
}

const length_case_t DER_LENGTHS[] = {{"0", 0, "30 00"},
                                     {"127", 127, "30 7F"},
                                     {"128", 128, "30 81 80"},
                                     {"255", 255, "30 81 FF"},
                                     {"256", 256, "30 82 01 00"},
                                     {"0x1234", 0x1234, "30 82 12 34"},
                                     {"0xFF00", 0xFF00, "30 82 FF 00"},
                                     {"65535", 65535, "30 82 FF FF"},
                                     {"65792", 65792, "30 83 01 01 00"},
                                     {"0x1FFFF", 0x1FFFF, "30 83 01 FF FF"},
                                     {"0x123456", 0x123456, "30 83 12 34 56"},
                                     {"0xFFFFFF", 0xFFFFFF, "30 83 FF FF FF"},
                                     {"0x1010100", 0x01010100, "30 84 01 01 01 00"},
                                     {"0x12345678", 0x12345678, "30 84 12 34 56 78"},
                                     {"0x80808080", 0x80808080, "30 84 80 80 80 80"},
                                     {"largest", 0xFFFFFFE9, "30 84 FF FF FF E9"}};
INSTANTIATE_TEST_SUITE_P(as_DER, builder_length, testing::ValuesIn(DER_LENGTHS), case_name_t());

const length_case_t ONE_OCTET_LENGTHS[] = {{"65536", 65536, "30 81 00"},          {"65537", 65537, "30 81 01"},
                                           {"65663", 65536 + 127, "30 81 7F"},    {"65791", 65791, "30 81 FF"},
                                           {"0x20000", 0x20000, "30 81 00"},      {"0xFF00AB", 0xFF00AB, "30 81 AB"},
                                           {"0x1000000", 0x01000000, "30 81 00"}, {"0x1010000", 0x01010000, "30 81 00"},
                                           {"0xFFFF00FF", 0xFFFF00FF, "30 81 FF"}};
INSTANTIATE_TEST_SUITE_P(too_short_when_bits_8_to_15_are_zero, builder_length, testing::ValuesIn(ONE_OCTET_LENGTHS),
                         case_name_t());

const length_case_t TWO_OCTET_LENGTHS[] = {{"0x1000100", 0x01000100, "30 82 01 00"},
                                           {"0x10012FF", 0x010012FF, "30 82 12 FF"},
                                           {"0xFF00FFFF", 0xFF00FFFF, "30 82 FF FF"}};
INSTANTIATE_TEST_SUITE_P(too_short_when_bits_16_to_23_are_zero, builder_length, testing::ValuesIn(TWO_OCTET_LENGTHS),
                         case_name_t());

TEST(builder_length_octets, are_minimal_for_every_content_below_65536) {
    for (unsigned int size = 0; size < 65536; ++size) {
        ASSERT_TRUE(same_bytes(der_header(0x30, size), header_for(size))) << size;
    }
}

TEST(builder_length_octets, change_with_the_128th_and_the_256th_octet) {
    asn_tag_t_<300> node(asn_tag_t::OCTET_STRING);
    add_content(node, some_content(127));
    EXPECT_EQ(node.total_size, 129u);
    EXPECT_TRUE(same_bytes(from_hex("04 7F"), as_chars(node.encoding(), 2)));
    node.add_bytes("\x01", 1);
    EXPECT_EQ(node.total_size, 131u);
    EXPECT_TRUE(same_bytes(from_hex("04 81 80") + some_content(127) + '\x01', encoding_of(node)));
    add_content(node, some_content(127));
    EXPECT_EQ(node.total_size, 258u);
    node.add_bytes("\x02", 1);
    EXPECT_EQ(node.total_size, 260u);
    EXPECT_TRUE(same_bytes(from_hex("04 82 01 00") + some_content(127) + '\x01' + some_content(127) + '\x02',
                           encoding_of(node)));
}

TEST(builder_length_octets, of_a_delivered_element_past_65535) {
    asn_tag_t_<16> node(asn_tag_t::OCTET_STRING);
    const std::string content = some_content(65535);
    add_content(node, content);
    EXPECT_TRUE(assigned(node) == from_hex("04 82 FF FF") + content);
    node.add_bytes("\x01", 1);
    EXPECT_TRUE(assigned(node) == from_hex("04 81 00") + content + '\x01') << to_hex(assigned(node).substr(0, 6));
    EXPECT_EQ(node.total_size, 65536u + 3);
    const std::string more = some_content(256);
    add_content(node, more);
    EXPECT_TRUE(assigned(node) == from_hex("04 83 01 01 00") + content + '\x01' + more)
        << to_hex(assigned(node).substr(0, 6));
    asn_tag_t_<16> parent(asn_tag_t::SEQUENCE);
    parent.add_node(node);
    EXPECT_EQ(parent.content_size, 65792u + 5);
    EXPECT_TRUE(assigned(parent) == from_hex("30 83 01 01 05") + assigned(node));
}

// ---- the largest content ----

struct refusal_case_t {
    const char* name;
    unsigned int content_size;
    unsigned int appended;
};

class builder_refuses : public testing::TestWithParam<refusal_case_t> {};

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

TEST_P(builder_refuses, content_past_2_to_32_minus_23_before_anything_changes) {
    const unsigned int appended = GetParam().appended;
    claiming_node_t node(GetParam().content_size);
    node.expect_refusal([&](asn_tag_t_<16>& refusing) { refusing.add_bytes(nullptr, appended); });
    node.expect_refusal([&](asn_tag_t_<16>& refusing) { refusing.reserve(appended); });
    asn_tag_t_<16> child(asn_tag_t::NULL_VALUE);
    child.total_size = appended;
    child.content_size = appended - 2;
    node.expect_refusal([&](asn_tag_t_<16>& refusing) { refusing.add_node(child); });
    node.expect_refusal([&](asn_tag_t_<16>& refusing) { refusing.add_member(child); });
}

const refusal_case_t REFUSALS[] = {{"one_octet_more_than_the_largest", 0xFFFFFFE9, 1},
                                   {"a_few_octets", 0xFFFFFFE9 - 3, 4},
                                   {"one_append_to_an_empty_node", 0, 0xFFFFFFEA},
                                   {"largest_append_to_an_empty_node", 0, 0xFFFFFFFF},
                                   {"largest_append_to_one_octet", 1, 0xFFFFFFE9},
                                   {"sum_wraps_to_0", 0xFFFFFFE9, 23},
                                   {"sum_wraps_to_1", 2, 0xFFFFFFFF},
                                   {"sum_wraps_far", 0xFFFFFFE9, 0xFFFFFFFF},
                                   {"two_halves", 0x80000000, 0x80000000}};
INSTANTIATE_TEST_SUITE_P(, builder_refuses, testing::ValuesIn(REFUSALS), case_name_t());

TEST(builder_refusal, starts_right_behind_2_to_32_minus_23) {
    EXPECT_EQ(MAX_CONTENT_SIZE, 4294967296u - 23);
    asn_tag_t_<16> node(asn_tag_t::OCTET_STRING);
    node.capacity = 0xFFFFFFFF; // room enough: what is asked for is never allocated
    node.content_size = 0xFFFFFFE9 - 3;
    EXPECT_NO_THROW(node.reserve(3));
    EXPECT_THROW(node.reserve(4), std::bad_alloc);
    node.content_size = 0xFFFFFFE9;
    EXPECT_NO_THROW(node.add_bytes(nullptr, 0));
    EXPECT_EQ(node.total_size, 0xFFFFFFE9 + 6);
}

TEST(builder_refusal, of_an_element_whose_size_does_not_fit) {
    claiming_node_t node(2);
    const auto refuses = [&](std::size_t size) {
        const std::string_view claimed("x", size);
        node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_element(asn_tag_t::OCTET_STRING, claimed); });
    };
    refuses(std::size_t{0xFFFFFFE4});
    refuses(std::size_t{0xFFFFFFEA});
    refuses(static_cast<std::size_t>(-1));
    if (!IS_32_BIT) {
        const unsigned long long past_32_bits = 0x100000001; // would be 1 in 32 bits
        refuses(static_cast<std::size_t>(past_32_bits));
    }
    node.expect_refusal([&](asn_tag_t_<16>& n) { n.add_element(asn_tag_t::OCTET_STRING, "x", 0xFFFFFFFF); });
    for (const unsigned int size :
         {0xFFFFFFE0U, 0xFFFFFFFAU, 0xFFFFFFFFU}) { // with a header before it the last two wrap
        node.expect_refusal(
            [&](asn_tag_t_<16>& n) { n.add_nested(asn_tag_t::SET, asn_tag_t::OCTET_STRING, "x", size); });
    }
}

} // namespace
