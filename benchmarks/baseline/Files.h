#pragma once

#include <json/value.h>

#include <string>

namespace baseline {

/// Returns "" if the variable is unset.
std::string variable(const char* name);

/// Reads the whole file through stream-buffer iterators and parses it with jsoncpp's strict reader.
/// Returns false if the text is not valid; `value` is then as the reader left it.
bool readJsonFile(const std::string& path, Json::Value& value);

std::string lowerCased(const std::string& text);

} // namespace baseline
