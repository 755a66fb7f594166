// Memory that runs out, at each allocation of each public operation in turn. The tests of the
// queries tell what their outputs hold then; here is what all operations have in common.

#include "support/AllocationFaults.h"
#include "faults/Operations.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/LocksFree.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using faults::Effect;
using faults::Operation;
using faults::Outputs;
using support::AllocationFault;

/// Before and after every operation everything exists, and answers are those of the files.
class AllocationFaults : public testing::Test {
protected:
    AllocationFaults() {
        faults::writeFiles(m_files, "a");
        support::installEventLibrary("recording");
        faults::createAll();
        m_answers = faults::answers();
    }

    /// Fails allocation number `which`, alone or with all later ones, and tells whether there was
    /// one to fail.
    bool failOne(const Operation& operation, std::size_t which, support::Shortage shortage) {
        faults::createAll();
        if (operation.prepare != nullptr) {
            operation.prepare();
        }
        Outputs outputs;
        bool threw = false;
        bool happened = false;
        {
            const AllocationFault fault(which, shortage);
            try {
                operation.call(outputs);
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            happened = fault.happened();
        }
        EXPECT_TRUE(!threw || (happened && operation.shortage == faults::Shortage::MayThrow));
        support::expectLocksFree();
        return happened;
    }

    /// Expects that the next call does all that it should.
    void expectRightNext(const Operation& operation, const std::string& expected) {
        if (operation.effect == Effect::Changes) {
            // Whatever was left out of the load that lacked memory comes with the next one.
            faults::reloadAll();
            EXPECT_TRUE(support::subscribed());
            EXPECT_EQ(faults::differences(faults::answers(), m_answers), "");
        }
        Outputs outputs;
        operation.call(outputs);
        EXPECT_EQ(outputs.told(), expected);
    }

    void exhaust(Effect effect) {
        for (const Operation& operation : faults::operations()) {
            if (operation.effect != effect) {
                continue;
            }
            faults::createAll();
            Outputs expected;
            operation.call(expected);
            for (const auto shortage :
                 {support::Shortage::OneAllocation, support::Shortage::FromThereOn}) {
                bool happened = true;
                for (std::size_t which = 1; happened && !HasFailure(); which += step(operation)) {
                    SCOPED_TRACE(
                        testing::Message()
                        << operation.symbol << ", allocation " << which
                        << (shortage == support::Shortage::FromThereOn ? " and all later" : ""));
                    happened = failOne(operation, which, shortage);
                    m_failed += happened ? 1 : 0;
                    expectRightNext(operation, expected.told());
                }
            }
        }
        RecordProperty("failed_allocations", static_cast<int>(m_failed));
        EXPECT_GT(m_failed, faults::operations().size());
    }

private:
    /// The one call that makes a thousand like allocations is sampled where everything is slow.
    static std::size_t step(const Operation& operation) {
        return std::string(operation.symbol) == "SysConfReader::getLocalNodeIPs" ? SYSCONF_KEY_STEP
                                                                                 : 1;
    }

    support::Deployment m_files;
    faults::Answers m_answers;
    std::size_t m_failed = 0;
};

TEST_F(AllocationFaults, EachOfEveryQuestion_LeavesTheNextOneRight) {
    exhaust(Effect::Answers);
}

TEST_F(AllocationFaults, EachOfFirstUseReloadAndDestruction_LeavesTheNextLoadWhole) {
    exhaust(Effect::Changes);
}

} // namespace
