#pragma once

#include <string>
#include <string_view>

/// Reads a text with JsonReader and with JsonDocument and puts every question to every value of
/// both. Tells the first difference in what they accept, answer or throw; "" when there is none.
std::string documentDifference(std::string_view text);
