#pragma once

#include "Sysconfctl.h"

#include <string>

namespace tool {

/// Expects that the command on that view ends so and writes what the file of that name under
/// golden/ says, paths of the samples written as "@SAMPLES@".
void expectGolden(const View& view, const std::vector<std::string>& arguments, int exitStatus,
                  const std::string& name);

} // namespace tool
