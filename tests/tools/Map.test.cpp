// SPDX-License-Identifier: Apache-2.0

#include "Golden.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

support::Deployment hostileDeployment() {
    support::Deployment deployment;
    deployment.appConfig(R"({"processes": {"p1": {"nodeId": "a\"]; x -> y [label=\""}}})");
    deployment.nodeList(R"({"nodeList": {
        "a\"]; x -> y [label=\"": {"assignedToTenancy": "t\"}\\"},
        "<a>&amp;</a>": {"assignedToTenancy": "t\"}\\"},
        "back\\slash\\N": {}, "line\nbreak": {}, "\u001b[31mred": {}, "`#quot;`": {}, "end": {},
        "": {"IPAddresses": [{"IP": "\"<b>\"", "usage": ["--> z"]}]}}})");
    deployment.managerNodeList(R"({"nodeList": {}})");
    return deployment;
}

TEST(Map, OfTheSamples_EqualsTheGoldenFile) {
    tool::expectGolden(tool::kStandby, {"map"}, 0, "map-standby.dot");
    tool::expectGolden(tool::kStandby, {"map", "-o", "mermaid"}, 0, "map-standby.mmd");
    tool::expectGolden(tool::kEast, {"map", "-o", "dot"}, 0, "map-east-access-1.dot");
}

TEST(Map, HostileIds_AreDrawnVerbatimByGraphviz) {
    const auto deployment = hostileDeployment();
    const auto result = tool::run({"map", "-o", "svg"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(result.output,
                AllOf(StartsWith("<?xml"), HasSubstr(">a&quot;]; x &#45;&gt; y [label=&quot;<"),
                      HasSubstr(">&lt;a&gt;&amp;amp;&lt;/a&gt;<"),
                      HasSubstr(">back\\\\slash\\\\N<"), HasSubstr(">line\\nbreak<"),
                      HasSubstr(">\\x1b[31mred<"), HasSubstr(">tenancy t&quot;}\\\\<"),
                      HasSubstr(">(empty id)<"),
                      HasSubstr("&#45;&#45;&gt; z: &quot;&lt;b&gt;&quot;")));
    EXPECT_THAT(result.output, Not(HasSubstr("<title>x&#45;&gt;y</title>")));
}

TEST(Map, HostileIds_StayInsideTheirLabels) {
    const auto deployment = hostileDeployment();
    for (const char* format : {"dot", "mermaid"}) {
        const auto result = tool::run({"map", "-o", format});
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_THAT(result.output, Not(HasSubstr("\033"))) << format;
        // Each box has one line and each group two; the rest does not depend on the ids.
        EXPECT_THAT(result.output, Not(HasSubstr("\nbreak"))) << format;
    }
    const std::string mermaid = tool::run({"map", "-o", "mermaid"}).output;
    EXPECT_THAT(mermaid, HasSubstr("[\"#60;a#62;#38;amp#59;#60;/a#62;\"]"));
    EXPECT_THAT(mermaid, HasSubstr("[\"#96;#35;quot#59;#96;\"]"));
    for (const std::string& line : tool::linesOf(mermaid)) {
        const auto quotes = std::count(line.begin(), line.end(), '"');
        EXPECT_TRUE(quotes == 0 || quotes == 2) << line;
    }
}

TEST(Map, HostileIds_AreVerbatimInJsonAndEscapedOnceAsText) {
    const auto deployment = hostileDeployment();
    const Json::Value json = tool::parsed(tool::run({"map", "-o", "json"}).output);
    std::set<std::string> texts;
    for (const Json::Value& tenancy : json["tenancies"]) {
        for (const Json::Value& node : tenancy["nodes"]) {
            texts.insert(node["lines"][0].asString());
        }
    }
    EXPECT_THAT(texts, IsSupersetOf({"back\\slash\\N", "line\nbreak", "\033[31mred"}));
    for (const char* format : {"plain", "table"}) {
        EXPECT_THAT(tool::run({"map", "-o", format}).output,
                    AllOf(HasSubstr("back\\\\slash\\\\N"), HasSubstr("line\\nbreak"),
                          HasSubstr("\\x1b[31mred"), Not(HasSubstr("\\\\n"))))
            << format;
    }
}

TEST(Map, OnATerminalWithoutAFormat_IsATableAndSaysHowToDraw) {
    const auto onTerminal = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(),
                         {"--color", "never", "--env-file", tool::kStandby.envFile().string()});
        return tool::sysconfctl(arguments).outputToTerminal(100).run().output;
    };
    const std::string table = onTerminal({"map", "-o", "table"});
    EXPECT_EQ(onTerminal({"map"}),
              table + "\nto draw it: sysconfctl map -o svg >map.svg, or -o dot, mermaid\n");
    EXPECT_THAT(table, StartsWith("TENANCY"));
    EXPECT_THAT(onTerminal({"map", "-o", "dot"}), StartsWith("digraph"));
}

TEST(Map, WithoutGraphviz_SvgIsNoAnswerWithAMessage) {
    const auto deployment = hostileDeployment();
    const auto result = tool::sysconfctl({"map", "-o", "svg"})
                            .variable("PATH", support::testDirectory().string())
                            .run();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("needs Graphviz's dot"));
}

TEST(Map, NothingThatLoads_IsAPictureWithoutNodesAndNoAnswer) {
    const support::Deployment deployment;
    const auto result = tool::run({"map"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.output, AllOf(HasSubstr("this process"), Not(HasSubstr("subgraph"))));
    EXPECT_THAT(result.errors, HasSubstr("the manager node list does not load"));
}

} // namespace
