// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include "support/BrokenDeployments.h"
#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <regex>

namespace {

using support::BrokenDeployment;
using ::testing::HasSubstr;
using ::testing::Le;
using ::testing::Not;

constexpr int kWidths[] = {80, 120, 200};

class Broken {
public:
    explicit Broken(const BrokenDeployment& deployment)
        : m_deployment(deployment), m_folder(support::testDirectory() / deployment.name) {
        support::writeDeployment(deployment, tool::samplesDirectory() / "ha-pair", m_folder);
        for (const auto& [name, value] : support::environmentOf(deployment)) {
            support::setEnvironment(name.c_str(), value ? value->c_str() : nullptr);
        }
    }

    support::CommandResult run(std::vector<std::string> arguments, int width = 80) const {
        return tool::sysconfctl(std::move(arguments))
            .workingDirectory(m_folder)
            .withoutFilePrivileges()
            .variable("COLUMNS", std::to_string(width))
            .run();
    }

    std::string explained(std::vector<std::string> arguments, int width) const {
        arguments.insert(arguments.begin(), "explain");
        for (const std::string& address : m_deployment.hostAddresses) {
            arguments.insert(arguments.end(), {"--local-address", address});
        }
        const auto result = run(std::move(arguments), width);
        EXPECT_THAT(result.exitStatus, Le(3)) << m_deployment.name << result.errors;
        return result.output;
    }

private:
    const BrokenDeployment& m_deployment;
    std::filesystem::path m_folder;
};

std::string readable(const std::string& text) {
    return std::regex_replace(text, std::regex("\033"), "\\e");
}

std::string withoutColor(const std::string& text) {
    return std::regex_replace(text, std::regex("\033\\[[0-9;]*m"), "");
}

TEST(Verdicts, OfEveryQueryOnBrokenDeployments_EqualTheGoldenFiles) {
    for (const BrokenDeployment& deployment : support::brokenDeployments()) {
        const Broken broken(deployment);
        for (const int width : kWidths) {
            const std::string screen = broken.explained({"--all"}, width);
            tool::expectGoldenText(screen, "verdicts/" + deployment.name + "." +
                                               std::to_string(width) + ".txt");
            EXPECT_EQ(withoutColor(broken.explained({"--all", "--color", "always"}, width)), screen)
                << deployment.name;
        }
    }
}

TEST(Verdicts, OfTheQueryThatAFaultConcerns_EqualTheGoldenFiles) {
    for (const int width : kWidths) {
        std::string screens;
        for (const BrokenDeployment& deployment : support::brokenDeployments()) {
            std::vector<std::string> arguments = deployment.query;
            arguments.insert(arguments.end(), {"--color", "always"});
            screens += "== " + deployment.name + '\n' +
                       Broken(deployment).explained(std::move(arguments), width);
        }
        tool::expectGoldenText(readable(screens),
                               "verdicts/colour." + std::to_string(width) + ".txt");
    }
}

TEST(Verdicts, OnBrokenDeployments_AgreeWithTheLibrary) {
    for (const BrokenDeployment& deployment : support::brokenDeployments()) {
        const auto result = Broken(deployment).run({"explain", "--all", "-o", "json"});
        const Json::Value all = tool::parsed(result.output);
        ASSERT_GT(all["explanations"].size(), 20U) << deployment.name << result.errors;
        for (const Json::Value& one : all["explanations"]) {
            EXPECT_TRUE(one["agrees"].asBool()) << deployment.name << one;
            EXPECT_NE(one["verdict"].asString(), "") << deployment.name << one["query"];
        }
    }
}

} // namespace
