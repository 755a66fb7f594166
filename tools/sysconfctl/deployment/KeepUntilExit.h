// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <utility>

namespace sysconfctl {

/// Makes a value in storage that is never freed. The process ends soon, and freeing the trees of
/// large node lists would take up to a third of a command's run time.
template <typename Value, typename... Arguments>
Value& makeUntilExit(Arguments&&... arguments) {
    static auto& kept = *new std::deque<Value>;
    return kept.emplace_back(std::forward<Arguments>(arguments)...);
}

/// Moves the value there.
template <typename Value>
Value& keepUntilExit(Value value) {
    return makeUntilExit<Value>(std::move(value));
}

} // namespace sysconfctl
