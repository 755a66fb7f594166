#pragma once

#include <string>

/// The library's three files in a folder of this process's own, and the environment that leads to
/// them. The folder is made on first use, where `TMPDIR` says, and removed when the process exits.
namespace files {

/// What a deployment consists of.
struct Texts {
    std::string appConfig;
    std::string nodeList;
    std::string managerNodeList;
};

/// The process that the environment speaks of.
inline constexpr const char* kInstanceId = "p1";

/// Replaces the contents of the files.
void write(const Texts& texts);

/// Sets all variables to lead to the files, for the process "p1", without events.
void setEnvironment();

} // namespace files
