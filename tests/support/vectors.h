// Cases from files, with the place of each in the failures.
#ifndef DERKIT_TESTS_VECTORS_H
#define DERKIT_TESTS_VECTORS_H

#include <gtest/gtest.h>

#include <string>

#include "testing/vectors.h"

// Runs `check` on every case of tests/data/vectors/FILE.
template <typename CHECK> void for_each_vector(const std::string& file, CHECK check) {
    for (const vector_t& vector : read_vectors(file)) {
        SCOPED_TRACE(vector.where() + ": " + vector.field("case"));
        check(vector);
    }
}

#endif
