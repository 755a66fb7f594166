// SPDX-License-Identifier: Apache-2.0

#include "FileWatch.h"
#include "OwnNode.h"
#include "SysConfReader.h"
#include "support/EventLibrary.h"
#include "support/HostAddresses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <thread>

namespace {

using Quarncommon::SysConfReader;
using testing::AnyOf;

struct Unlocked {
    std::string north;
    std::string byNumber;
    std::string byTag;
};

bool operator==(const Unlocked& a, const Unlocked& b) {
    return a.north == b.north && a.byNumber == b.byNumber && a.byTag == b.byTag;
}
void PrintTo(const Unlocked& answer, std::ostream* out) {
    *out << answer.north << ", " << answer.byNumber << ", " << answer.byTag;
}

Unlocked askUnlocked() {
    SysConfReader& reader = *SysConfReader::Instance();
    std::map<int, std::string> byNumber;
    std::map<std::string, std::string> byTag;
    std::string service;
    std::string service2;
    reader.getLocalNodeIPs("northbound", byNumber, service, service2);
    reader.getLocalNodeIPs(byTag);
    return {reader.getLocalNorthIP(), byNumber[0], byTag["southbound"]};
}

/// During a load the float node of a standby is first its own id; an answer with "half" would show
/// that intermediate state.
constexpr const char* kStandbyNodes = R"({"nodeList":{
    "s1":{"extAttr":{"hostType":"standby"},"IPAddresses":[{"IP":"half1","usage":["northbound","southbound"]}]},
    "s2":{"extAttr":{"hostType":"standby"},"IPAddresses":[{"IP":"half2","usage":["northbound","southbound"]}]},
    "n1":{"IPAddresses":[{"IP":"10.0.0.7","usage":["service"]},
                         {"IP":"one","usage":["northbound","southbound"]}]},
    "n2":{"IPAddresses":[{"IP":"10.0.0.8","usage":["service"]},
                         {"IP":"two","usage":["northbound","southbound"]}]}}})";

std::string processOn(const std::string& node, const std::string& maintenance) {
    return R"({"processes":{"p1":{"nodeId":")" + node + R"(","IR":{"ip":")" + maintenance +
           R"("}}}})";
}

const Unlocked kOne{"one;;;;", "one", "one"};
const Unlocked kTwo{"two;;;;", "two", "two"};

class BlockedReload {
public:
    void stop() {
        m_stopped.release();
        m_continue.acquire();
    }
    /// Returns the number of stops.
    template <typename AtStop>
    int run(const std::function<void()>& reload, AtStop atStop) {
        std::thread thread([&] {
            reload();
            m_ended = true;
            m_stopped.release();
        });
        int stops = 0;
        for (m_stopped.acquire(); !m_ended; m_stopped.acquire()) {
            atStop(++stops);
            m_continue.release();
        }
        thread.join();
        return stops;
    }

private:
    std::binary_semaphore m_stopped{0};
    std::binary_semaphore m_continue{0};
    std::atomic<bool> m_ended{false};
};

TEST(UnlockedQueries, ReloadBlockedAtEachFile_AnswersAreOfThePreviousLoad) {
    support::Deployment files;
    files.nodeList(kStandbyNodes).appConfig(processOn("s1", "M1"));
    support::setHostAddresses({"10.0.0.7"});
    ASSERT_EQ(SysConfReader::Instance()->getFloatNodeId(), "n1");
    ASSERT_EQ(askUnlocked(), kOne);

    files.appConfig(processOn("s2", "M2"));
    support::setHostAddresses({"10.0.0.8"});
    BlockedReload blocked;
    const int stops = blocked.run(
        [&] {
            const support::FileWatch watch([&](support::FileCall call, const std::string&) {
                if (call != support::FileCall::Read) {
                    blocked.stop();
                }
            });
            SysConfReader::Instance()->Reload();
        },
        [](int stop) {
            EXPECT_EQ(askUnlocked(), kOne) << "stop " << stop;
            // These do not wait for the load either.
            EXPECT_EQ(SysConfReader::Instance()->GetMasterInternalServiceIP(), "");
            EXPECT_EQ(SysConfReader::Instance()->GetStandbyInternalServiceIP(), "");
            EXPECT_NE(SysConfReader::Instance()->GetAppRoot(), "");
            std::string source;
            SysConfReader::Instance()->getSourceNodeId(source);
            EXPECT_EQ(source, "n2");
        });
    // Open and close of the app config file, the node list, and the node list for the source node.
    EXPECT_EQ(stops, 6);
    EXPECT_EQ(askUnlocked(), kTwo);
}

TEST(UnlockedQueries, ReloadBlockedAtEachFile_MaintenanceAddressIsOfThePreviousLoad) {
    OwnNode node;
    node.addresses("");
    ASSERT_EQ(node.reader().getLocalNorthIP(), "M");
    node.files.appConfig(processOn("n1", "N"));
    BlockedReload blocked;
    const int stops = blocked.run(
        [&] {
            const support::FileWatch watch([&](support::FileCall call, const std::string&) {
                if (call == support::FileCall::Open) {
                    blocked.stop();
                }
            });
            SysConfReader::Instance()->Reload();
        },
        [](int stop) {
            EXPECT_EQ(SysConfReader::Instance()->getLocalNorthIP(), "M") << "stop " << stop;
        });
    EXPECT_EQ(stops, 2);
    EXPECT_EQ(node.reader().getLocalNorthIP(), "N");
}

TEST(UnlockedQueries, ReloadBlockedInTheEventLibrary_QueriesAnswer) {
    support::installEventLibrary("recording");
    // A refused subscription is retried on each load.
    support::setInitResult(-1);
    support::Deployment files;
    files.nodeList(kStandbyNodes).appConfig(processOn("n1", "M1"));
    ASSERT_EQ(askUnlocked(), kOne);
    files.appConfig(processOn("n2", "M2"));
    BlockedReload blocked;
    support::setInitHook([&] { blocked.stop(); });
    const int stops = blocked.run([] { SysConfReader::Instance()->Reload(); },
                                  [](int) { EXPECT_EQ(askUnlocked(), kOne); });
    support::setInitHook(nullptr);
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(askUnlocked(), kTwo);
}

TEST(UnlockedQueries, ReloadBetweenFloatNodeAndFallback_AnswerIsOfOneLoad) {
    // The old answer is the old maintenance address, because the old node has no other; the new
    // answer is the new node's. The new maintenance address would be a mixture of two loads.
    support::Deployment files;
    files.nodeList(R"({"nodeList":{"n2":{"IPAddresses":[{"IP":"two","usage":["northbound"]}]}}})");
    files.appConfig(processOn("n1", "M1"));
    ASSERT_EQ(SysConfReader::Instance()->getLocalNorthIP(), "M1");
    files.appConfig(processOn("n2", "M2"));
    bool reloaded = false;
    const support::FileWatch watch([&](support::FileCall, const std::string& path) {
        if (!reloaded && path == files.nodeListPath()) {
            reloaded = true;
            SysConfReader::Instance()->Reload();
        }
    });
    EXPECT_THAT(SysConfReader::Instance()->getLocalNorthIP(), AnyOf("M1", "two;;;;"));
    EXPECT_TRUE(reloaded);
}

template <typename Check>
void askBesideReloads(support::Deployment& files, const std::string& one, const std::string& two,
                      Check check) {
    constexpr int kReloads = 150;
    std::atomic<bool> done{false};
    std::atomic<int> asked{0};
    const auto ask = [&] {
        while (!done) {
            check();
            ++asked;
        }
    };
    files.appConfig(one);
    SysConfReader::Instance();
    std::thread first(ask);
    std::thread second(ask);
    for (int n = 0; n < kReloads || asked < 100; ++n) {
        files.appConfig(n % 2 == 0 ? two : one);
        SysConfReader::Instance()->Reload();
    }
    done = true;
    first.join();
    second.join();
}

TEST(UnlockedQueries, ContinuousReloads_FloatNodeIsOldOrNew) {
    support::setHostAddresses({"10.0.0.7"});
    support::Deployment files;
    files.nodeList(kStandbyNodes);
    askBesideReloads(files, processOn("s1", "M1"), processOn("n2", "M2"), [] {
        const Unlocked answer = askUnlocked();
        EXPECT_THAT(answer.north, AnyOf("one;;;;", "two;;;;"));
        EXPECT_THAT(answer.byNumber, AnyOf("one", "two"));
        EXPECT_THAT(answer.byTag, AnyOf("one", "two"));
    });
}

TEST(UnlockedQueries, ContinuousReloads_MaintenanceAddressIsOldOrNew) {
    support::Deployment files;
    // Longer than the inline buffer of a string.
    const std::string one(200, '1');
    const std::string two(300, '2');
    askBesideReloads(files, processOn("n1", one), processOn("n1", two), [&] {
        EXPECT_THAT(SysConfReader::Instance()->getLocalNorthIP(), AnyOf(one, two));
    });
}

} // namespace
