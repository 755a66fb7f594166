// SPDX-License-Identifier: Apache-2.0
#include "FileWatch.h"
#include "OwnNode.h"
#include "support/SampleQueries.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Quarncommon::SysConfReader;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Paths = std::vector<std::string>;

Paths opened(const std::function<void()>& step) {
    Paths paths;
    const support::FileWatch watch([&](support::FileCall call, const std::string& path) {
        if (call == support::FileCall::Open) {
            paths.push_back(path);
        }
    });
    step();
    return paths;
}

Paths openedBy(const queries::ReaderQuery& query) {
    return opened([&] { queries::ask(query); });
}

TEST(QueryPaths, AppRootOfEachForm_IsConcatenatedVerbatim) {
    const support::Deployment files;
    SysConfReader::Instance();
    const std::pair<const char*, const char*> rows[] = {
        {nullptr, "/etc/sysconf/nodelist.json"},
        {"", "/etc/sysconf/nodelist.json"},
        {"/nowhere", "/nowhere/etc/sysconf/nodelist.json"},
        {"/nowhere/", "/nowhere//etc/sysconf/nodelist.json"},
        {"/nowhere/../x", "/nowhere/../x/etc/sysconf/nodelist.json"},
        {"no where", "no where/etc/sysconf/nodelist.json"},
    };
    for (const auto& [root, expected] : rows) {
        support::setEnvironment("APP_ROOT", root);
        for (const queries::ReaderQuery& query : queries::reading(queries::Reads::NodeList)) {
            EXPECT_THAT(openedBy(query), ElementsAre(expected)) << query.name;
        }
    }
}

TEST(QueryPaths, ManagerRootOfEachForm_IsConcatenatedVerbatimAndUnsetOpensNothing) {
    const support::Deployment files;
    SysConfReader::Instance();
    const std::pair<const char*, Paths> rows[] = {
        {nullptr, {}},
        {"", {"/etc/sysconf/nodelists.json"}},
        {"/nowhere", {"/nowhere/etc/sysconf/nodelists.json"}},
        {"/nowhere/", {"/nowhere//etc/sysconf/nodelists.json"}},
        {"relative", {"relative/etc/sysconf/nodelists.json"}},
    };
    for (const auto& [root, expected] : rows) {
        support::setEnvironment("TOLM_ROOT", root);
        for (const queries::ReaderQuery& query :
             queries::reading(queries::Reads::ManagerNodeList)) {
            EXPECT_EQ(openedBy(query), expected) << query.name;
        }
    }
}

TEST(QueryPaths, DatabaseAndLoadedValues_ReadNoFile) {
    support::Deployment files;
    queries::write(files, "1");
    SysConfReader::Instance();
    for (const queries::ReaderQuery& query : queries::reading(queries::Reads::Nothing)) {
        EXPECT_THAT(openedBy(query), IsEmpty()) << query.name;
    }
}

} // namespace
