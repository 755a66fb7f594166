// SPDX-License-Identifier: Apache-2.0
// The library opened, used and closed by a program that is not linked with it, over and over.

#include "Rounds.h"
#include "SysConfReader.h"
#include "support/EventLibrary.h"
#include "support/Resources.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <malloc.h>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using Quarncommon::SysConfReader;

/// The library, for the time that somebody holds a handle on it.
class Opened {
public:
    Opened() : m_handle(::dlopen(SYSCONF_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (m_handle == nullptr) {
            throw std::runtime_error(::dlerror());
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() { EXPECT_EQ(::dlclose(m_handle), 0); }

    SysConfReader* instance() const {
        return function<SysConfReader*()>("_ZN11Quarncommon13SysConfReader8InstanceEv")();
    }
    int localPort() const {
        return function<int(SysConfReader*)>("_ZN11Quarncommon13SysConfReader12getLocalPortEv")(
            instance());
    }
    std::string serviceAddress() const {
        return function<std::string(SysConfReader*)>(
            "_ZN11Quarncommon13SysConfReader17getLocalServiceIPB5cxx11Ev")(instance());
    }
    void destroy() const { function<void()>("_ZN11Quarncommon13SysConfReader7DestoryEv")(); }

private:
    template <typename Function>
    Function* function(const char* symbol) const {
        void* found = ::dlsym(m_handle, symbol);
        if (found == nullptr) {
            throw std::runtime_error(::dlerror());
        }
        return reinterpret_cast<Function*>(found);
    }

    void* m_handle;
};

class LibraryReload : public testing::Test {
protected:
    LibraryReload() { support::writeGeneration(m_deployment, 1); }

    /// Opens, uses and closes the library again and again; `closed` runs each time it is closed.
    /// What the process holds, with that many threads of the event library, must not grow.
    template <typename Closed>
    void run(bool destroy, Closed closed, std::size_t eventThreads = 0) {
        // The blocks in the caches of threads count as used, and there are more or fewer of them.
        ASSERT_STREQ(std::getenv("GLIBC_TUNABLES"), "glibc.malloc.tcache_count=0")
            << "to be run by ctest, which sets this";
        endurance::Watchdog watchdog;
        const int rounds = endurance::rounds(kRounds);
        Resources atFirst{};
        std::size_t heapAtFirst = 0;
        for (int round = 0; round < rounds; ++round) {
            {
                const Opened library;
                ASSERT_EQ(library.serviceAddress(), "10.1.1.3");
                if (destroy) {
                    library.destroy();
                    ASSERT_EQ(library.localPort(), 4001);
                }
            }
            closed();
            watchdog.progress();
            if (round == rounds / 3) {
                atFirst = leastResources(eventThreads);
                heapAtFirst = ::mallinfo2().uordblks;
            }
        }
        EXPECT_EQ(resourcesOnceAsAt(atFirst, eventThreads), atFirst);
        EXPECT_LE(::mallinfo2().uordblks, heapAtFirst + kTolerance);
        Opened().destroy();
    }

    support::Deployment m_deployment;

private:
    /// The least of a hundred looks: the event library's thread may have a file open for a moment.
    static Resources leastResources(std::size_t eventThreads) {
        Resources least = resourcesAtRest(eventThreads);
        for (int look = 0; look < 100; ++look) {
            const Resources now = resourcesAtRest(eventThreads);
            least = now.descriptors < least.descriptors ? now : least;
        }
        return least;
    }

    /// The resources when they are those of `before`, or else those after ten seconds.
    static Resources resourcesOnceAsAt(const Resources& before, std::size_t eventThreads) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        Resources now = resourcesAtRest(eventThreads);
        while (!(now == before) && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
            now = resourcesAtRest(eventThreads);
        }
        return now;
    }

    static constexpr int kRounds = 60;
    // What two states at rest differ by. It does not grow with the rounds: a leak of a hundred
    // bytes a round shows in the short form of this test, a smaller one in the long form.
    static constexpr std::size_t kTolerance = 4096;
};

/// The contract of an event library does not ask it to keep the code of its callbacks loaded.
TEST_F(LibraryReload, UnderAnEventLibraryThatPinsNothing_EventsFindTheCodeThatTheyCall) {
    support::installEventLibrary("recording");
    run(false, [] { ASSERT_EQ(support::deliver(), 0); });
    EXPECT_FALSE(support::subscribed());
}

TEST_F(LibraryReload, WithoutASubscription_HoldsNoMore) {
    support::setEnvironment("NO_EM_CLIENT", "1");
    run(false, [] {});
}

#ifdef SYSCONF_EVENT_LIBRARY
TEST_F(LibraryReload, UnderTheEventLibraryOfTheFiles_ChangesBecomeAnswersAfterClosing) {
    std::filesystem::create_symlink(SYSCONF_EVENT_LIBRARY,
                                    support::testDirectory() / "libeventcbutil.so");
    support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
    // The ports differ between generations, the rest of what is asked is in both.
    int port = 4001;
    const auto change = [&] {
        port = port == 4001 ? 4002 : 4001;
        Json::Value config = support::sampleAppConfig(1);
        config["processes"]["p1"]["local"]["port"] = port;
        m_deployment.appConfig(support::jsonText(config));
        while (Opened().localPort() != port) {
            std::this_thread::yield();
        }
        support::writeGeneration(m_deployment, 1);
        while (Opened().localPort() != 4001) {
            std::this_thread::yield();
        }
    };
    run(true, change, 1);
}
#endif

} // namespace
