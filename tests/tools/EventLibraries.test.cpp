// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::filesystem::path logFile() {
    return support::testDirectory() / "events.log";
}

support::Command besideEventLibrary(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--env-file", tool::kMaster.envFile().string()});
    support::Command command = tool::sysconfctl(std::move(arguments));
    const std::filesystem::path library = SYSCONF_LOGGING_EVENT_LIBRARY;
    command.variable("LD_LIBRARY_PATH", library.parent_path().string());
    command.variable("EVENT_LOG", logFile().string());
    return command;
}

TEST(EventLibraries, CommandThatAsks_SubscribesOnceAndUnsubscribesBeforeItEnds) {
    for (const char* command : {"show", "get"}) {
        std::vector<std::string> arguments = {command};
        if (arguments.front() == "get") {
            arguments.push_back("local-port");
        }
        EXPECT_EQ(besideEventLibrary(arguments).run().exitStatus, 0);
        EXPECT_EQ(tool::readFile(logFile()), "init\nfini\n") << command;
        std::filesystem::remove(logFile());
    }
}

TEST(EventLibraries, EventsSwitchedOffInTheEnvironment_NoSubscription) {
    EXPECT_EQ(besideEventLibrary({"get", "local-port", "--set", "NO_EM_CLIENT=1"}).run().exitStatus,
              0);
    EXPECT_FALSE(std::filesystem::exists(logFile()));
}

TEST(EventLibraries, LibraryThatThrows_GetReportsItEscapedAndExitsWith3) {
    const auto result =
        besideEventLibrary({"get", "local-port"}).variable("EVENT_THROWS", "1").run();
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "sysconfctl: local-port: the library threw: the broker \\x1b[31mis gone\n");
}

TEST(EventLibraries, LibraryThatThrows_GetAsJsonHoldsTheError) {
    const auto result =
        besideEventLibrary({"get", "local-port", "-o", "json"}).variable("EVENT_THROWS", "1").run();
    EXPECT_EQ(result.exitStatus, 3);
    const Json::Value reply = tool::parsed(result.output);
    EXPECT_EQ(reply["error"], "the broker \033[31mis gone");
    EXPECT_FALSE(reply["answered"].asBool());
    EXPECT_TRUE(reply["value"].isNull());
}

TEST(EventLibraries, LibraryThatThrows_ShowReportsItForEveryQueryAndExitsWith3) {
    const auto result = besideEventLibrary({"show"}).variable("EVENT_THROWS", "1").run();
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.output, HasSubstr("local-port"));
    EXPECT_THAT(result.output, HasSubstr("error: the broker \\x1b[31mis gone"));
    EXPECT_THAT(result.output + result.errors, Not(HasSubstr("\033")));
    EXPECT_THAT(result.errors, HasSubstr("sysconfctl: all-db-info: the library threw: "));
}

} // namespace
