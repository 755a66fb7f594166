// SPDX-License-Identifier: Apache-2.0
#include "Golden.h"

#include "support/Deployment.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tool {

void expectGoldenText(const std::string& text, const std::string& name) {
    const std::filesystem::path path = sourceDirectory() / "tests/tools/golden" / name;
    if (std::getenv("SYSCONF_RENEW_GOLDEN") != nullptr) {
        support::writeFile(path, text);
        ADD_FAILURE() << name << " is written, not compared";
        return;
    }
    EXPECT_EQ(text, readFile(path)) << name;
}

void expectGolden(const View& view, const std::vector<std::string>& arguments, int exitStatus,
                  const std::string& name) {
    const auto result = run(view, arguments);
    EXPECT_EQ(result.exitStatus, exitStatus) << name << '\n' << result.errors;
    std::string text = result.output;
    const std::string folder = samplesDirectory().string();
    for (std::size_t at = 0; (at = text.find(folder, at)) != std::string::npos;) {
        text.replace(at, folder.size(), "@SAMPLES@");
    }
    expectGoldenText(text, name);
}

} // namespace tool
