#pragma once

#include "query/Answer.h"

#include <string>
#include <vector>

namespace sysconfctl {

/// The answer as bare lines for scripts, escaped: a text or number is one line, a list has one
/// item a line, a map one key a line with its texts behind a tab each, JSON is one line. No lines
/// for no answer.
std::vector<std::string> plainLines(const Answer& answer);

} // namespace sysconfctl
