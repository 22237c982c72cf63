// Wipes all memory that C++ frees, here and in the libraries: what a string leaves behind when it grows, what a builder
// or a parser held. Types that hold keys and passwords wipe themselves as well.
#include <cstdlib>
#include <cstring>
#include <new>

#include <malloc.h>

void* operator new(std::size_t size) {
    for (;;) {
        if (void* const block = std::malloc(size != 0 ? size : 1)) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}

void operator delete(void* block) noexcept {
    if (block != nullptr) {
        explicit_bzero(block, malloc_usable_size(block));
        std::free(block);
    }
}

void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
