// The shared library as a plugin: loaded and unloaded again and again, and used while another library is loaded. The
// environment names the folder of its configuration file, and keeps the C library from counting free blocks as used.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "first_use.h"

namespace {

constexpr int NUM_LOADS = 100;
constexpr int NUM_FIRST_LOADS = 50; // what the dynamic linker and the C library keep is there afterwards

class library_t {
  public:
    explicit library_t(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle_, nullptr) << dlerror();
    }
    ~library_t() { EXPECT_EQ(dlclose(handle_), 0) << dlerror(); }
    library_t(const library_t&) = delete;
    library_t& operator=(const library_t&) = delete;

    template <typename SYMBOL> SYMBOL* find(const char* name) const {
        void* const symbol = dlsym(handle_, name);
        EXPECT_NE(symbol, nullptr) << name;
        return reinterpret_cast<SYMBOL*>(symbol);
    }

  private:
    void* const handle_;
};

bool is_loaded(const char* path) {
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

// Loads the library, finds the configuration file's entry and unloads it.
void use_once() {
    const library_t library(LOAD_LIBRARY);
    const auto* const map = library.find<const oid_map_handle_t>("OID_MAP_HANDLE_DEFAULT_FILE");
    const auto find = library.find<decltype(oid_map_find_sn)>("_Z15oid_map_find_sn16oid_map_handle_tPKcj");
    const OIDdescr_t* const entry = find(*map, "foo", 3);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->oid_str, "1.2.3");
}

// Resources of the process of which loading must not use up any.
struct belongings_t {
    std::size_t num_heap_bytes = 0; // 0 under a sanitizer, which looks for leaks by itself
    std::ptrdiff_t num_descriptors = 0;
    int num_mappings = 0;
};

// Mappings of files alone: a sanitizer's own change all the time.
int count_mappings() {
    std::ifstream in("/proc/self/maps");
    int count = 0;
    for (std::string mapping; std::getline(in, mapping);) {
        count += mapping.find('/') == std::string::npos ? 0 : 1;
    }
    return count;
}

belongings_t count_belongings() {
    belongings_t belongings;
    const struct mallinfo2 heap = mallinfo2();
    belongings.num_heap_bytes = heap.uordblks + heap.hblkhd;
    belongings.num_descriptors = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    belongings.num_mappings = count_mappings();
    return belongings;
}

TEST(load, a_hundred_times_leaks_nothing) {
    for (int i = 0; i < NUM_FIRST_LOADS; ++i) {
        use_once();
    }
    const belongings_t before = count_belongings();
    for (int i = 0; i < NUM_LOADS; ++i) {
        use_once();
        ASSERT_FALSE(is_loaded(LOAD_LIBRARY)) << "so nothing of it was tested";
    }
    const belongings_t after = count_belongings();
    EXPECT_EQ(after.num_descriptors, before.num_descriptors);
    EXPECT_EQ(after.num_mappings, before.num_mappings);
    EXPECT_EQ(after.num_heap_bytes, before.num_heap_bytes);
}

TEST(load, a_constructor_of_a_library_that_needs_it_finds_it_complete) {
    ASSERT_FALSE(is_loaded(LOAD_LIBRARY));
    const library_t client(LOAD_CLIENT);
    EXPECT_STREQ(client.find<const char*()>("what_the_constructor_saw")(), FIRST_USE_EXPECTED);
}

TEST(load, a_constructor_of_a_library_that_is_loaded_after_it_finds_it_complete) {
    const library_t library(LOAD_LIBRARY);
    const library_t client(LOAD_CLIENT);
    EXPECT_STREQ(client.find<const char*()>("what_the_constructor_saw")(), FIRST_USE_EXPECTED);
}

TEST(load, another_library_may_be_unloaded_after_it) {
    auto library = std::make_unique<library_t>(LOAD_LIBRARY);
    const library_t client(LOAD_CLIENT);
    library.reset();
    EXPECT_STREQ(client.find<const char*()>("what_the_constructor_saw")(), FIRST_USE_EXPECTED);
    EXPECT_TRUE(is_loaded(LOAD_LIBRARY)) << "the client needs it";
}

} // namespace
