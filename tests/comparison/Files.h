// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// The library's three files in a folder of this process. The folder is created in `TMPDIR` on
/// first use and removed when the process exits.
namespace files {

struct Texts {
    std::string appConfig;
    std::string nodeList;
    std::string managerNodeList;
};

inline constexpr const char* kInstanceId = "p1";

void write(const Texts& texts);

void setEnvironment();

} // namespace files
