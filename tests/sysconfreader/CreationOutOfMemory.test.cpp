// Memory that runs out while instances are created and reloaded, and while they apply events.

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/AllocationFaults.h"
#include "support/EventLibrary.h"
#include "support/LocksFree.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Quarncommon::SysConfReaderImpl;
using support::AllocationFault;
using support::Deployment;
using support::Shortage;
using support::writeGeneration;

enum class End { Returned, Threw };

template <typename Call>
End endOf(Call call) {
    try {
        call();
        return End::Returned;
    } catch (const std::bad_alloc&) {
        return End::Threw;
    }
}

/// Runs `call` with a failing first allocation, second allocation and so on, alone or with all
/// later ones, until there is none left to fail. Runs `prepare` before and `check` after each.
template <typename Prepare, typename Call, typename Check>
void atEveryAllocation(Prepare prepare, Call call, Check check) {
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
        bool happened = true;
        for (std::size_t which = 1; happened; ++which) {
            SCOPED_TRACE(testing::Message()
                         << "allocation " << which
                         << (shortage == Shortage::FromThereOn ? " and all later ones" : ""));
            prepare();
            End end = End::Returned;
            {
                const AllocationFault fault(which, shortage);
                end = endOf(call);
                happened = fault.happened();
            }
            support::expectLocksFree();
            EXPECT_TRUE(happened || end == End::Returned);
            EXPECT_TRUE(happened || which > 1) << "no allocation has failed";
            check(which, end);
        }
    }
}

class CreationOutOfMemory : public testing::Test {
protected:
    CreationOutOfMemory() {
        deployment.appConfig(R"({"processes": {"p1": {"local": {"port": 7}, "nodeId": "n"}}})")
            .nodeList(R"({"nodeList": {"n": {"assignedToTenancy": "t",
                "extAttr": {"HOSTID": "h"},
                "IPAddresses": [{"IP": "10.0.0.1", "usage": ["internal_service"]}]}}})")
            .managerNodeList(R"({"nodeList": {
                "a": {"assignedToTenancy": "t",
                      "extAttr": {"hostType": "master", "domain_node_type": "ACCESS_Master"},
                      "IPAddresses": [{"IP": "10.0.0.2", "usage": ["internal_service"]}]},
                "b": {"assignedToTenancy": "t",
                      "extAttr": {"hostType": "standby", "domain_node_type": "ACCESS_Backup"},
                      "IPAddresses": [{"IP": "10.0.0.3", "usage": ["internal_service"]}]}}})");
        support::installEventLibrary("recording");
        // Loads the event library for good: its loading allocates memory for others.
        SysConfReader::Instance();
    }

    static void destroyAll() {
        SysConfReader_i::Destory();
        SysConfReader::Destory();
    }

    static bool rolesWhole() {
        const SysConfReader_i& roles = *SysConfReader_i::Instance();
        return roles.GetProductName() == "t" && roles.GetLocalInternalServiceIP() == "10.0.0.1" &&
               roles.GetMasterInternalServiceIP() == "10.0.0.2" &&
               roles.GetStandbyInternalServiceIP() == "10.0.0.3";
    }

    static bool whole() {
        SysConfReader& reader = *SysConfReader::Instance();
        return reader.getLocalPort() == 7 && reader.getLocalHostTagName() == "h" && rolesWhole();
    }

    /// Expects that an incomplete load which was not reported by an exception made a request for
    /// another delivery, and that a complete one did not.
    static void expectRequestIfIncomplete(End end, int requestsBefore) {
        if (end == End::Returned && support::subscribed()) {
            const bool complete = whole();
            EXPECT_EQ(requests() - requestsBefore, complete ? 0 : 1);
        }
    }
    static int requests() { return support::eventLibraryCalls().redeliveries; }

    /// Expects that the next load with enough memory finds everything.
    static void expectWholeAfterReload() {
        SysConfReader::Instance();
        SysConfReaderImpl::Instance()->Reload();
        EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 7);
        EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "t");
        EXPECT_TRUE(support::subscribed());
    }

    Deployment deployment;
};

TEST_F(CreationOutOfMemory, OfTheReader_ThrowsOrLeavesAReader) {
    int requestsBefore = 0;
    atEveryAllocation(
        [&] {
            destroyAll();
            requestsBefore = requests();
        },
        [] { SysConfReader::Instance(); },
        [&](std::size_t which, End end) {
            expectRequestIfIncomplete(end, requestsBefore);
            // The first allocation is the instance itself.
            EXPECT_TRUE(which > 1 || end == End::Threw);
            if (end == End::Threw) {
                // Nothing was published: the next call loads it all.
                EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 7);
            }
            expectWholeAfterReload();
        });
}

TEST_F(CreationOutOfMemory, OfTheRoleReader_ThrowsOrLeavesARoleReader) {
    int requestsBefore = 0;
    atEveryAllocation(
        [&] {
            destroyAll();
            requestsBefore = requests();
        },
        [] { SysConfReaderImpl::Instance(); },
        [&](std::size_t which, End end) {
            const bool complete = end == End::Threw || rolesWhole();
            EXPECT_EQ(requests() - requestsBefore, complete ? 0 : 1);
            EXPECT_TRUE(which > 1 || end == End::Threw);
            if (end == End::Threw) {
                EXPECT_EQ(SysConfReaderImpl::Instance()->GetProductName(), "t");
            }
            expectWholeAfterReload();
        });
}

TEST_F(CreationOutOfMemory, OfTheFacade_ThrowsAndTheNextCallCreatesIt) {
    atEveryAllocation(
        &destroyAll, [] { SysConfReader_i::Instance(); },
        [](std::size_t which, End end) {
            EXPECT_TRUE(which > 1 || end == End::Threw);
            expectWholeAfterReload();
        });
}

TEST_F(CreationOutOfMemory, WhileAReloadReadsTheAppConfig_LeavesTheNodeListUnread) {
    SysConfReader& reader = *SysConfReader::Instance();
    std::string tagBefore;
    int generation = 1;
    int unread = 0;
    atEveryAllocation(
        [&] {
            tagBefore = reader.getLocalHostTagName();
            ++generation;
            writeGeneration(deployment, generation);
        },
        [&] { reader.Reload(); },
        [&](std::size_t, End) {
            if (reader.getLocalPort() != 4000 + generation) {
                ++unread;
                EXPECT_EQ(reader.getLocalHostTagName(), tagBefore);
            }
            reader.Reload();
        });
    EXPECT_GT(unread, 0);
}

TEST_F(CreationOutOfMemory, AtAnEvent_IsKeptFromTheEventLibrary) {
    const std::string name = "SysConfigEvent";
    const std::string other;
    int answer = 0;
    atEveryAllocation([] {},
                      [&] {
                          void* roles = SysConfReaderImpl::Instance();
                          answer = SysConfReaderEventProcessCB(name, other, other, roles);
                      },
                      [&](std::size_t, End end) {
                          EXPECT_EQ(end, End::Returned);
                          EXPECT_TRUE(answer == 0 ? whole() : answer == -1) << answer;
                          expectWholeAfterReload();
                      });
}

TEST_F(CreationOutOfMemory, AtAnEventThatCreatesTheReader_IsKeptFromTheEventLibrary) {
    const std::string name = "SysConfigEvent";
    const std::string other;
    int answer = 0;
    atEveryAllocation(
        [] {
            destroyAll();
            SysConfReaderImpl::Instance();
        },
        [&] {
            void* roles = SysConfReaderImpl::Instance();
            answer = SysConfReaderEventProcessCB(name, other, other, roles);
        },
        [&](std::size_t which, End end) {
            EXPECT_EQ(end, End::Returned);
            // The first allocation is that of the reader.
            EXPECT_TRUE(which > 1 ? answer == 0 || answer == -1 : answer == -1) << answer;
            expectWholeAfterReload();
        });
}

} // namespace
