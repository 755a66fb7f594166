// Memory that runs out while instances are created, reloaded and told of events.

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/AllocationFaults.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/LocksFree.h"

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

/// Runs `call` with memory that runs out at its first allocation, at its second and so on, once and
/// for good, until there is none left to fail; each time after `prepare` and before `check`.
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
        m_deployment.appConfig(R"({"processes": {"p1": {"local": {"port": 7}, "nodeId": "n"}}})")
            .nodeList(R"({"nodeList": {"n": {"assignedToTenancy": "t"}}})");
        support::installEventLibrary("recording");
        // Loaded for good: what loading an event library allocates is not this library's.
        SysConfReader::Instance();
    }

    static void destroyAll() {
        SysConfReader_i::Destory();
        SysConfReader::Destory();
    }

    /// Expects that a load with enough memory finds everything, whatever became of the one before.
    static void expectWholeAfterReload() {
        SysConfReader::Instance();
        SysConfReaderImpl::Instance()->Reload();
        EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 7);
        EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "t");
        EXPECT_TRUE(support::subscribed());
    }

private:
    Deployment m_deployment;
};

TEST_F(CreationOutOfMemory, OfTheReader_ThrowsOrLeavesAReader) {
    atEveryAllocation(
        &destroyAll, [] { SysConfReader::Instance(); },
        [](std::size_t which, End end) {
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
    atEveryAllocation(
        &destroyAll, [] { SysConfReaderImpl::Instance(); },
        [](std::size_t which, End end) {
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
                          EXPECT_TRUE(answer == 0 || answer == -1) << answer;
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
