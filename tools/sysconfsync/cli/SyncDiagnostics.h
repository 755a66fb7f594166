// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/Diagnostics.h"

#include <string_view>

namespace sysconfctl::diagnostic {

inline constexpr std::string_view kStore = "store";
inline constexpr std::string_view kInterrupted = "interrupted";
inline constexpr std::string_view kRefused = "refused";
/// A notice: the version is published, but a step after that failed.
inline constexpr std::string_view kIncomplete = "incomplete";
inline constexpr std::string_view kNotPublished = "not-published";

} // namespace sysconfctl::diagnostic
