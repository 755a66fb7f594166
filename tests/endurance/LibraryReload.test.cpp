// SPDX-License-Identifier: Apache-2.0

#include "Rounds.h"
#include "SysConfReader.h"
#include "support/EventLibrary.h"
#include "support/Resources.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
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

    /// Expects that resources and heap do not grow.
    template <typename Closed>
    void run(bool destroy, Closed closed) {
        // malloc reports the blocks in the caches of threads, and what arenas need, as used.
        ASSERT_STREQ(std::getenv("GLIBC_TUNABLES"),
                     "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1")
            << "to be run by ctest, which sets this";
        endurance::Watchdog watchdog;
        const int rounds = endurance::rounds(kRounds);
        State atFirst;
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
                atFirst = leastStateWithoutInstances();
            }
        }
        const State atLast = stateOnceAsAt(atFirst);
        EXPECT_EQ(atLast.resources, atFirst.resources);
        EXPECT_LE(atLast.heap, atFirst.heap + kTolerance);
    }

    support::Deployment m_deployment;

private:
    /// What instances hold depends on the events that have arrived.
    struct State {
        Resources resources{};
        std::size_t heap = 0;
    };

    static State state() {
        State now;
        now.resources = resourcesAtRest(0);
        now.heap = ::mallinfo2().uordblks;
        return now;
    }

    /// A thread that ends may still hold something.
    static State leastStateWithoutInstances() {
        Opened().destroy();
        State least = state();
        for (int look = 0; look < 100; ++look) {
            const State now = state();
            if (now.resources.descriptors < least.resources.descriptors) {
                least.resources = now.resources;
            }
            least.heap = std::min(least.heap, now.heap);
        }
        return least;
    }

    static State stateOnceAsAt(const State& before) {
        Opened().destroy();
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        State now = state();
        while (!(now.resources == before.resources && now.heap <= before.heap + kTolerance) &&
               std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
            now = state();
        }
        return now;
    }

    static constexpr int kRounds = 60;
    // It does not grow with the rounds: the short form of the test finds leaks of 100 bytes a
    // round.
    static constexpr std::size_t kTolerance = 4096;
};

TEST_F(LibraryReload, EventLibraryThatPinsNothing_CallbacksRemainLoaded) {
    support::installEventLibrary("recording");
    run(false, [] { ASSERT_EQ(support::deliver(), 0); });
    EXPECT_FALSE(support::subscribed());
}

TEST_F(LibraryReload, WithoutASubscription_LeaksNothing) {
    support::setEnvironment("NO_EM_CLIENT", "1");
    run(false, [] {});
}

#ifdef SYSCONF_EVENT_LIBRARY
TEST_F(LibraryReload, EventLibraryThatWatchesFiles_ChangesAreAppliedAfterClosing) {
    std::filesystem::create_symlink(SYSCONF_EVENT_LIBRARY,
                                    support::testDirectory() / "libeventcbutil.so");
    support::setEnvironment("SYSCONF_EVENT_QUIET_MS", "0");
    // Of the values that are compared, only the ports differ between generations.
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
    run(true, change);
}
#endif

} // namespace
