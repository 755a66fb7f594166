// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace bench {

void enterDeployment(const std::filesystem::path& directory);

/// Sets a variable to the path of a missing file until the end of the scope.
class HiddenVariable {
public:
    explicit HiddenVariable(const char* name);
    HiddenVariable(const HiddenVariable&) = delete;
    HiddenVariable& operator=(const HiddenVariable&) = delete;
    ~HiddenVariable();

private:
    const char* m_name;
    std::string m_value;
};

/// In bytes.
long peakMemory();

} // namespace bench
