// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace support {

/// Null unsets the variable.
void setEnvironment(const char* variable, const char* value);

/// Replaces the file by rename. Creates the folder if necessary.
void writeFile(const std::filesystem::path& path, const std::string& text);

/// Is in the test's directory. The constructor sets the environment, id "p1", but writes no file.
class Deployment {
public:
    Deployment();

    Deployment& appConfig(const std::string& text);
    Deployment& nodeList(const std::string& text);
    Deployment& managerNodeList(const std::string& text);

    std::filesystem::path appConfigPath() const { return m_root / "app.json"; }
    std::filesystem::path appRoot() const { return m_root / "app"; }
    std::filesystem::path managerRoot() const { return m_root / "tolm"; }
    std::filesystem::path nodeListPath() const { return appRoot() / "etc/sysconf/nodelist.json"; }
    std::filesystem::path managerNodeListPath() const {
        return managerRoot() / "etc/sysconf/nodelists.json";
    }

private:
    std::filesystem::path m_root;
};

} // namespace support
