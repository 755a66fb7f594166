#pragma once

#include "Sysconfctl.h"

#include <string>

namespace tool {

/// Expects the exit status, and that the output equals the file of that name in golden/, in which
/// "@SAMPLES@" is the path of the samples.
void expectGolden(const View& view, const std::vector<std::string>& arguments, int exitStatus,
                  const std::string& name);

} // namespace tool
