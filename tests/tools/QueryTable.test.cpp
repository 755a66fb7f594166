// SPDX-License-Identifier: Apache-2.0

#include "Sysconfctl.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

namespace {

using ::testing::Contains;
using ::testing::Key;
using ::testing::MatchesRegex;
using ::testing::Not;

using Operations = std::map<std::string, int>;

std::string withoutComments(std::string text) {
    for (std::size_t at = 0; (at = text.find("//", at)) != std::string::npos;) {
        text.erase(at, std::min(text.find('\n', at), text.size()) - at);
    }
    for (std::size_t at = 0; (at = text.find("/*", at)) != std::string::npos;) {
        text.erase(at, std::min(text.find("*/", at), text.size() - 2) + 2 - at);
    }
    return text;
}

std::string publicPart(const std::string& header, const std::string& className) {
    const std::string text =
        withoutComments(tool::readFile(tool::sourceDirectory() / "include" / header));
    const std::size_t body = text.find(" " + className + " {");
    const std::size_t begin = text.find("public:", body);
    const std::size_t end = text.find("private:", body);
    if (begin == std::string::npos || end == std::string::npos) {
        ADD_FAILURE() << "no class " << className << " in " << header;
        return {};
    }
    return text.substr(begin, end - begin);
}

bool isWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

std::string declaredName(const std::string& declaration) {
    const std::size_t bracket = declaration.find('(');
    if (bracket == std::string::npos) {
        return {};
    }
    std::size_t begin = bracket;
    while (begin > 0 && isWordCharacter(declaration[begin - 1])) {
        --begin;
    }
    return declaration.substr(begin, bracket - begin);
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/// No constructors, loaders or destructors, nothing static or deleted.
Operations queriesOf(const std::string& header, const std::string& className) {
    const std::set<std::string> lifecycle = {"", "Reload", "init_i", className};
    Operations operations;
    std::istringstream text(publicPart(header, className));
    for (std::string declaration; std::getline(text, declaration, ';');) {
        const std::string name = declaredName(declaration);
        const bool asked = !contains(declaration, "static ") && !contains(declaration, "delete") &&
                           !contains(declaration, "operator");
        if (asked && !lifecycle.contains(name)) {
            ++operations[name];
        }
    }
    return operations;
}

Operations publicQueries() {
    Operations operations = queriesOf("SysConfReader.h", "SysConfReader");
    for (const auto& facade : queriesOf("SysConfReader_i.h", "SysConfReader_i")) {
        operations.insert(facade);
    }
    return operations;
}

Json::Value listedQueries() {
    return tool::parsed(tool::run({"get", "--list", "-o", "json"}).output)["queries"];
}

TEST(QueryTable, PublicHeaders_AreUnderstood) {
    const Operations reader = queriesOf("SysConfReader.h", "SysConfReader");
    const Operations facade = queriesOf("SysConfReader_i.h", "SysConfReader_i");
    for (const char* name : {"getLocalPort", "GetMasterInternalServiceIP", "getAllDBInfo",
                             "getAllFloatIP", "getSourceNodeId", "getLocalSouthIP"}) {
        EXPECT_THAT(reader, Contains(testing::Pair(name, 1)));
    }
    EXPECT_THAT(reader, Contains(testing::Pair("getLocalNodeIPs", 2)));
    for (const char* name :
         {"Instance", "Destory", "Reload", "init_i", "identity", "SysConfReader"}) {
        EXPECT_THAT(reader, Not(Contains(Key(name))));
    }
    EXPECT_EQ(facade.size(), 4U);
}

TEST(QueryTable, EveryPublicQuery_IsListedOnceForEachOverload) {
    Operations listed;
    for (const Json::Value& query : listedQueries()) {
        ++listed[query["operation"].asString()];
    }
    EXPECT_EQ(listed, publicQueries());
}

TEST(QueryTable, Names_AreDistinctAndInKebabCase) {
    std::set<std::string> names;
    for (const Json::Value& query : listedQueries()) {
        const std::string name = query["name"].asString();
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_THAT(name, MatchesRegex("[a-z][a-z0-9]*(-[a-z0-9]+)*"));
        EXPECT_NE(query["help"].asString(), "") << name;
        EXPECT_NE(query["section"].asString(), "") << name;
    }
}

std::string predictedName(const std::string& operation) {
    std::string name;
    for (std::size_t i = 3; i < operation.size(); ++i) {
        const bool upper = std::isupper(static_cast<unsigned char>(operation[i])) != 0;
        const bool afterLower = std::isupper(static_cast<unsigned char>(operation[i - 1])) == 0;
        const bool beforeLower = i + 1 < operation.size() &&
                                 std::islower(static_cast<unsigned char>(operation[i + 1])) != 0;
        if (i > 3 && upper && (afterLower || beforeLower)) {
            name += '-';
        }
        name += static_cast<char>(std::tolower(static_cast<unsigned char>(operation[i])));
    }
    return name;
}

TEST(QueryTable, Names_DeriveFromTheOperationsWithExceptions) {
    const std::map<std::string, std::string> exceptions = {
        {"getLocalNodeIPs", "local-node-ips"},
        {"getIPAddresses", "ip-addresses"},
    };
    for (const Json::Value& query : listedQueries()) {
        const std::string operation = query["operation"].asString();
        const auto exception = exceptions.find(operation);
        const std::string expected =
            exception == exceptions.end() ? predictedName(operation) : exception->second;
        EXPECT_EQ(query["name"].asString().rfind(expected, 0), 0U)
            << query["name"] << " for " << operation;
    }
}

TEST(QueryTable, EveryQuery_IsShown) {
    std::set<std::string> shown;
    const Json::Value answers =
        tool::parsed(tool::run(tool::kMaster, {"show", "-o", "json"}).output)["answers"];
    for (const Json::Value& answer : answers) {
        shown.insert(answer["query"].asString());
    }
    for (const Json::Value& query : listedQueries()) {
        EXPECT_THAT(shown, Contains(query["name"].asString()));
    }
    EXPECT_EQ(shown.size(), listedQueries().size());
}

TEST(QueryTable, EveryQuery_TakesExactlyTheArgumentsListed) {
    for (const Json::Value& query : listedQueries()) {
        std::vector<std::string> arguments = {"get", "--reveal-secrets", query["name"].asString()};
        bool repeatable = false;
        bool optional = false;
        for (const Json::Value& argument : query["arguments"]) {
            arguments.push_back(argument["name"] == "INDEX" ? "0" : "x");
            repeatable = argument["repeatable"].asBool();
            optional = !argument["required"].asBool();
        }
        EXPECT_NE(tool::run(tool::kMaster, arguments).exitStatus, 2) << query;
        arguments.push_back("x");
        EXPECT_EQ(tool::run(tool::kMaster, arguments).exitStatus == 2, !repeatable) << query;
        if (!query["arguments"].empty()) {
            arguments.resize(arguments.size() - 2);
            EXPECT_EQ(tool::run(tool::kMaster, arguments).exitStatus == 2, !optional) << query;
        }
    }
}

} // namespace
