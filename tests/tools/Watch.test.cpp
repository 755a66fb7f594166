// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

using ::testing::HasSubstr;

std::filesystem::path logFile() {
    return support::testDirectory() / "events.log";
}

support::Command watch(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"watch", "--env-file", tool::kMaster.envFile().string()});
    // The search path also contains the working directory.
    return tool::sysconfctl(std::move(arguments)).workingDirectory(support::testDirectory());
}

support::Command watchBesideEventLibrary(std::vector<std::string> arguments) {
    support::Command command = watch(std::move(arguments));
    const std::filesystem::path library = SYSCONF_LOGGING_EVENT_LIBRARY;
    command.variable("LD_LIBRARY_PATH", library.parent_path().string());
    command.variable("EVENT_LOG", logFile().string());
    return command;
}

/// Read after the initial answers were shown.
std::string errorsOf(const support::Command& command) {
    support::RunningCommand running = command.start();
    running.waitForOutput("db-lib");
    running.signal(SIGTERM);
    const auto result = running.finish();
    EXPECT_EQ(result.exitStatus, 0);
    return result.errors;
}

TEST(Watch, EachEndSignal_EndsBothSubscriptionsAndExitsWith0) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        support::RunningCommand running = watchBesideEventLibrary({}).start();
        running.waitForOutput("db-lib");
        EXPECT_EQ(tool::readFile(logFile()), "init\ninit\n");
        running.signal(signal);
        EXPECT_EQ(running.finish().exitStatus, 0);
        EXPECT_EQ(tool::readFile(logFile()), "init\ninit\nfini\nfini\n");
        std::filesystem::remove(logFile());
    }
}

TEST(Watch, Start_ShowsWhatShowShows) {
    support::RunningCommand running = watch({}).start();
    const std::string shown = tool::run(tool::kMaster, {"show"}).output;
    running.waitForOutput(shown + "\n");
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().output, shown + "\n");
}

TEST(Watch, Subscribed_ReportsTheFileOfTheLibrary) {
    EXPECT_EQ(errorsOf(watchBesideEventLibrary({})),
              "sysconfctl: subscribed to changes through " SYSCONF_LOGGING_EVENT_LIBRARY "\n");
}

TEST(Watch, NoEventLibrary_ReportsTheErrorOfTheLoader) {
    const std::string errors = errorsOf(watch({}));
    EXPECT_THAT(errors, HasSubstr("sysconfctl: not subscribed to changes: libeventcbutil.so: "));
}

TEST(Watch, EventsDisabled_ReportsTheVariable) {
    for (const std::string variable : {"NO_EM_CLIENT", "NO_EM_CLIENT_CONSUMER"}) {
        EXPECT_EQ(errorsOf(watchBesideEventLibrary({"--set", variable + "=0"})),
                  "sysconfctl: not subscribed to changes: " + variable + " is set\n");
        EXPECT_FALSE(std::filesystem::exists(logFile()));
    }
}

TEST(Watch, SubscriptionRefused_ReportsTheFileAndTheResult) {
    EXPECT_EQ(errorsOf(watchBesideEventLibrary({}).variable("EVENT_REFUSES", "1")),
              "sysconfctl: not subscribed to changes: " SYSCONF_LOGGING_EVENT_LIBRARY
              " refused the subscription with result -7\n");
}

TEST(Watch, LibraryThrows_ReportsItAndExitsWith3) {
    support::RunningCommand running =
        watchBesideEventLibrary({}).variable("EVENT_THROWS", "1").start();
    running.waitForOutput("all-db-info");
    running.signal(SIGTERM);
    const auto result = running.finish();
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.output, HasSubstr("error: the broker \\x1b[31mis gone"));
    EXPECT_THAT(result.errors,
                HasSubstr(SYSCONF_LOGGING_EVENT_LIBRARY " threw: the broker \\x1b[31mis gone\n"));
}

TEST(Watch, OutputClosed_EndsBySigpipeAfterItHasUnsubscribed) {
    const auto result = watchBesideEventLibrary({}).outputToClosedPipe().run();
    EXPECT_EQ(result.signal, SIGPIPE);
    EXPECT_EQ(tool::readFile(logFile()), "init\ninit\nfini\nfini\n");
}

TEST(Watch, EventLibraryThatHangs_DoesNotKeepItFromEnding) {
    for (const std::string call : {"init", "fini"}) {
        support::RunningCommand running =
            watchBesideEventLibrary({}).variable("EVENT_HANGS", call).start();
        if (call == "init") {
            running.waitForErrors("init hangs");
        } else {
            running.waitForOutput("db-lib");
        }
        running.signal(SIGTERM);
        EXPECT_EQ(running.finish().exitStatus, 0) << call;
    }
}

/// Answers that are read from a file on every call change without an event; loaded answers do not.
TEST(Watch, NoSubscription_StillShowsChangesOfTheFiles) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running =
        tool::sysconfctl({"watch", "-o", "json", "--set", "NO_EM_CLIENT=1"}).start();
    running.waitForOutput("all-db-info");
    support::writeGeneration(deployment, 2);
    running.waitForOutput("\"kind\":\"change\"");
    running.waitForOutput("getLocalSouthIP");
    running.signal(SIGINT);
    const auto result = running.finish();
    EXPECT_EQ(result.exitStatus, 0);
    for (const std::string& line : tool::linesOf(result.output)) {
        const Json::Value object = tool::parsed(line);
        EXPECT_TRUE(object["kind"] == "answer" || object["query"] != "maintenance-ip-address");
    }
}

TEST(Watch, SignalInheritedAsIgnored_DoesNotEndIt) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running =
        support::Command("/bin/sh", {"-c", "trap '' HUP; exec " SYSCONFCTL " watch local-south-ip"})
            .variable("NO_EM_CLIENT", "1")
            .start();
    running.waitForOutput("10.1.1.3");
    running.signal(SIGHUP);
    support::writeGeneration(deployment, 2);
    running.waitForOutput("10.2.1.3");
    running.signal(SIGTERM);
    EXPECT_EQ(running.finish().exitStatus, 0);
}

TEST(Watch, Queries_AreTheOnlyOnesShown) {
    support::RunningCommand running =
        watch({"-o", "plain", "db-type", "db-user-name alarms 0", "getLocalPort"}).start();
    running.waitForOutput("local-port");
    running.signal(SIGTERM);
    const auto lines = tool::linesOf(running.finish().output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr("\tdb-type alarms 0\t"));
    EXPECT_THAT(lines[1], HasSubstr("\tdb-user-name alarms 0\t"));
    EXPECT_THAT(lines[2], HasSubstr("\tlocal-port\t"));
}

TEST(Watch, FileThatNoLongerLoads_IsReportedWithItsPlaceEvenIfNoAnswerChanges) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    const auto started = [](const char* format) {
        return tool::sysconfctl({"watch", "local-port", "-o", format, "--set", "NO_EM_CLIENT=1"})
            .variable("COLUMNS", "1000") // keeps a cause on one line
            .start();
    };
    support::RunningCommand text = started("table");
    support::RunningCommand json = started("json");
    text.waitForOutput("local-port");
    json.waitForOutput("local-port");
    deployment.nodeList("{\n  \"nodeList\" {}}");
    text.waitForOutput("the node list no longer loads: ");
    text.waitForOutput(":2:14: a \":\" is expected");
    json.waitForOutput("\"name\":\"no-longer-loads\"");
    for (const auto* running : {&text, &json}) {
        running->signal(SIGTERM);
    }
    EXPECT_EQ(text.finish().exitStatus, 0);
    EXPECT_EQ(json.finish().exitStatus, 0);
}

TEST(Watch, Change_HasItsCause) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    const auto started = [](const char* format) {
        return tool::sysconfctl(
                   {"watch", "local-south-ip", "-o", format, "--set", "NO_EM_CLIENT=1"})
            .start();
    };
    support::RunningCommand plain = started("plain");
    support::RunningCommand json = started("json");
    plain.waitForOutput("\t=\tlocal-south-ip\t");
    json.waitForOutput("getLocalSouthIP");
    support::writeGeneration(deployment, 2);
    plain.waitForOutput("\t+\tlocal-south-ip\t");
    json.waitForOutput("\"kind\":\"change\"");
    json.signal(SIGTERM);
    plain.signal(SIGTERM);
    const std::string sentence = "the node list ";
    const std::string lines = plain.finish().output;
    const std::size_t cause = lines.find("\t!\t\t" + sentence);
    ASSERT_NE(cause, std::string::npos) << lines;
    EXPECT_LT(cause, lines.find("\t+\t"));
    for (const std::string& line : tool::linesOf(json.finish().output)) {
        const Json::Value object = tool::parsed(line);
        if (object["kind"] == "change") {
            EXPECT_THAT(object["causes"].toStyledString(),
                        HasSubstr(sentence + deployment.nodeListPath().string() + " changed"));
        }
    }
}

TEST(Watch, BadFormat_IsBadUsage) {
    EXPECT_EQ(tool::run({"watch", "-o", "wide"}).exitStatus, 2);
}

} // namespace
