// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "config/ConfigDocument.h"
#include "config/FileText.h"

#include <json/value.h>

#include <string>

/// Reading and parsing the configuration files.
namespace Quarncommon::config {

/// Reads the whole regular file and parses it into `value`, which is changed only if the result is
/// true.
///
/// Limits: a file of more than 1 GiB is refused unread, one that reports no size after 16 MiB, and
/// reading stops at the first NUL byte. Memory grows with what was read, not with the reported
/// size.
/// @throws std::bad_alloc if memory runs out, and what a JsonReader of the platform throws.
ReadResult readJsonFile(const std::string& path, Json::Value& value);

/// The same without building values: `document` answers from the text.
ReadResult readJsonFile(const std::string& path, Document& document);

} // namespace Quarncommon::config
