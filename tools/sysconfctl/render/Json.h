// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Reply.h"

#include <json/value.h>

#include <string>
#include <vector>

namespace sysconfctl {

/// Incremented when a member of the tool's JSON output is renamed, removed or redefined.
inline constexpr int kSchemaVersion = 1;

/// JSON on one line, or indented with a line end. Everything but printable ASCII is escaped.
std::string compactJson(const Json::Value& value);
std::string indentedJson(const Json::Value& value);

/// {"query", "operation", "arguments", "answered", "value"}, and "masked" or "error" if they apply;
/// "error" is the message of the exception. The value is null for no answer, an array for a list,
/// an object for a map.
Json::Value toJson(const Reply& reply);

/// {"schemaVersion", "answers": [...]}
Json::Value toJson(const std::vector<Reply>& replies);

/// {"schemaVersion", "queries": [{"name", "operation", "section", "help", "arguments": [...]}]}
Json::Value toJson(const std::vector<Query>& queries);

} // namespace sysconfctl
