// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;

support::Command live(std::vector<std::string> arguments) {
    support::Command command = tool::sysconfctl(std::move(arguments));
    command.variable("LD_LIBRARY_PATH", fs::path(SYSCONF_EVENT_LIBRARY).parent_path().string());
    return command;
}

std::vector<Json::Value> changesOf(const std::string& query, const std::string& output) {
    std::vector<Json::Value> found;
    for (const std::string& line : tool::linesOf(output)) {
        const Json::Value object = tool::parsed(line);
        if (object["kind"] == "change" && object["query"] == query) {
            found.push_back(object);
        }
    }
    return found;
}

TEST(WatchLive, LoadedAnswerChanges_IsShownOnceWithOldAndNew) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = live({"watch", "-o", "json"}).start();
    running.waitForErrors("subscribed to changes through " SYSCONF_EVENT_LIBRARY "\"}\n");
    running.waitForOutput("all-db-info");
    support::writeGeneration(deployment, 2);
    running.waitForOutput(R"("new":{"answered":true,"value":"10.2.0.1"})");
    support::writeGeneration(deployment, 3);
    running.waitForOutput(R"("new":{"answered":true,"value":"10.3.0.1"})");
    running.signal(SIGTERM);
    const auto result = running.finish();
    EXPECT_EQ(result.exitStatus, 0);
    const auto found = changesOf("maintenance-ip-address", result.output);
    ASSERT_EQ(found.size(), 2U) << result.output;
    EXPECT_EQ(found[0]["old"]["value"], "10.1.0.1");
    EXPECT_EQ(found[0]["new"]["value"], "10.2.0.1");
    EXPECT_EQ(found[1]["old"]["value"], "10.2.0.1");
    EXPECT_EQ(found[1]["new"]["value"], "10.3.0.1");
}

TEST(WatchLive, Text_ShowsTheChangeBelowItsTime) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running = live({"watch"}).start();
    running.waitForOutput("all-db-info");
    support::writeGeneration(deployment, 2);
    running.waitForOutput("Z  maintenance-ip-address\n  - 10.1.0.1\n  + 10.2.0.1\n");
    running.signal(SIGINT);
    EXPECT_EQ(running.finish().exitStatus, 0);
}

TEST(WatchLive, FailoverOfTheSamplePair_StandbyAnswersForTheMaster) {
    const fs::path copy = support::testDirectory() / "ha-pair";
    fs::copy(tool::samplesDirectory() / "ha-pair", copy, fs::copy_options::recursive);
    const fs::path list = copy / "node-2/etc/sysconf/nodelist.json";
    const std::string carried = tool::readFile(list);
    std::string elsewhere = carried;
    const std::string address = "\"127.0.0.1\"";
    ASSERT_NE(elsewhere.find(address), std::string::npos);
    elsewhere.replace(elsewhere.find(address), address.size(), "\"198.51.100.61\"");
    support::writeFile(list, elsewhere);
    support::RunningCommand running =
        live({"watch", "--env-file", (copy / "standby.env").string()}).start();
    running.waitForOutput("db-lib");
    support::writeFile(list, carried);
    running.waitForOutput("Z  float-node-id\n  - node-2\n  + node-1\n");
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().exitStatus, 0);
}

} // namespace
