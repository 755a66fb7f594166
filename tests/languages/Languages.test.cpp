// SPDX-License-Identifier: Apache-2.0
// The same whole and broken deployments through C++, C, Python and `sysconfctl exec`. Each asks in
// its own process.

#include "support/BrokenDeployments.h"
#include "support/Command.h"
#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <fstream>
#include <set>
#include <sstream>

namespace {

using Texts = std::vector<std::string>;
namespace fs = std::filesystem;

const fs::path kSamples = fs::path(SYSCONF_SOURCE_DIRECTORY) / "samples";

const Texts kWithoutArguments = {"app-root",
                                 "localhost-ip-address",
                                 "local-port",
                                 "maintenance-ip-address",
                                 "wss-ip-address",
                                 "wss-port",
                                 "corba-port",
                                 "corba-ssl-port",
                                 "float-node-id",
                                 "source-node-id",
                                 "local-host-tag-name",
                                 "product-name",
                                 "local-internal-service-ip",
                                 "master-internal-service-ip",
                                 "standby-internal-service-ip",
                                 "local-maintenance-ip",
                                 "local-service-ip",
                                 "local-service2-ip",
                                 "local-north-ip",
                                 "local-south-ip",
                                 "pf-type",
                                 "local-node-ips-by-tag",
                                 "all-db-info"};
const Texts kWithArguments = {"local-ip-by-usage internal_service",
                              "local-node-ips northbound",
                              "local-node-ips-by-tag service absent",
                              "ip-addresses assignedToTenancy co",
                              "ip-addresses absent co",
                              "all-float-ip service",
                              "all-float-ip internal_service maintenance",
                              "db-info alarms",
                              "db-info absent"};
const Texts kFields = {"db-type",     "db-access-host",  "db-access-port", "db-user-name",
                       "db-password", "db-service-name", "db-server-name", "db-lib"};

Texts questions() {
    Texts all = kWithoutArguments;
    all.insert(all.end(), kWithArguments.begin(), kWithArguments.end());
    for (const std::string& field : kFields) {
        for (const char* entry : {" alarms 0", " inventory 1", " alarms 9"}) {
            all.push_back(field + entry);
        }
    }
    return all;
}

Json::Value parsed(const std::string& text) {
    Json::Value value;
    std::string errors;
    std::istringstream stream(text);
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &errors)) << errors << text;
    return value;
}

/// Runs a program in the folder of the deployment. The modes of files apply to it.
std::string outputOf(const fs::path& folder, const char* program, const Texts& arguments) {
    const auto result = support::Command(program, arguments)
                            .workingDirectory(folder)
                            .withoutFilePrivileges()
                            .variable("NO_EM_CLIENT", "1")
                            .variable("LD_LIBRARY_PATH", SYSCONF_C_LIBRARY)
                            .variable("PYTHONPATH", SYSCONF_SOURCE_DIRECTORY "/bindings/python")
                            .variable("PYTHONDONTWRITEBYTECODE", "1")
                            .run();
    EXPECT_EQ(result.exitStatus, 0) << program << result.errors;
    return result.output;
}

std::string variableOf(std::string query) {
    for (char& c : query) {
        c = c == '-' ? '_' : static_cast<char>(std::toupper(c));
    }
    return "SYSCONF_" + query;
}

/// The variables that `exec` sets for queries without arguments.
std::map<std::string, std::string> variables(const fs::path& folder) {
    std::istringstream entries(
        outputOf(folder, SYSCONFCTL, {"exec", "--reveal-secrets", "--", "/usr/bin/env", "-0"}));
    std::map<std::string, std::string> all;
    for (std::string entry; std::getline(entries, entry, '\0');) {
        all[entry.substr(0, entry.find('='))] = entry.substr(entry.find('=') + 1);
    }
    return all;
}

void expectVariablesOf(const Json::Value& answers, const fs::path& folder) {
    const auto all = variables(folder);
    for (const std::string& query : kWithoutArguments) {
        const auto found = all.find(variableOf(query));
        const Json::Value& answer = answers[query];
        EXPECT_EQ(found == all.end(), answer.isNull()) << query;
        if (found != all.end()) {
            const Json::Value value =
                answer.isString() ? Json::Value(found->second) : parsed(found->second);
            EXPECT_EQ(value.toStyledString(), answer.toStyledString()) << query;
        }
    }
}

void expectEqual(const Json::Value& answers, const Json::Value& expected) {
    EXPECT_EQ(answers.size(), expected.size());
    for (const std::string& question : expected.getMemberNames()) {
        EXPECT_EQ(answers[question].toStyledString(), expected[question].toStyledString())
            << question;
    }
}

/// The answers of C++, after comparing all others with them.
Json::Value comparedAnswers(const fs::path& folder) {
    const Texts all = questions();
    Json::Value answers = parsed(outputOf(folder, SYSCONF_ANSWERS_IN_CPP, all));
    EXPECT_EQ(answers.size(), all.size());
    expectEqual(parsed(outputOf(folder, SYSCONF_ANSWERS_IN_C, all)), answers);
    Texts python = {SYSCONF_SOURCE_DIRECTORY "/tests/languages/answers_in_python.py"};
    python.insert(python.end(), all.begin(), all.end());
    expectEqual(parsed(outputOf(folder, SYSCONF_PYTHON3, python)), answers);
    expectVariablesOf(answers, folder);
    return answers;
}

void setEnvironmentOf(const fs::path& file) {
    for (const char* name : {"APP_CONF_FILE", "PROCESS_INSTANCE_ID", "APP_ROOT", "TOLM_ROOT"}) {
        support::setEnvironment(name, nullptr);
    }
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        if (line.empty() || line.front() == '#' || equals == std::string::npos) {
            continue;
        }
        support::setEnvironment(line.substr(0, equals).c_str(), line.substr(equals + 1).c_str());
    }
}

TEST(Languages, WholeDeployments_HaveTheSameAnswersInEach) {
    std::size_t views = 0;
    for (const auto& entry : fs::recursive_directory_iterator(kSamples)) {
        if (entry.path().extension() == ".env") {
            SCOPED_TRACE(entry.path());
            setEnvironmentOf(entry.path());
            const Json::Value answers = comparedAnswers(entry.path().parent_path());
            EXPECT_TRUE(answers["product-name"].isString());
            ++views;
        }
    }
    EXPECT_EQ(views, 5U);
}

TEST(Languages, BrokenDeployments_HaveTheSameAnswersInEach) {
    std::set<std::string> different;
    bool wrongType = false;
    for (const support::BrokenDeployment& deployment : support::brokenDeployments()) {
        SCOPED_TRACE(deployment.name);
        const fs::path folder = support::testDirectory() / deployment.name;
        support::writeDeployment(deployment, kSamples / "ha-pair", folder);
        for (const auto& [name, value] : support::environmentOf(deployment)) {
            support::setEnvironment(name.c_str(), value ? value->c_str() : nullptr);
        }
        const Json::Value answers = comparedAnswers(folder);
        different.insert(answers.toStyledString());
        for (const Json::Value& answer : answers) {
            wrongType = wrongType || (answer.isObject() && answer["error"] == "wrong type");
        }
    }
    EXPECT_GE(support::brokenDeployments().size(), 25U);
    EXPECT_GE(different.size(), 20U) << "the faults have no effect";
    EXPECT_TRUE(wrongType);
}

} // namespace
