// SPDX-License-Identifier: Apache-2.0

#include "Rounds.h"
#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "support/Answers.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Quarncommon::SysConfReader;

constexpr unsigned int kPatience = 120; // seconds

/// A sanitizer reports the destruction of a static object that a thread uses, even if harmless.
[[noreturn]] void askToTheEnd() {
    for (;;) {
#ifdef SYSCONF_SANITIZED
        ::pause();
#else
        SysConfReader::Instance()->getLocalServiceIP();
        support::roleAnswers();
#endif
    }
}

class ProcessEndStorm : public testing::Test {
protected:
    ProcessEndStorm() {
        std::filesystem::create_symlink(SYSCONF_EVENT_LIBRARY,
                                        support::testDirectory() / "libeventcbutil.so");
        support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
        support::writeGeneration(m_deployment, 1);
    }

    void run(int few, const std::function<void()>& exit) {
        const int rounds = endurance::rounds(few);
        for (int round = 0; round < rounds; ++round) {
            // The test process never uses the library, so each child starts without instances.
            const pid_t child = ::fork();
            if (child == 0) {
                ::alarm(kPatience);
                subscribeUnderAStorm(round % 5);
                exit();
            }
            int status = 0;
            ASSERT_EQ(::waitpid(child, &status, 0), child);
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 42)
                << "round " << round << ", status " << status;
        }
    }

private:
    /// Two threads continue: one changes the files, one queries.
    void subscribeUnderAStorm(int changes) {
        SysConfReader::Instance();
        std::thread([this] {
            for (int generation = 2;; ++generation) {
                support::writeGeneration(m_deployment, generation);
            }
        }).detach();
        std::thread(askToTheEnd).detach();
        for (std::string last = answer(); changes >= 0; --changes) {
            while (answer() == last) {
                std::this_thread::yield();
            }
            last = answer();
        }
    }

    static std::string answer() { return SysConfReader::Instance()->getMaintenanceIPAddress(); }

    support::Deployment m_deployment;
};

#ifdef SYSCONF_SANITIZED
constexpr int kRounds = 4; // with the thread sanitizer each takes another second
#else
constexpr int kRounds = 20;
#endif

TEST_F(ProcessEndStorm, FromMain_ExitsNormally) {
    run(kRounds, [] { std::exit(42); });
}

TEST_F(ProcessEndStorm, FromAnotherThread_ExitsNormally) {
    run(kRounds, [] {
        std::thread([] { std::exit(42); }).detach();
        askToTheEnd();
    });
}

} // namespace
