// SPDX-License-Identifier: Apache-2.0
#include "follow/VersionCheck.h"
#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <json/writer.h>

namespace {

using namespace sysconfsync;
namespace fs = std::filesystem;

TEST(VersionCheck, FilesThatCannotBothExist_AreReported) {
    for (const char* path : {".version", "etc", "etc/app.json/a"}) {
        const Json::Value faults = pathFaults({{path, ""}, {"etc/app.json", ""}});
        ASSERT_EQ(faults.size(), 1U) << path << faults;
        EXPECT_EQ(faults[0]["name"].asString(), "path");
    }
}

TEST(VersionCheck, OrdinaryPaths_AreAccepted) {
    EXPECT_EQ(pathFaults({{"etc/app.json", ""}, {"etc.json", ""}, {"etc/.version", ""}}).size(),
              0U);
}

class CheckedVersion : public testing::Test {
protected:
    const fs::path m_folder = support::testDirectory() / "version";

    void write(const std::string& path, const std::string& text) const {
        support::writeFile(m_folder / path, text);
    }

    /// A standby and two masters with a service address each.
    void writeStandby() const {
        write("app.json", R"({"processes": {"p": {"nodeId": "c"}},
                              "databases": {"db": [{"type": "t", "user": "u", "accessHost": "192.0.2.9",
                                                    "accessPort": 1}]}})");
        write("etc/sysconf/nodelist.json", R"({"nodeList": {
            "a": {"extAttr": {"hostType": "master"},
                  "IPAddresses": [{"IP": "192.0.2.1", "usage": ["service"]}]},
            "b": {"extAttr": {"hostType": "master"},
                  "IPAddresses": [{"IP": "192.0.2.2", "usage": ["service"]}]},
            "c": {"extAttr": {"hostType": "standby"},
                  "IPAddresses": [{"IP": "192.0.2.3", "usage": ["maintenance"]}]}}})");
    }
};

TEST_F(CheckedVersion, SoundFiles_NoErrors) {
    writeStandby();
    const CheckOutcome outcome = checkVersion(m_folder, {"192.0.2.1"});
    EXPECT_EQ(outcome.errors.size(), 0U) << outcome.errors;
    EXPECT_FALSE(outcome.dependsOnHost);
}

TEST_F(CheckedVersion, HostWithTwoServiceAddresses_ErrorDependsOnTheHost) {
    writeStandby();
    const CheckOutcome outcome = checkVersion(m_folder, {"192.0.2.1", "192.0.2.2"});
    ASSERT_EQ(outcome.errors.size(), 1U) << outcome.errors;
    EXPECT_EQ(outcome.errors[0]["name"].asString(), "several-sources");
    EXPECT_TRUE(outcome.dependsOnHost);
}

TEST_F(CheckedVersion, MalformedFile_FindingHasThePlaceInTheVersion) {
    writeStandby();
    write("etc/app.json", "{\n  \"processes\": {,}}");
    const CheckOutcome outcome = checkVersion(m_folder, {});
    ASSERT_EQ(outcome.errors.size(), 1U) << outcome.errors;
    EXPECT_EQ(outcome.errors[0]["name"], "syntax");
    EXPECT_EQ(outcome.errors[0]["file"], "etc/app.json");
    EXPECT_EQ(outcome.errors[0]["line"].asInt(), 2);
    EXPECT_FALSE(outcome.dependsOnHost);
}

TEST_F(CheckedVersion, NoKnownFile_IsAnError) {
    write("readme.txt", "");
    const CheckOutcome outcome = checkVersion(m_folder, {});
    ASSERT_EQ(outcome.errors.size(), 1U);
    EXPECT_EQ(outcome.errors[0]["name"], "no-file");
}

} // namespace
