// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/Diagnostics.h"

#include <string_view>

namespace sysconfctl::diagnostic {

inline constexpr std::string_view kStore = "store";
inline constexpr std::string_view kInterrupted = "interrupted";
inline constexpr std::string_view kRefused = "refused";
inline constexpr std::string_view kNotPublished = "not-published";

} // namespace sysconfctl::diagnostic
