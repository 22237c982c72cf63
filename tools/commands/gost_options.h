// Options of the commands that read keys and containers.
#ifndef DERKIT_TOOLS_COMMANDS_GOST_OPTIONS_H
#define DERKIT_TOOLS_COMMANDS_GOST_OPTIONS_H

#include <string>

#include "commands/command_line.h"
#include "derkit/gost/limits.h"

namespace gost = derkit::gost;

// --max-iterations N: what one run may cost.
class iterations_option_t {
  public:
    void add_to(command_t& command);

    // Also the first step towards cryptography, which is started here. Throws usage_error_t.
    gost::limits limits() const;

  private:
    std::string iterations_;
};

// The same with --max-bags N and --accept-unverified.
class container_options_t {
  public:
    void add_to(command_t& command);
    gost::open_options get() const;

  private:
    iterations_option_t iterations_;
    std::string bags_;
    bool accept_unverified_ = false;
};

#endif
