// SPDX-License-Identifier: Apache-2.0
#include "support/Deployment.h"

#include "support/TestDirectory.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace support {

void setEnvironment(const char* variable, const char* value) {
    if (value != nullptr) {
        ::setenv(variable, value, 1);
    } else {
        ::unsetenv(variable);
    }
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    const std::filesystem::path next = path.string() + ".next";
    {
        std::ofstream file(next, std::ios::binary | std::ios::trunc);
        file << text;
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + next.string());
        }
    }
    std::filesystem::rename(next, path);
}

Deployment::Deployment() : m_root(testDirectory()) {
    setEnvironment("APP_CONF_FILE", appConfigPath().c_str());
    setEnvironment("PROCESS_INSTANCE_ID", "p1");
    setEnvironment("APP_ROOT", appRoot().c_str());
    setEnvironment("TOLM_ROOT", managerRoot().c_str());
}

Deployment& Deployment::appConfig(const std::string& text) {
    writeFile(appConfigPath(), text);
    return *this;
}

Deployment& Deployment::nodeList(const std::string& text) {
    writeFile(nodeListPath(), text);
    return *this;
}

Deployment& Deployment::managerNodeList(const std::string& text) {
    writeFile(managerNodeListPath(), text);
    return *this;
}

} // namespace support
