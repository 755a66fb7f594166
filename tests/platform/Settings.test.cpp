// SPDX-License-Identifier: Apache-2.0
#include "Settings.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using eventcbutil::settingsFromEnvironment;
using support::setEnvironment;
using testing::ElementsAre;

TEST(Settings, Files_AreNamedByTheEnvironment) {
    setEnvironment("APP_CONF_FILE", "/conf/app.json");
    setEnvironment("APP_ROOT", "/app/");
    setEnvironment("TOLM_ROOT", "/tolm");
    EXPECT_THAT(settingsFromEnvironment().files,
                ElementsAre("/conf/app.json", "/app//etc/sysconf/nodelist.json",
                            "/tolm/etc/sysconf/nodelists.json"));
}

TEST(Settings, NothingSet_ListsAtTheRootAndNoAppConfig) {
    EXPECT_THAT(settingsFromEnvironment().files,
                ElementsAre("/etc/sysconf/nodelist.json", "/etc/sysconf/nodelists.json"));
}

TEST(Settings, RelativePaths_StartAtTheWorkingDirectory) {
    std::filesystem::current_path(support::testDirectory());
    const std::string here = std::filesystem::current_path().string();
    setEnvironment("APP_CONF_FILE", "app.json");
    setEnvironment("APP_ROOT", "app");
    setEnvironment("TOLM_ROOT", "../tolm");
    EXPECT_THAT(settingsFromEnvironment().files,
                ElementsAre(here + "/app.json", here + "/app/etc/sysconf/nodelist.json",
                            here + "/../tolm/etc/sysconf/nodelists.json"));
}

TEST(Settings, QuietTime_Is50MillisecondsUnlessANumberUpTo1000IsSet) {
    EXPECT_EQ(settingsFromEnvironment().quietTime, std::chrono::milliseconds(50));
    const std::pair<const char*, int> rows[] = {{"0", 0},     {"7", 7},   {"1000", 1000},
                                                {"1001", 50}, {"-1", 50}, {"", 50},
                                                {"7ms", 50},  {" 7", 50}, {"99999999999", 50}};
    for (const auto& [text, expected] : rows) {
        setEnvironment("SYSCONF_EVENT_QUIET_MS", text);
        EXPECT_EQ(settingsFromEnvironment().quietTime, std::chrono::milliseconds(expected))
            << '"' << text << '"';
    }
}

} // namespace
