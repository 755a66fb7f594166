// Memory that runs out while instances are created, reloaded and told of events.

#include "SysConfReader.h"
#include "SysConfReaderEvent.h"
#include "SysConfReaderImpl.h"
#include "SysConfReader_i.h"
#include "support/Answers.h"
#include "support/EventLibrary.h"
#include "support/LockFaults.h"
#include "support/SampleTexts.h"
#include "sysconfreader/AllocationFaults.h"

#include <gtest/gtest.h>

#include <new>

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

void expectLocksFree() {
    const support::LockCounts counts = support::lockCounts();
    EXPECT_EQ(counts.read + counts.write, counts.unlock);
    const support::LockCounts held = support::locksHeldHere();
    EXPECT_EQ(held.read + held.write, 0U);
}

/// Runs `call` with memory that runs out at its first allocation, at its second and so on, once or
/// for good, until there is none left to fail; each time after `prepare` and before `check`. Tells
/// how the first run ended.
template <typename Prepare, typename Call, typename Check>
End atEveryAllocation(Shortage shortage, Prepare prepare, Call call, Check check) {
    End first = End::Returned;
    for (std::size_t which = 1;; ++which) {
        SCOPED_TRACE(testing::Message() << "allocation " << which);
        prepare();
        bool happened = false;
        End end = End::Returned;
        {
            const AllocationFault fault(which, shortage);
            end = endOf(call);
            happened = fault.happened();
        }
        expectLocksFree();
        check(end);
        first = which == 1 ? end : first;
        if (!happened) {
            EXPECT_GT(which, 1U);
            EXPECT_EQ(end, End::Returned);
            return first;
        }
    }
}

class CreationOutOfMemory : public testing::TestWithParam<Shortage> {
protected:
    void destroyAll() {
        SysConfReader_i::Destory();
        SysConfReader::Destory();
        writeGeneration(deployment, 1);
    }

    /// Expects that a load with enough memory finds everything, whatever became of the one before.
    void expectWholeAfterReload() {
        SysConfReader::Instance();
        SysConfReaderImpl::Instance()->Reload();
        EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
        EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
    }

    Deployment deployment;
};

TEST_P(CreationOutOfMemory, OfTheReader_ThrowsOrLeavesAReader) {
    const End first = atEveryAllocation(
        GetParam(), [&] { destroyAll(); }, [] { SysConfReader::Instance(); },
        [&](End end) {
            if (end == End::Threw) {
                // Nothing was published: the next call loads it all.
                EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
            }
            expectWholeAfterReload();
        });
    EXPECT_EQ(first, End::Threw);
}

TEST_P(CreationOutOfMemory, OfTheRoleReader_ThrowsOrLeavesARoleReader) {
    const End first = atEveryAllocation(
        GetParam(), [&] { destroyAll(); }, [] { SysConfReaderImpl::Instance(); },
        [&](End end) {
            if (end == End::Threw) {
                EXPECT_EQ(support::roleAnswers(), support::sampleRoleAnswers(1));
            }
            expectWholeAfterReload();
        });
    EXPECT_EQ(first, End::Threw);
}

TEST_P(CreationOutOfMemory, OfTheFacade_ThrowsAndTheNextCallCreatesIt) {
    const End first = atEveryAllocation(
        GetParam(), [&] { destroyAll(); }, [] { SysConfReader_i::Instance(); },
        [&](End) { EXPECT_EQ(SysConfReader_i::Instance()->GetProductName(), "tenancy1"); });
    EXPECT_EQ(first, End::Threw);
}

TEST_P(CreationOutOfMemory, AtAReload_LeavesAReader) {
    destroyAll();
    SysConfReader::Instance();
    atEveryAllocation(
        GetParam(), [&] { writeGeneration(deployment, 1); },
        [] { SysConfReaderImpl::Instance()->Reload(); }, [&](End) { expectWholeAfterReload(); });
}

TEST_P(CreationOutOfMemory, AtAnEvent_IsKeptFromTheEventLibrary) {
    destroyAll();
    SysConfReader::Instance();
    int answer = 0;
    const End first = atEveryAllocation(
        GetParam(), [&] { writeGeneration(deployment, 1); },
        [&] {
            static const std::string name = "SysConfigEvent";
            answer = SysConfReaderEventProcessCB(name, "", "", SysConfReaderImpl::Instance());
        },
        [&](End end) {
            EXPECT_EQ(end, End::Returned);
            EXPECT_TRUE(answer == 0 || answer == -1) << answer;
            expectWholeAfterReload();
        });
    EXPECT_EQ(first, End::Returned);
}

TEST_P(CreationOutOfMemory, WithAnEventLibrary_IsSubscribedInTheEnd) {
    support::installEventLibrary("recording");
    // Loaded for good: what loading it allocates is not this library's.
    SysConfReader::Instance();
    atEveryAllocation(
        GetParam(), [&] { destroyAll(); }, [] { SysConfReader::Instance(); },
        [&](End) {
            expectWholeAfterReload();
            EXPECT_TRUE(support::subscribed());
        });
}

INSTANTIATE_TEST_SUITE_P(Memory, CreationOutOfMemory,
                         testing::Values(Shortage::OneAllocation, Shortage::FromThereOn),
                         [](const testing::TestParamInfo<Shortage>& info) {
                             return info.param == Shortage::OneAllocation ? std::string("FailsOnce")
                                                                          : std::string("RunsOut");
                         });

} // namespace
