// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// Calls every query of every value of JsonReader and JsonDocument. Returns the first difference in
/// what they accept, return or throw; "" if there is none.
std::string documentDifference(std::string_view text);
