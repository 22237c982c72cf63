// Where the sources are, for tests that read files of the tree.
#ifndef DERKIT_TESTING_SOURCE_TREE_H
#define DERKIT_TESTING_SOURCE_TREE_H

#include <filesystem>
#include <stdexcept>

// A compiler cache may have made the name of this file relative to the build tree, which the program lies in.
inline std::filesystem::path source_tree() {
    std::filesystem::path folder = std::filesystem::canonical("/proc/self/exe");
    do {
        folder = folder.parent_path();
        const std::filesystem::path file = folder / __FILE__; // __FILE__ itself when that is absolute
        if (std::filesystem::exists(file)) {
            return std::filesystem::canonical(file).parent_path().parent_path();
        }
    } while (folder != folder.root_path());
    throw std::runtime_error("no source tree");
}

#endif
