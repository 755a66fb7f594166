// SPDX-License-Identifier: Apache-2.0
#include "Environment.h"

#include "generator/Deployment.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

void enterDeployment(const std::filesystem::path& directory) {
    const std::filesystem::path root = std::filesystem::absolute(directory);
    for (const char* file :
         {generator::kAppConfigFile, generator::kNodeListFile, generator::kManagerNodeListFile}) {
        if (!std::filesystem::is_regular_file(root / file)) {
            throw std::runtime_error("no deployment: " + (root / file).string());
        }
    }
    ::setenv("APP_CONF_FILE", (root / generator::kAppConfigFile).c_str(), 1);
    ::setenv("PROCESS_INSTANCE_ID", generator::kInstanceId, 1);
    ::setenv("APP_ROOT", root.c_str(), 1);
    ::setenv("TOLM_ROOT", root.c_str(), 1);
    ::setenv("NO_EM_CLIENT", "1", 1);
}

HiddenVariable::HiddenVariable(const char* name) : m_name(name), m_value(std::getenv(name)) {
    ::setenv(name, "/dev/null/nothing", 1);
}

HiddenVariable::~HiddenVariable() {
    ::setenv(m_name, m_value.c_str(), 1);
}

long peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stol(line.substr(6)) * 1024;
        }
    }
    throw std::runtime_error("no VmHWM in /proc/self/status");
}

} // namespace bench
