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

TEST(QueryPaths, RootsWithSlashOrRelative_AreFound) {
    support::Deployment files;
    queries::write(files, "1");
    SysConfReader::Instance();
    std::map<std::string, std::string> expected;
    for (const queries::ReaderQuery& query : queries::ofReader()) {
        expected[query.name] = queries::ask(query);
    }
    expected.erase("GetAppRoot");
    std::filesystem::current_path(support::testDirectory());
    for (const bool relative : {false, true}) {
        support::setEnvironment("APP_ROOT",
                                relative ? "app" : (files.appRoot().string() + "/").c_str());
        support::setEnvironment("TOLM_ROOT",
                                relative ? "tolm" : (files.managerRoot().string() + "/").c_str());
        for (const queries::ReaderQuery& query : queries::ofReader()) {
            if (expected.count(query.name) != 0) {
                EXPECT_EQ(queries::ask(query), expected[query.name]) << query.name;
            }
        }
    }
}

TEST(QueryPaths, AppConfigUnset_LoadsNothingFromItButReadsTheNodeList) {
    support::Deployment files;
    queries::write(files, "1");
    files.nodeList(R"({"nodeList":{"":{"extAttr":{"HOSTID":"tag of the empty id"}}}})");
    support::setEnvironment("APP_CONF_FILE", nullptr);
    const Paths paths = opened([] { SysConfReader::Instance(); });
    EXPECT_THAT(paths, Contains(HasSubstr("nodelist.json")));
    EXPECT_THAT(paths, testing::Not(Contains(HasSubstr("app.json"))));
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getLocalHostTagName(), "tag of the empty id");
    EXPECT_EQ(reader.getLocalPort(), 0);
    EXPECT_EQ(reader.getMaintenanceIPAddress(), "");
    EXPECT_EQ(reader.getFloatNodeId(), "");
    EXPECT_EQ(reader.getDBAccessPort("db", 0), -1);
}

TEST(QueryPaths, InstanceIdUnset_UsesTheProcessWithTheEmptyKey) {
    support::Deployment files;
    support::setEnvironment("PROCESS_INSTANCE_ID", nullptr);
    files.appConfig(R"({"processes":{"p1":{"local":{"port":1}}}})");
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 0);
    EXPECT_EQ(SysConfReader::Instance()->getLocalhostIPAddress(), "");
    files.appConfig(R"({"processes":{"p1":{},"":{"local":{"port":2,"ip":"a"}}}})");
    SysConfReader::Instance()->Reload();
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 2);
    EXPECT_EQ(SysConfReader::Instance()->getLocalhostIPAddress(), "a");
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
