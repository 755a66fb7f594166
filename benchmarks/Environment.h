#pragma once

#include <filesystem>
#include <string>

/// What a process of the deployment finds in its environment.
namespace bench {

/// Leads the library to a generated deployment, with change events switched off.
void enterDeployment(const std::filesystem::path& directory);

/// A variable that leads to a file which is not there, until the end of its scope.
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

/// The most memory that this process has had so far, in bytes.
long peakMemory();

} // namespace bench
