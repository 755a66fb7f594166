#pragma once

#include <stdexcept>

namespace sysconfctl {

/// What the caller asked for cannot be asked; the message is meant for them.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace sysconfctl
