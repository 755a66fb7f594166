// What a reload replaces and what it leaves, when files or values have gone.

#include "SysConfReader.h"
#include "support/Answers.h"
#include "support/FileCalls.h"
#include "support/SampleTexts.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sys/stat.h>

namespace {

using Quarncommon::SysConfReader;
using support::Answers;
using support::Deployment;
using support::jsonText;

/// Ways in which the file at a path cannot be parsed. The path is free when they are applied.
struct UnparsableRow {
    const char* name;
    std::function<void(const std::filesystem::path&)> make;
};

const std::vector<UnparsableRow>& unparsableRows() {
    static const std::vector<UnparsableRow> rows = {
        {"missing", [](const auto&) {}},
        {"empty", [](const auto& path) { support::writeFile(path, ""); }},
        {"malformed", [](const auto& path) { support::writeFile(path, R"({"databases": )"); }},
        {"comment", [](const auto& path) { support::writeFile(path, "{} // new"); }},
        {"two values", [](const auto& path) { support::writeFile(path, "{} {}"); }},
        {"nested too deep",
         [](const auto& path) {
             support::writeFile(path, std::string(5000, '[') + std::string(5000, ']'));
         }},
        {"directory", [](const auto& path) { std::filesystem::create_directory(path); }},
        {"pipe", [](const auto& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }},
        {"dangling link",
         [](const auto& path) { std::filesystem::create_symlink("nowhere", path); }},
        {"null device",
         [](const auto& path) { std::filesystem::create_symlink("/dev/null", path); }},
        {"failing half-way",
         [](const auto& path) {
             support::writeFile(path, "{}" + std::string(100, ' '));
             support::disturbReads(path, [](std::size_t call) {
                 return call == 0 ? support::ReadStep{0, 50} : support::ReadStep{EIO};
             });
         }},
    };
    return rows;
}

void makeUnparsable(const std::filesystem::path& path, const UnparsableRow& row) {
    std::filesystem::remove_all(path);
    row.make(path);
}

void endRow(const std::filesystem::path& path) {
    support::disturbReads(path, nullptr);
    std::filesystem::remove_all(path);
}

SysConfReader& loadGeneration(Deployment& deployment, int generation) {
    SysConfReader::Destory();
    writeGeneration(deployment, generation);
    return *SysConfReader::Instance();
}

TEST(FirstLoad, AppConfigNotParsable_StillReadsTheNodeList) {
    Deployment deployment;
    for (const UnparsableRow& row : unparsableRows()) {
        SCOPED_TRACE(row.name);
        SysConfReader::Destory();
        makeUnparsable(deployment.appConfigPath(), row);
        deployment.nodeList(R"({"nodeList": {"": {"extAttr": {"HOSTID": "no node's"}}}})");
        SysConfReader::Instance();
        Answers expected = support::noLoadedValues();
        expected.back().second = "no node's";
        EXPECT_EQ(support::loadedValues(deployment), expected);
        endRow(deployment.appConfigPath());
    }
}

TEST(FirstLoad, NodeListNotParsable_KeepsWhatTheAppConfigGave) {
    Deployment deployment;
    Answers expected = support::sampleLoadedValues(1);
    expected.back().second = "";
    for (const UnparsableRow& row : unparsableRows()) {
        SCOPED_TRACE(row.name);
        SysConfReader::Destory();
        writeGeneration(deployment, 1);
        makeUnparsable(deployment.nodeListPath(), row);
        SysConfReader::Instance();
        endRow(deployment.nodeListPath());
        EXPECT_EQ(support::loadedValues(deployment), expected);
    }
}

TEST(Reload, NewFiles_ReplaceEveryValue) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    writeGeneration(deployment, 2);
    reader.Reload();
    EXPECT_EQ(SysConfReader::Instance(), &reader);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(2));
}

TEST(Reload, FilesChangedOnly_KeepsTheValuesUntilThen) {
    Deployment deployment;
    loadGeneration(deployment, 1);
    writeGeneration(deployment, 2);
    EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4001);
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(1));
}

TEST(Reload, AppConfigNotParsable_LosesTheDatabasesAndReadsTheNodeListForTheOldNode) {
    Deployment deployment;
    Answers expected = support::sampleLoadedValues(1);
    expected.front().second = "";
    expected.back().second = "host1-2";
    for (const UnparsableRow& row : unparsableRows()) {
        SCOPED_TRACE(row.name);
        SysConfReader& reader = loadGeneration(deployment, 1);
        makeUnparsable(deployment.appConfigPath(), row);
        deployment.nodeList(jsonText(support::sampleNodeList(2)));
        reader.Reload();
        EXPECT_EQ(support::loadedValues(deployment), expected);
        endRow(deployment.appConfigPath());
    }
}

TEST(Reload, AppConfigDeleted_FindsNoDatabaseAndKeepsThePorts) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    EXPECT_EQ(reader.getDBAccessPort("db", 0), 3001);
    std::filesystem::remove(deployment.appConfigPath());
    reader.Reload();
    Json::Value info;
    EXPECT_EQ(reader.getDBInfo("db", info), -1);
    EXPECT_EQ(reader.getDBAccessPort("db", 0), -1);
    EXPECT_EQ(reader.getDBType("db", 0), "");
    EXPECT_EQ(reader.getLocalPort(), 4001);
}

TEST(Reload, NodeListNotParsable_KeepsTheHostTagAndTakesTheNewNode) {
    Deployment deployment;
    Answers expected = support::sampleLoadedValues(2);
    expected.back().second = "host1-1";
    for (const UnparsableRow& row : unparsableRows()) {
        SCOPED_TRACE(row.name);
        SysConfReader& reader = loadGeneration(deployment, 1);
        deployment.appConfig(jsonText(support::sampleAppConfig(2)));
        makeUnparsable(deployment.nodeListPath(), row);
        reader.Reload();
        endRow(deployment.nodeListPath());
        EXPECT_EQ(support::loadedValues(deployment), expected);
    }
}

TEST(Reload, NodeListDeletedOnAStandbyNode_FallsBackToTheOwnNode) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(R"({"nodeList": {"node1": {"extAttr": {"hostType": "standby"}},
            "source": {"extAttr": {"HOSTID": "tag"},
                       "IPAddresses": [{"IP": "127.0.0.1", "usage": ["service"]}]}}})");
    SysConfReader& reader = *SysConfReader::Instance();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
    std::filesystem::remove(deployment.nodeListPath());
    reader.Reload();
    // The float node is a copy of the own id again, and nothing replaced it.
    EXPECT_EQ(reader.getFloatNodeId(), "node1");
    EXPECT_EQ(reader.getLocalHostTagName(), "tag");
}

TEST(Reload, BothFilesDeletedOnAStandbyNode_KeepsTheFloatNode) {
    Deployment deployment;
    deployment.appConfig(jsonText(support::sampleAppConfig(1)))
        .nodeList(R"({"nodeList": {"node1": {"extAttr": {"hostType": "standby"}},
            "source": {"IPAddresses": [{"IP": "127.0.0.1", "usage": ["service"]}]}}})");
    SysConfReader& reader = *SysConfReader::Instance();
    std::filesystem::remove(deployment.appConfigPath());
    std::filesystem::remove(deployment.nodeListPath());
    reader.Reload();
    EXPECT_EQ(reader.getFloatNodeId(), "source");
}

TEST(Reload, AppConfigTruncatedAtAnyByte_CountsAsNotParsable) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    const std::string text = jsonText(support::sampleAppConfig(2));
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE(length);
        deployment.appConfig(text.substr(0, length));
        reader.Reload();
        EXPECT_EQ(reader.getDBType("db", 0), "");
        EXPECT_EQ(reader.getMaintenanceIPAddress(), "10.1.0.1");
        EXPECT_EQ(reader.getCorbaSSLPort(), 7001);
        EXPECT_EQ(reader.getFloatNodeId(), "node1");
        EXPECT_EQ(reader.getLocalHostTagName(), "host1-1");
    }
    deployment.appConfig(text);
    reader.Reload();
    EXPECT_EQ(reader.getLocalPort(), 4002);
}

TEST(Reload, NodeListTruncatedAtAnyByte_CountsAsNotParsable) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    const std::string text = jsonText(support::sampleNodeList(2));
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE(length);
        deployment.nodeList(text.substr(0, length));
        reader.Reload();
        EXPECT_EQ(reader.getLocalHostTagName(), "host1-1");
    }
    deployment.nodeList(text);
    reader.Reload();
    EXPECT_EQ(reader.getLocalHostTagName(), "host1-2");
}

TEST(Reload, DatabaseRemovedAddedAndChanged_LeavesExactlyTheNewOnes) {
    Deployment deployment;
    deployment.appConfig(R"({"databases": {"a": [1], "b": [2]}})");
    SysConfReader& reader = *SysConfReader::Instance();
    deployment.appConfig(R"({"databases": {"b": [3], "c": [4]}})");
    reader.Reload();
    std::map<std::string, Json::Value> all;
    reader.getAllDBInfo(all);
    std::map<std::string, Json::Value> expected;
    expected["b"].append(3);
    expected["c"].append(4);
    EXPECT_EQ(all, expected);
}

TEST(Reload, MembersMissingNow_BecomeEmpty) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    deployment.appConfig("{}");
    deployment.nodeList("{}");
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), support::noLoadedValues());
}

TEST(Reload, ThousandTimesWithAnyFile_LeavesNoDescriptorOpen) {
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator descriptors("/proc/self/fd");
        return std::distance(begin(descriptors), end(descriptors));
    };
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    const auto before = openDescriptors();
    const auto& rows = unparsableRows();
    for (std::size_t round = 0; round < 1000; ++round) {
        const UnparsableRow& row = rows[round % rows.size()];
        makeUnparsable(deployment.appConfigPath(), row);
        reader.Reload();
        endRow(deployment.appConfigPath());
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Reload, FilesRepaired_LoadAgain) {
    Deployment deployment;
    SysConfReader& reader = loadGeneration(deployment, 1);
    deployment.appConfig("{");
    deployment.nodeList("{");
    reader.Reload();
    writeGeneration(deployment, 3);
    reader.Reload();
    EXPECT_EQ(support::loadedValues(deployment), support::sampleLoadedValues(3));
}

} // namespace
