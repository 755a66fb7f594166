// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "SysConfReaderStatus.h"
#include "support/AllocationFaults.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using Status = Quarncommon::SysConfReaderStatus;
using Outcome = Status::Outcome;
using support::AllocationFault;

class StatusShortage : public testing::Test {
protected:
    StatusShortage() {
        writeGeneration(m_files, 1);
        SysConfReaderImpl::Instance();
        SysConfReader::Instance();
        // Its first call registers the exit handler, for which the C library may take memory.
        Status::unsubscribe(Status::subscribe([](unsigned long long, void*) {}, nullptr));
    }

    support::Deployment m_files;
};

TEST_F(StatusShortage, EveryOperation_NeedsNoMemory) {
    const AllocationFault fault(1, support::Shortage::FromThereOn);
    const Status status = Status::read();
    const auto generation = Status::generation();
    const auto id = Status::subscribe([](unsigned long long, void*) {}, nullptr);
    const int descriptor = Status::openDescriptor();
    Status::closeDescriptor(descriptor);
    Status::unsubscribe(id);
    EXPECT_FALSE(fault.happened());
    EXPECT_EQ(status.lastLoad, 2U);
    EXPECT_EQ(generation, 2U);
    EXPECT_NE(id, 0U);
    EXPECT_GE(descriptor, 3);
}

TEST_F(StatusShortage, OfAnyAllocationOfALoad_IsReportedAndNotified) {
    static unsigned long long calls = 0;
    const auto id = Status::subscribe([](unsigned long long, void*) { ++calls; }, nullptr);
    int reported = 0;
    bool happened = true;
    for (std::size_t which = 1; happened && !HasFailure(); ++which) {
        SCOPED_TRACE("allocation " + std::to_string(which));
        const auto generation = Status::generation();
        const auto callsBefore = calls;
        bool threw = false;
        {
            const AllocationFault fault(which);
            try {
                SysConfReader::Instance()->Reload();
            } catch (const std::bad_alloc&) {
                threw = true; // before any file is read
            }
            happened = fault.happened();
        }
        const Status::Load load = Status::read().reader;
        EXPECT_EQ(Status::generation(), generation + (threw ? 0 : 1));
        EXPECT_EQ(calls, callsBefore + (threw ? 0 : 1));
        if (!threw) {
            // The fast parse may do without memory that it asks for, so not each shows.
            const bool loaded = load.appConfig.outcome == Outcome::Loaded &&
                                load.nodeList.outcome == Outcome::Loaded;
            EXPECT_EQ(load.shortage, !loaded);
            reported += load.shortage ? 1 : 0;
        }
    }
    Status::unsubscribe(id);
    EXPECT_GT(reported, 10);
    EXPECT_FALSE(Status::read().reader.shortage) << "the last one had all its memory";
}

TEST_F(StatusShortage, WhileAWrongTypeIsLocated_LosesOnlyItsPlace) {
    m_files.appConfig(R"({"processes": {"p1": {"wss": {"port": "5001"}}}})");
    int located = 0;
    int lost = 0;
    bool happened = true;
    for (std::size_t which = 1; happened && !HasFailure(); ++which) {
        SCOPED_TRACE("allocation " + std::to_string(which));
        try {
            const AllocationFault fault(which);
            SysConfReader::Instance()->Reload();
            happened = fault.happened();
        } catch (const std::bad_alloc&) {
            continue;
        }
        const Status::Load load = Status::read().reader;
        if (load.appConfig.outcome == Outcome::WrongType) {
            EXPECT_FALSE(load.shortage);
            const std::string pointer = load.appConfig.pointer;
            EXPECT_TRUE(pointer.empty() || pointer == "/processes/p1/wss/port") << pointer;
            ++(pointer.empty() ? lost : located);
        } else {
            EXPECT_EQ(load.appConfig.outcome, Outcome::Shortage);
            EXPECT_TRUE(load.shortage);
        }
    }
    EXPECT_GT(located, 0);
    EXPECT_GT(lost, 0);
}

} // namespace
