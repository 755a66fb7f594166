// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Sysconfctl.h"

#include <string>

namespace tool {

/// Expects the text of the file in golden/. With SYSCONF_RENEW_GOLDEN=1 it writes the file instead
/// and fails, because a new file must be reviewed first.
void expectGoldenText(const std::string& text, const std::string& name);

/// "@SAMPLES@" in the file means the path of the samples.
void expectGolden(const View& view, const std::vector<std::string>& arguments, int exitStatus,
                  const std::string& name);

} // namespace tool
