// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// Reads a text with JsonReader and with JsonDocument and calls every query of every value of both.
/// Returns the first difference in what they accept, return or throw; "" if there is none.
std::string documentDifference(std::string_view text);
