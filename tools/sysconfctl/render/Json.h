#pragma once

#include "query/Reply.h"

#include <json/value.h>

#include <string>
#include <vector>

namespace sysconfctl {

/// Grows when a member of the tool's JSON output is renamed, removed or changes its meaning.
inline constexpr int kSchemaVersion = 1;

/// JSON on one line, or indented with a line end behind it. ASCII without control characters:
/// everything else is escaped.
std::string compactJson(const Json::Value& value);
std::string indentedJson(const Json::Value& value);

/// {"query", "operation", "arguments", "answered", "value"}, with "masked" when it is, and "error"
/// for what the library threw. No answer has the value null, a list is an array, a map an object.
Json::Value toJson(const Reply& reply);

/// {"schemaVersion", "answers": [...]}
Json::Value toJson(const std::vector<Reply>& replies);

/// {"schemaVersion", "queries": [{"name", "operation", "section", "help", "arguments": [...]}]}
Json::Value toJson(const std::vector<Query>& queries);

} // namespace sysconfctl
