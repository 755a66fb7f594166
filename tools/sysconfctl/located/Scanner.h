#pragma once

#include "located/Document.h"

namespace sysconfctl::located {

/// Reads a text into `root`, as far as it goes; the error that ended the reading, if any.
std::optional<SyntaxError> scan(std::string_view text, Limits limits, Value& root);

} // namespace sysconfctl::located
