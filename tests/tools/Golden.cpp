#include "Golden.h"

#include <gtest/gtest.h>

namespace tool {

void expectGolden(const View& view, const std::vector<std::string>& arguments, int exitStatus,
                  const std::string& name) {
    const auto result = run(view, arguments);
    EXPECT_EQ(result.exitStatus, exitStatus) << name << '\n' << result.errors;
    std::string text = result.output;
    const std::string folder = samplesDirectory().string();
    for (std::size_t at = 0; (at = text.find(folder, at)) != std::string::npos;) {
        text.replace(at, folder.size(), "@SAMPLES@");
    }
    EXPECT_EQ(text, readFile(sourceDirectory() / "tests/tools/golden" / name)) << name;
}

} // namespace tool
