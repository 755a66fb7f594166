#pragma once

#include <json/value.h>

#include <string>

/// The steps that every straightforward query begins with.
namespace baseline {

/// The variable's value, "" when unset.
std::string variable(const char* name);

/// Reads the whole file through stream-buffer iterators and parses it with jsoncpp's own strict
/// reader. False, with `value` as the reader leaves it, when the text is not valid.
bool readJsonFile(const std::string& path, Json::Value& value);

std::string lowerCased(const std::string& text);

} // namespace baseline
