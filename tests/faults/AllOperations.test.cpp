// SPDX-License-Identifier: Apache-2.0

#include "support/Deployment.h"
#include "support/HostAddresses.h"
#include "support/Operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace {

std::multiset<std::string> exported() {
    std::multiset<std::string> symbols;
    std::ifstream list(SYSCONF_EXPORTED_SYMBOLS);
    const std::string space = "Quarncommon::";
    for (std::string symbol; std::getline(list, symbol);) {
        symbol.erase(0, symbol.starts_with(space) ? space.size() : 0);
        symbols.insert(symbol);
    }
    return symbols;
}

TEST(AllOperations, EveryExportedOne_IsInTheTable) {
    const std::multiset<std::string> symbols = exported();
    ASSERT_GT(symbols.size(), 50U);
    std::multiset<std::string> table;
    for (const operations::Operation& operation : operations::all()) {
        EXPECT_TRUE(symbols.contains(operation.symbol())) << operation.name;
        table.insert(operation.symbol());
    }
    for (const std::string& symbol : symbols) {
        EXPECT_GE(table.count(symbol), symbols.count(symbol)) << symbol;
    }
}

TEST(AllOperations, EveryFile_ChangesAnswers) {
    support::Deployment files;
    support::setHostAddresses({operations::kSourceAddress});
    operations::writeFiles(files, "a");
    const operations::Answers whole = operations::answers();
    for (const auto& [symbol, answer] : whole) {
        EXPECT_THAT(answer, testing::Not(testing::StartsWith("throws"))) << symbol;
    }
    std::set<std::string> differing;
    for (const auto& path : operations::paths(files)) {
        operations::destroyAll();
        operations::writeFiles(files, "a");
        std::filesystem::remove(path);
        const operations::Answers without = operations::answers();
        EXPECT_NE(without, whole) << path;
        for (const auto& [symbol, answer] : without) {
            if (answer != whole.at(symbol)) {
                differing.insert(symbol);
            }
        }
    }
    // All except those that read no file, and the protocol family.
    EXPECT_EQ(differing.size(), whole.size() - 6) << testing::PrintToString(differing);
}

} // namespace
