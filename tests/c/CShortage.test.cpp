// SPDX-License-Identifier: Apache-2.0

#include "sysconfreader_c.h"

#include "support/AllocationFaults.h"
#include "support/SampleTexts.h"
#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using support::AllocationFault;

struct Row {
    const char* query;
    std::vector<const char*> arguments;
    /// Whether the class answers "" without memory, so that there may be no answer.
    bool neverThrows;
};

const Row kRows[] = {
    {"local-port", {}, false},
    {"product-name", {}, false},
    {"local-service-ip", {}, true},
    {"local-south-ip", {}, false},
    {"local-node-ips", {"northbound"}, true},
    {"ip-addresses", {"assignedToTenancy", ""}, true},
    {"all-float-ip", {"internal_service"}, true},
    {"all-db-info", {}, false},
    {"db-type", {"db", "0"}, false},
};

class CShortage : public testing::Test {
protected:
    CShortage() {
        writeGeneration(m_files, 1);
        EXPECT_EQ(sysconfreader_reload(), SYSCONFREADER_OK);
    }

    support::Deployment m_files;
};

TEST_F(CShortage, OfAnyAllocation_IsReportedAndNothingIsStored) {
    int reportedByAll = 0;
    for (const Row& row : kRows) {
        for (const sysconfreader_format format : {SYSCONFREADER_TEXT, SYSCONFREADER_JSON}) {
            bool happened = true;
            int reported = 0;
            for (std::size_t which = 1; happened && !HasFailure(); ++which) {
                SCOPED_TRACE(std::string(row.query) + ", allocation " + std::to_string(which));
                char* text = nullptr;
                int result = -1;
                {
                    const AllocationFault fault(which);
                    result = sysconfreader_get(row.query, row.arguments.data(),
                                               row.arguments.size(), format, &text);
                    happened = fault.happened();
                }
                EXPECT_EQ(text != nullptr, result == SYSCONFREADER_OK);
                EXPECT_TRUE(result == SYSCONFREADER_OK ||
                            (happened && result == SYSCONFREADER_OUT_OF_MEMORY) ||
                            (happened && row.neverThrows && result == SYSCONFREADER_NO_ANSWER))
                    << sysconfreader_result_text(result);
                if (result == SYSCONFREADER_OUT_OF_MEMORY) {
                    EXPECT_STREQ(sysconfreader_error(), "out of memory");
                    ++reported;
                }
                sysconfreader_free(text);
            }
            reportedByAll += reported;
#ifndef SANITIZED // where only `new` fails, which a short text does not need
            EXPECT_GT(reported, 0) << row.query;
#endif
        }
    }
    EXPECT_GT(reportedByAll, 0);
}

TEST_F(CShortage, OfLists_IsReportedAndNothingIsStored) {
    bool happened = true;
    int reported = 0;
    for (std::size_t which = 1; happened && !HasFailure(); ++which) {
        char** list = nullptr;
        const AllocationFault fault(which);
        const int result = sysconfreader_ip_addresses("assignedToTenancy", "", &list);
        happened = fault.happened();
        EXPECT_EQ(list != nullptr, result == SYSCONFREADER_OK);
        reported += result == SYSCONFREADER_OUT_OF_MEMORY ? 1 : 0;
        sysconfreader_free(list);
    }
    EXPECT_GT(reported, 0);
}

TEST_F(CShortage, StatusAndErrors_NeedNoMemory) {
    const AllocationFault fault(1, support::Shortage::FromThereOn);
    sysconfreader_status status;
    EXPECT_EQ(sysconfreader_get_status(&status, sizeof status), SYSCONFREADER_OK);
    EXPECT_EQ(sysconfreader_generation(), status.last_load);
    const int changes = sysconfreader_open_changes();
    sysconfreader_close_changes(changes);
    sysconfreader_query_name(0);
    EXPECT_FALSE(fault.happened());
    EXPECT_GE(changes, 3);
    char* text = nullptr;
    EXPECT_EQ(sysconfreader_product_name(&text), SYSCONFREADER_OUT_OF_MEMORY);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(std::strcmp(sysconfreader_error(), "out of memory"), 0);
}

} // namespace
