// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include "support/Deployment.h"

#include <gmock/gmock.h>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kFormats[] = {"plain", "table", "json"};
constexpr const char* kPassword = "hush-hush";

const std::vector<std::vector<std::string>> kCommands = {
    {"show"},
    {"get", "db-password", "orders", "0"},
    {"get", "db-access-host", "orders", "1"},
    {"get", "db-info", "orders"},
    {"get", "db-info", "strange"},
    {"get", "all-db-info"},
    {"explain", "db-password", "orders", "0"},
    {"explain", "db-access-host", "orders", "1"},
    {"explain", "all-db-info"},
    {"explain", "--all"},
    {"check"},
};

support::Deployment deploymentWithPasswords() {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {
        "orders": [{"type": "x", "passwd": "hush-hush", "paswd": "hush-hush", "pw": "hush-hush",
                    "token": ["hush-hush"], "url": "db://me:hush-hush@host"},
                   {"type": "y", "passwd": "", "accessHost": "db://me:hush-hush@host"}],
        "strange": {"passwd": {"a": ["hush-hush"]}, "deep": [{"PassWord2": "hush-hush"}],
                    "clientSecret": "hush-hush", "pwd": 4711},
        "public": [{"type": "z", "passwd": ""}]}})");
    return deployment;
}

tool::CommandResult runWith(std::vector<std::string> arguments, const char* format,
                            bool reveal = false) {
    arguments.insert(arguments.end(), {"-o", format});
    if (reveal) {
        arguments.push_back("--reveal-secrets");
    }
    return tool::run(arguments);
}

TEST(Secrets, EveryCommandAndFormat_MasksThem) {
    const auto deployment = deploymentWithPasswords();
    for (const auto& command : kCommands) {
        for (const char* format : kFormats) {
            const auto result = runWith(command, format);
            const std::string written = result.output + result.errors;
            EXPECT_EQ(result.output.empty(), command.front() == "get")
                << testing::PrintToString(command) << format;
            EXPECT_THAT(written, Not(HasSubstr(kPassword)))
                << testing::PrintToString(command) << format;
            EXPECT_THAT(written, Not(HasSubstr("4711")))
                << testing::PrintToString(command) << format;
        }
    }
}

TEST(Secrets, CommandsThatShowNone_TakeTheOptionToo) {
    const auto deployment = deploymentWithPasswords();
    for (const char* command : {"nodes", "map"}) {
        const auto result = tool::run({command, "--reveal-secrets", "-o", "json"});
        EXPECT_EQ(result.exitStatus, 1) << command;
        EXPECT_THAT(result.output, Not(HasSubstr(kPassword))) << command;
    }
}

TEST(Secrets, OptionBeforeTheCommand_RevealsThem) {
    const auto deployment = deploymentWithPasswords();
    EXPECT_EQ(tool::run({"--reveal-secrets", "get", "db-password", "orders", "0"}).output,
              "hush-hush\n");
}

TEST(Secrets, WithRevealSecrets_AreShownByEveryCommand) {
    const auto deployment = deploymentWithPasswords();
    for (const auto& command : kCommands) {
        if (command.front() == "check") {
            continue; // check shows only values with findings
        }
        EXPECT_THAT(runWith(command, "json", true).output, HasSubstr(kPassword))
            << testing::PrintToString(command);
    }
    EXPECT_THAT(runWith({"check"}, "table", true).output, HasSubstr(kPassword));
}

TEST(Secrets, WithRevealSecrets_AreShown) {
    const auto deployment = deploymentWithPasswords();
    EXPECT_EQ(runWith({"get", "db-password", "orders", "0"}, "plain", true).output, "hush-hush\n");
    EXPECT_THAT(runWith({"show"}, "table", true).output, HasSubstr("db-password orders 0  "));
    for (const char* format : kFormats) {
        EXPECT_THAT(runWith({"show"}, format, true).output, HasSubstr(kPassword)) << format;
    }
    const Json::Value info =
        tool::parsed(runWith({"get", "db-info", "strange"}, "json", true).output);
    EXPECT_EQ(info["value"]["deep"][0]["PassWord2"], kPassword);
    EXPECT_EQ(info["value"]["pwd"], 4711);
    EXPECT_FALSE(info.isMember("masked"));
}

TEST(Secrets, GetOfASecret_PrintsOnlyAnErrorInEveryFormat) {
    const auto deployment = deploymentWithPasswords();
    for (const char* format : kFormats) {
        for (const auto& command : kCommands) {
            if (command.front() != "get") {
                continue;
            }
            const auto result = runWith(command, format);
            EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(command);
            EXPECT_EQ(result.output, "") << testing::PrintToString(command);
            EXPECT_THAT(result.errors, HasSubstr("so it is not printed (--reveal-secrets"));
        }
    }
    EXPECT_EQ(runWith({"get", "db-password", "orders", "0"}, "plain").errors,
              "sysconfctl: db-password orders 0 is a secret, so it is not printed "
              "(--reveal-secrets prints it)\n");
    EXPECT_THAT(runWith({"get", "db-info", "orders"}, "plain").errors,
                HasSubstr("sysconfctl explain db-info orders prints it masked"));
    EXPECT_EQ(tool::parsed(runWith({"get", "all-db-info"}, "json").errors)["name"], "secret");
}

TEST(Secrets, AnswersWithoutASecret_ArePrinted) {
    const auto deployment = deploymentWithPasswords();
    EXPECT_EQ(runWith({"get", "db-type", "orders", "0"}, "plain").output, "x\n");
    EXPECT_EQ(runWith({"get", "db-info", "public"}, "plain").output,
              "[{\"passwd\":\"\",\"type\":\"z\"}]\n");
}

TEST(Secrets, MaskedAnswer_SaysSoInJson) {
    const auto deployment = deploymentWithPasswords();
    const auto explained = [](std::vector<std::string> query) {
        query.insert(query.begin(), "explain");
        return tool::parsed(runWith(query, "json").output)["explanations"][0];
    };
    const Json::Value reply = explained({"db-password", "orders", "0"});
    EXPECT_EQ(reply["value"], "********");
    EXPECT_TRUE(reply["masked"].asBool());
    const Json::Value info = explained({"db-info", "orders"});
    EXPECT_EQ(info["value"][0]["passwd"], "********");
    EXPECT_EQ(info["value"][0]["type"], "x");
    EXPECT_TRUE(info["masked"].asBool());
    EXPECT_FALSE(explained({"db-info", "public"}).isMember("masked"));
}

TEST(Secrets, EmptyPassword_IsNoAnswerAndNoSecret) {
    const auto deployment = deploymentWithPasswords();
    EXPECT_EQ(runWith({"get", "db-password", "orders", "1"}, "plain").exitStatus, 1);
}

TEST(Secrets, PasswordOfAWrongType_DoesNotShowInTheError) {
    support::Deployment deployment;
    deployment.appConfig(R"({"databases": {"d": [{"passwd": {"hush-hush": "hush-hush"}}]}})");
    for (const char* format : kFormats) {
        const auto result = runWith({"get", "db-password", "d", "0"}, format);
        EXPECT_EQ(result.exitStatus, 3) << format;
        EXPECT_THAT(result.output + result.errors, Not(HasSubstr(kPassword))) << format;
    }
}

} // namespace
