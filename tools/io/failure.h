// Errors that end the work on one input.
#ifndef DERKIT_TOOLS_IO_FAILURE_H
#define DERKIT_TOOLS_IO_FAILURE_H

#include <stdexcept>
#include <string>

// An input that cannot be used: which one (a file, an argument), and what is wrong with it.
struct failure_t : std::runtime_error {
    std::string subject;

    failure_t(const std::string& what_failed, const std::string& problem)
        : std::runtime_error(problem), subject(what_failed) {}
};

#endif
