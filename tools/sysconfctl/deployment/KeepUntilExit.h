// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <utility>

namespace sysconfctl {

/// Moves the value to storage that is never freed. The process ends soon, and freeing the trees of
/// large node lists would take a sixth of a command's run time.
template <typename Value>
Value& keepUntilExit(Value value) {
    static auto& kept = *new std::deque<Value>;
    return kept.emplace_back(std::move(value));
}

} // namespace sysconfctl
