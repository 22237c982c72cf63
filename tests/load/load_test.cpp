// The shared library as a plugin: loaded and unloaded again and again, used while another library is loaded, after a
// fork and until the process exits. The environment names the folder of its configuration file, and keeps the C library
// from counting free blocks as used.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "first_use.h"

namespace {

constexpr int NUM_LOADS = 100;
constexpr int NUM_THREADS = 8;
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

// Both ready-made maps, and how they are searched.
struct maps_t {
    oid_map_handle_t built_in;
    oid_map_handle_t with_file;
    decltype(oid_map_find_sn)* find;

    explicit maps_t(const library_t& library)
        : built_in(*library.find<const oid_map_handle_t>("OID_MAP_HANDLE_DEFAULT")),
          with_file(*library.find<const oid_map_handle_t>("OID_MAP_HANDLE_DEFAULT_FILE")),
          find(library.find<decltype(oid_map_find_sn)>("_Z15oid_map_find_sn16oid_map_handle_tPKcj")) {}

    // Whether each has what it should have, of the table and of the configuration file.
    bool are_complete() const {
        const OIDdescr_t* const name = find(built_in, "cn", 2);
        const OIDdescr_t* const foo = find(with_file, "foo", 3);
        return name != nullptr && name->oid_str == std::string_view("2.5.4.3") && foo != nullptr &&
               foo->oid_str == std::string_view("1.2.3") && foo->oid_ln == std::string_view("first use");
    }
};

void use_once() {
    const library_t library(LOAD_LIBRARY);
    EXPECT_TRUE(maps_t(library).are_complete());
}

constexpr int INCOMPLETE = 2;

int exit_status(const maps_t& maps) {
    return maps.are_complete() ? 0 : INCOMPLETE;
}

const maps_t* g_maps_at_exit = nullptr;

// An exit handler, as is the destructor of a static object.
void check_at_exit() {
    if (!g_maps_at_exit->are_complete()) {
        std::_Exit(INCOMPLETE);
    }
}

// Never returns: loads the library, which stays loaded, registers a handler and exits.
[[noreturn]] void use_while_exiting() {
    static const library_t* const library = new library_t(LOAD_LIBRARY);
    static const maps_t maps(*library);
    g_maps_at_exit = &maps;
    static_cast<void>(std::atexit(check_at_exit));
    std::exit(0);
}

// Never returns: each thread searches the maps until it is told to stop, then the process exits.
[[noreturn]] void exit_after_threads() {
    static const library_t* const library = new library_t(LOAD_LIBRARY);
    const maps_t maps(*library);
    std::atomic<bool> stop = false;
    std::atomic<int> num_at_work = 0;
    std::atomic<int> num_wrong = 0;
    std::vector<std::thread> threads(NUM_THREADS);
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (bool first = true; first || !stop; first = false) {
                num_wrong += maps.are_complete() ? 0 : 1;
                num_at_work += first ? 1 : 0;
            }
        });
    }
    while (num_at_work != NUM_THREADS) {
        std::this_thread::yield();
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::exit(num_wrong == 0 ? 0 : INCOMPLETE);
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

TEST(load, a_child_process_uses_the_maps_of_its_parent) {
    const library_t library(LOAD_LIBRARY);
    const maps_t maps(library);
    EXPECT_EXIT(std::_Exit(exit_status(maps)), testing::ExitedWithCode(0), "");
    EXPECT_TRUE(maps.are_complete()) << "the child took nothing away";
}

TEST(load, an_exit_handler_that_is_registered_after_it_finds_the_maps) {
    EXPECT_EXIT(use_while_exiting(), testing::ExitedWithCode(0), "");
}

TEST(load, a_process_exits_after_its_threads_have_stopped) {
    EXPECT_EXIT(exit_after_threads(), testing::ExitedWithCode(0), "");
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
