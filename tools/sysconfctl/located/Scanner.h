// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "located/Document.h"

namespace sysconfctl::located {

/// Parses a text into `root`, up to the first error, which is returned.
std::optional<SyntaxError> scan(std::string_view text, Limits limits, Value& root);

} // namespace sysconfctl::located
