// SPDX-License-Identifier: Apache-2.0
#include "config/ConfigFiles.h"

#include <cstdlib>

namespace Quarncommon::config {

std::string environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}

std::string pathOf(const ConfigFile& file) {
    return environment(file.variable) + file.suffix;
}

std::optional<std::string> pathIfSet(const ConfigFile& file) {
    const char* value = std::getenv(file.variable);
    return value != nullptr ? std::optional<std::string>(std::string(value) + file.suffix)
                            : std::nullopt;
}

} // namespace Quarncommon::config
