// SPDX-License-Identifier: Apache-2.0

#include "ServiceAllocations.h"
#include "SysConfReaderEvent.h"
#include "support/Deployment.h"
#include "support/Resources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <dlfcn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

template <typename Function>
Function* entryPoint(void* library, const char* name) {
    return reinterpret_cast<Function*>(::dlsym(library, name));
}

void* load() {
    return ::dlopen(SYSCONF_EVENT_LIBRARY, RTLD_LAZY | RTLD_LOCAL);
}

bool loaded() {
    void* const library = ::dlopen(SYSCONF_EVENT_LIBRARY, RTLD_LAZY | RTLD_NOLOAD);
    return library != nullptr && ::dlclose(library) == 0;
}

class Loading : public testing::Test {
protected:
    support::Deployment m_deployment;
    std::atomic<int> m_calls{0};

    void SetUp() override { support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0"); }

    int subscribe(void* library) {
        const EventConsumerCallback callback{count, &m_calls};
        return entryPoint<EventConsumerCBInitFunction>(library, "EventConsumerCBInit")(
            "SysConfigEvent", "", &callback);
    }

private:
    static int count(const std::string&, const std::string&, const std::string&, void* userData) {
        ++*static_cast<std::atomic<int>*>(userData);
        return 0;
    }
};

TEST_F(Loading, ClosedWithoutASubscription_IsUnloaded) {
    void* const library = load();
    ASSERT_NE(library, nullptr);
    entryPoint<EventConsumerCBFiniFunction>(library, "EventConsumerCBFini")();
    EXPECT_TRUE(loaded());
    EXPECT_EQ(::dlclose(library), 0);
    EXPECT_FALSE(loaded());
}

TEST_F(Loading, ClosedWithASubscription_DeliversChanges) {
    void* const library = load();
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(subscribe(library), 0);
    EXPECT_EQ(::dlclose(library), 0);
    support::writeFile(m_deployment.nodeListPath(), "after");
    while (m_calls == 0) {
        std::this_thread::yield();
    }
    entryPoint<EventConsumerCBFiniFunction>(load(), "EventConsumerCBFini")();
    waitForServiceToEnd();
    EXPECT_TRUE(loaded());
}

/// Each allocation fails once. After that, an exception in the library must not end the process.
TEST_F(Loading, FailedForLackOfMemory_TheNextOneWorks) {
    constexpr int kLoaded = 1;
    int failures = 0;
    int status = 0;
    for (int skip = 0; status != kLoaded; ++skip, ++failures) {
        const pid_t child = ::fork();
        if (child == 0) {
            failAllocations(Threads::First, skip, 1);
            void* library = load();
            const bool failed = stopFailingAllocations();
            library = library != nullptr ? library : load();
            bool refused = false;
            for (int call = 0; library != nullptr && !refused; ++call) {
                failAllocations(Threads::First, call, 1);
                refused = subscribe(library) != 0;
                stopFailingAllocations();
            }
            ::_exit(!refused ? 2 : failed ? 0 : kLoaded);
        }
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << skip;
        status = WEXITSTATUS(status);
        ASSERT_TRUE(status == 0 || status == kLoaded) << skip;
    }
    EXPECT_GT(failures, 1);
}

} // namespace
