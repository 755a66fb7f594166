// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/ConfigDocument.h"
#include "config/FileText.h"

#include <json/value.h>

#include <string>

/// Reading and parsing the configuration files.
namespace Quarncommon::config {

/// A place in a text; line and column start at 1, 0 is unknown.
struct TextPlace {
    unsigned int line = 0;
    /// Characters of UTF-8.
    unsigned int column = 0;
};

/// Returns where the JSON library refuses a text. Unknown if it does not say so.
/// @throws std::bad_alloc if memory runs out.
TextPlace faultIn(const FileText& text);

/// Reads the whole regular file and parses it into `value`, which is changed only if the result is
/// true.
///
/// Limits: a file of more than 1 GiB is refused unread, one that reports no size after 16 MiB, and
/// reading stops at the first NUL byte. Memory grows with what was read, not with the reported
/// size.
/// @throws std::bad_alloc if memory runs out, and what a JsonReader of the platform throws.
ReadResult readJsonFile(const std::string& path, Json::Value& value);

/// The same without building values: `document` answers from the text.
/// @param fault If not null, receives the place at which a malformed text fails. Finding it takes
///        longer than parsing.
ReadResult readJsonFile(const std::string& path, Document& document, TextPlace* fault = nullptr);

} // namespace Quarncommon::config
