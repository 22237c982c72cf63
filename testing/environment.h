// Sets an environment variable for the lifetime of the object.
#ifndef DERKIT_TESTING_ENVIRONMENT_H
#define DERKIT_TESTING_ENVIRONMENT_H

#include <cstdlib>
#include <optional>
#include <string>

class environment_variable_t {
  public:
    environment_variable_t(const char* name, const char* value) : name_(name) {
        const char* const previous = std::getenv(name);
        if (previous != nullptr) {
            previous_ = previous;
        }
        setenv(name, value, 1);
    }
    ~environment_variable_t() {
        if (previous_) {
            setenv(name_, previous_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    environment_variable_t(const environment_variable_t&) = delete;
    environment_variable_t& operator=(const environment_variable_t&) = delete;

  private:
    const char* name_;
    std::optional<std::string> previous_;
};

#endif
