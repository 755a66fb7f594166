// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/ConfigDocument.h"
#include "config/FileText.h"

#include <json/value.h>

#include <string>

namespace Quarncommon::config {

/// Line and column start at 1, 0 is unknown.
struct TextPlace {
    unsigned int line = 0;
    /// Characters of UTF-8.
    unsigned int column = 0;
};

/// Returns where the JSON library stops reading a malformed text. Unknown if it does not report it.
/// @throws std::bad_alloc if memory runs out.
TextPlace faultIn(const FileText& text);

/// Reads the whole regular file and parses it into `value`, which is changed only if the result is
/// true. docs/security-model.md has the limits.
/// @throws std::bad_alloc if memory runs out, and what a JsonReader of the platform throws.
ReadResult readJsonFile(const std::string& path, Json::Value& value);

/// The same without building values. Finding the `fault`, if not null, takes longer than parsing.
ReadResult readJsonFile(const std::string& path, Document& document, TextPlace* fault = nullptr);

} // namespace Quarncommon::config
