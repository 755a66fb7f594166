// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

fs::path copyOfSamples() {
    const fs::path copy = support::testDirectory() / "samples";
    fs::copy(tool::samplesDirectory(), copy, fs::copy_options::recursive);
    return copy;
}

void replaceIn(const fs::path& path, const std::string& before, const std::string& after) {
    std::string text = tool::readFile(path);
    const std::size_t at = text.find(before);
    ASSERT_NE(at, std::string::npos) << before;
    support::writeFile(path, text.replace(at, before.size(), after));
}

Json::Value checked(const fs::path& tree) {
    return tool::parsed(tool::run({"check", "-o", "json", tree.string()}).output);
}

std::vector<Json::Value> errorsOf(const Json::Value& report) {
    std::vector<Json::Value> errors;
    std::copy_if(report["findings"].begin(), report["findings"].end(), std::back_inserter(errors),
                 [](const Json::Value& finding) { return finding["severity"] == "error"; });
    return errors;
}

TEST(CheckTrees, Samples_AreCheckedWholeAndHealthy) {
    const auto result = tool::run({"check", "--strict", tool::samplesDirectory().string()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, HasSubstr("no problem found in 12 files: 6 processes, 15 nodes"));
}

TEST(CheckTrees, WithoutEnvFiles_FilesAreFoundByTheirPlaces) {
    const fs::path copy = copyOfSamples();
    for (const auto& entry : fs::recursive_directory_iterator(copy)) {
        if (entry.path().extension() == ".env") {
            fs::remove(entry.path());
        }
    }
    const Json::Value report = checked(copy);
    EXPECT_EQ(report["checked"]["files"], 12);
    EXPECT_EQ(report["checked"]["processes"], 6);
    EXPECT_EQ(report["errors"], 0);
    EXPECT_EQ(report["warnings"], 0);
}

TEST(CheckTrees, AddressOfOneList_IsFoundWhereTheOthersDisagree) {
    const fs::path copy = copyOfSamples();
    const fs::path odd = copy / "ha-pair/manager/etc/sysconf/nodelists.json";
    replaceIn(odd, "198.51.100.11", "198.51.100.99");
    const std::vector<Json::Value> errors = errorsOf(checked(copy));
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0]["file"], odd.string());
    EXPECT_THAT(errors[0]["excerpt"].asString(), HasSubstr("198.51.100.99"));
    EXPECT_THAT(errors[0]["related"][0]["file"].asString(), HasSubstr("nodelist.json"));
}

TEST(CheckTrees, ListsOfTwoNodes_AreComparedWithoutAManagerList) {
    const fs::path copy = copyOfSamples();
    fs::remove_all(copy / "ha-pair/manager");
    fs::remove_all(copy / "two-tenancies");
    for (const char* name : {"ha-pair/master.env", "ha-pair/standby.env"}) {
        replaceIn(copy / name, "TOLM_ROOT=manager\n", "");
    }
    EXPECT_TRUE(errorsOf(checked(copy)).empty());
    replaceIn(copy / "ha-pair/node-2/etc/sysconf/nodelist.json", "203.0.113.23", "203.0.113.24");
    const std::vector<Json::Value> errors = errorsOf(checked(copy));
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0]["name"], "list-mismatch");
    EXPECT_THAT(errors[0]["related"][0]["file"].asString() + errors[0]["file"].asString(),
                AllOf(HasSubstr("node-1/"), HasSubstr("node-2/")));
}

TEST(CheckTrees, EveryProcess_IsChecked) {
    const fs::path copy = copyOfSamples();
    // The env files name another process.
    replaceIn(copy / "two-tenancies/east-access-1/etc/app.json", "\"port\": 31500",
              "\"port\": \"31500\"");
    const std::vector<Json::Value> errors = errorsOf(checked(copy));
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0]["pointer"], "/processes/alarm-1/CORBA/port");
    EXPECT_EQ(errors[0]["name"], "wrong-type");
    EXPECT_EQ(errors[0]["consequences"].size(), 1U);
}

TEST(CheckTrees, MissingAndEmptyOperands_AreUsageErrors) {
    const auto missing = tool::run({"check", "nowhere"});
    EXPECT_EQ(missing.exitStatus, 2);
    EXPECT_THAT(missing.errors, HasSubstr("nowhere: No such file or directory"));
    const fs::path empty = support::testDirectory() / "empty";
    fs::create_directory(empty);
    const auto nothing = tool::run({"check", empty.string()});
    EXPECT_EQ(nothing.exitStatus, 2);
    EXPECT_THAT(nothing.errors, HasSubstr("nothing to check"));
}

TEST(CheckTrees, OtherFiles_AreIgnored) {
    const fs::path copy = copyOfSamples();
    support::writeFile(copy / "package.json", R"({"name": "x", "version": "1"})");
    support::writeFile(copy / ".env", "not an assignment\n");
    support::writeFile(copy / "other.env", "COLOR=red\n");
    EXPECT_EQ(checked(copy)["checked"]["files"], 12);
}

TEST(CheckTrees, EnvFileThatIsLeftOut_IsAWarning) {
    const fs::path copy = copyOfSamples();
    support::writeFile(copy / "odd.env", "APP_ROOT=ha-pair/node-1\nnot an assignment\n");
    fs::create_symlink(tool::samplesDirectory(), copy / "linked");
    fs::create_symlink("ha-pair", copy / "inside");
    const Json::Value report = checked(copy);
    EXPECT_EQ(report["checked"]["files"], 12);
    ASSERT_GE(report["findings"].size(), 2U) << report;
    const std::string texts =
        report["findings"][0]["text"].asString() + '\n' + report["findings"][1]["text"].asString();
    EXPECT_THAT(texts, AllOf(HasSubstr("odd.env:2: expected KEY=VALUE"),
                             HasSubstr("linked is a link to a folder outside")));
    EXPECT_EQ(report["findings"][0]["name"], "left-out");
    EXPECT_EQ(report["warnings"], 2);
}

TEST(CheckTrees, NamedFiles_AreCheckedTogether) {
    const fs::path pair = tool::samplesDirectory() / "ha-pair";
    const auto result = tool::run({"check", "--strict", (pair / "node-1/etc/app.json").string(),
                                   (pair / "node-1/etc/sysconf/nodelist.json").string()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, HasSubstr("in 2 files: 1 process, 2 nodes"));
}

} // namespace
