// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/SampleTexts.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

support::Command live(const std::string& command) {
    support::Command shell("/bin/sh", {"-c", command});
    shell.variable("LD_LIBRARY_PATH", fs::path(SYSCONF_EVENT_LIBRARY).parent_path().string());
    return shell;
}

TEST(ExecLive, DescriptorsOfTheLibraries_AreNotThoseOfTheProgram) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    const std::string list = "ls /proc/self/fd";
    const auto result = live(SYSCONFCTL " exec -- " + list).run();
    EXPECT_EQ(result.errors, "") << "it is subscribed";
    EXPECT_EQ(result.output, live(list).run().output);
}

TEST(ExecLive, LoadedAnswers_RestartTheProgramOnceForEachChangeOfTheirOwn) {
    support::Deployment deployment;
    support::writeGeneration(deployment, 1);
    support::RunningCommand running =
        live("exec " SYSCONFCTL " exec --only maintenance-ip-address -- " SYSCONF_SIGNAL_REPORTER
             " SYSCONF_MAINTENANCE_IP_ADDRESS 0")
            .start();
    running.waitForOutput("started 10.1.0.1\n");
    deployment.appConfig(support::jsonText(support::sampleAppConfig(1)) + "\n");
    deployment.nodeList(support::jsonText(support::sampleNodeList(2)));
    support::writeGeneration(deployment, 2);
    running.waitForOutput("started 10.2.0.1\n");
    support::writeGeneration(deployment, 3);
    running.waitForOutput("started 10.3.0.1\n");
    running.signal(SIGTERM);
    const auto result = running.finish();
    EXPECT_EQ(result.output, "started 10.1.0.1\nsignal TERM\nended\nstarted 10.2.0.1\n"
                             "signal TERM\nended\nstarted 10.3.0.1\nsignal TERM\nended\n");
    EXPECT_THAT(result.errors, Not(HasSubstr("not subscribed")));
}

} // namespace
