// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/ConfigDocument.h"
#include "config/FileText.h"

#include <json/value.h>

#include <cstddef>
#include <string>

namespace Quarncommon::config {

/// Line and column start at 1, 0 is unknown.
struct TextPlace {
    unsigned int line = 0;
    /// Characters of UTF-8.
    unsigned int column = 0;
};

/// Unknown for an offset beyond the end of the text.
TextPlace placeOf(std::size_t offset, const FileText& text);

/// Reads the whole regular file and parses it into `value`, which is changed only if the result is
/// true. docs/security-model.md has the limits.
/// @throws std::bad_alloc if memory runs out, and what a JsonReader of the platform throws.
ReadResult readJsonFile(const std::string& path, Json::Value& value);

/// The same without building values. `fault`, if not null, gets the place where the JSON library
/// refuses a malformed text, if it reports it.
ReadResult readJsonFile(const std::string& path, Document& document, TextPlace* fault = nullptr);

} // namespace Quarncommon::config
