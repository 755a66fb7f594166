// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace sysconfctl {

/// An invalid request of the user. The message is shown to the user; values in it are quoted.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace sysconfctl
