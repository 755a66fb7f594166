// SPDX-License-Identifier: Apache-2.0

#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/FileCalls.h"
#include "support/Operations.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using operations::Answers;
using operations::answersFromFiles;
using support::setEnvironment;

constexpr const char* kVariables[] = {"APP_CONF_FILE", "PROCESS_INSTANCE_ID", "APP_ROOT",
                                      "TOLM_ROOT"};

class EnvironmentVariables : public testing::Test {
protected:
    EnvironmentVariables() {
        // Hides lists below the root of this machine.
        for (const char* list : {"/etc/sysconf/nodelist.json", "/etc/sysconf/nodelists.json"}) {
            support::redirectOpen(list, "/nowhere");
        }
        m_none = answersFromFiles();
        operations::destroyAll();
        operations::writeFiles(files, "a");
        m_whole = answersFromFiles();
        operations::destroyAll();
    }

    void expectAnswers(const Answers& expected) {
        EXPECT_EQ(operations::differences(answersFromFiles(), expected), "") << "first load";
        operations::reloadAll();
        EXPECT_EQ(operations::differences(answersFromFiles(), expected), "") << "reload";
        operations::destroyAll();
    }

    support::Deployment files;
    Answers m_none;
    Answers m_whole;
};

TEST_F(EnvironmentVariables, UnsetOrEmpty_AnswersAsWithoutFiles) {
    for (const char* value : {static_cast<const char*>(nullptr), ""}) {
        for (const char* variable : kVariables) {
            setEnvironment(variable, value);
        }
        expectAnswers(m_none);
    }
}

TEST_F(EnvironmentVariables, Huge_AnswersAsWithoutFiles) {
    for (const std::size_t length : {256UL, 4096UL, 65536UL, 1UL << 20U}) {
        SCOPED_TRACE(length);
        const std::string huge = "/" + std::string(length, 'x');
        for (const char* variable : kVariables) {
            setEnvironment(variable, huge.c_str());
        }
        operations::Outputs root;
        root.text = huge;
        EXPECT_TRUE(operations::answers().at("SysConfReader::GetAppRoot") == root.toText());
        operations::destroyAll();
        expectAnswers(m_none);
    }
}

TEST_F(EnvironmentVariables, HugeSwitch_TurnsTheSubscriptionOff) {
    support::installEventLibrary("recording");
    const std::string huge(1U << 20U, 'x');
    for (const char* variable : {"NO_EM_CLIENT", "NO_EM_CLIENT_CONSUMER"}) {
        setEnvironment(variable, huge.c_str());
        expectAnswers(m_whole);
        EXPECT_EQ(support::eventLibraryCalls().inits, 0);
        setEnvironment(variable, nullptr);
    }
}

TEST_F(EnvironmentVariables, BytesThatAreNoCharacters_AreUsedVerbatim) {
    const std::string odd = "\xff\xfe\xc3(\x80 \n'";
    const fs::path root = support::testDirectory() / odd;
    fs::create_directory(root);
    fs::rename(files.appRoot(), root / "app");
    fs::rename(files.managerRoot(), root / "tolm");
    std::string config = operations::appConfig("a");
    config.replace(config.find("\"p1\""), 4, "\"\xff\xfe\xc3(\x80 \"");
    support::writeFile(root / "app.json", config);
    setEnvironment("APP_CONF_FILE", (root / "app.json").c_str());
    setEnvironment("APP_ROOT", (root / "app").c_str());
    setEnvironment("TOLM_ROOT", (root / "tolm").c_str());
    setEnvironment("PROCESS_INSTANCE_ID", "\xff\xfe\xc3(\x80 ");
    expectAnswers(m_whole);
}

TEST_F(EnvironmentVariables, RelativePaths_StartAtTheCurrentDirectory) {
    const fs::path elsewhere = support::testDirectory() / "elsewhere";
    fs::create_directory(elsewhere);
    setEnvironment("APP_CONF_FILE", "app.json");
    setEnvironment("APP_ROOT", "app");
    setEnvironment("TOLM_ROOT", "./tolm");
    fs::current_path(support::testDirectory());
    EXPECT_EQ(operations::differences(answersFromFiles(), m_whole), "");

    fs::current_path(elsewhere);
    const Answers moved = answersFromFiles();
    EXPECT_EQ(moved.at("SysConfReader::getLocalIPByUsage"),
              m_none.at("SysConfReader::getLocalIPByUsage"));
    EXPECT_EQ(moved.at("SysConfReader::getIPAddresses"),
              m_none.at("SysConfReader::getIPAddresses"));
    EXPECT_EQ(moved.at("SysConfReader::getLocalPort"), m_whole.at("SysConfReader::getLocalPort"));

    fs::current_path(support::testDirectory());
    EXPECT_EQ(operations::differences(answersFromFiles(), m_whole), "");
    operations::destroyAll();
    fs::current_path(elsewhere);
    expectAnswers(m_none);
    // There are no files below a deleted directory.
    fs::remove(elsewhere);
    expectAnswers(m_none);
    fs::current_path(support::testDirectory());
    expectAnswers(m_whole);
}

TEST_F(EnvironmentVariables, ChangedBetweenCalls_QueriesFollowAtOnceAndLoadedValuesAtALoad) {
    operations::createAll();
    for (const char* variable : kVariables) {
        setEnvironment(variable, "/nowhere");
    }
    const Answers changed = answersFromFiles();
    EXPECT_EQ(changed.at("SysConfReader::getLocalIPByUsage"),
              m_none.at("SysConfReader::getLocalIPByUsage"));
    EXPECT_EQ(changed.at("SysConfReader::getAllFloatIP"),
              m_none.at("SysConfReader::getAllFloatIP"));
    EXPECT_EQ(changed.at("SysConfReader::getDBPassword"),
              m_whole.at("SysConfReader::getDBPassword"));
    EXPECT_EQ(changed.at("SysConfReader_i::GetProductName"),
              m_whole.at("SysConfReader_i::GetProductName"));
    operations::reloadAll();
    EXPECT_EQ(answersFromFiles().at("SysConfReader::getDBPassword"),
              m_none.at("SysConfReader::getDBPassword"));
    const support::Deployment again; // sets the variables
    operations::reloadAll();
    EXPECT_EQ(operations::differences(answersFromFiles(), m_whole), "");
}

} // namespace
