// SPDX-License-Identifier: Apache-2.0

#include "cli/Suggestion.h"

#include <gtest/gtest.h>

namespace {

using namespace sysconfctl;

TEST(Suggestion, FewWrongLetters_FindTheNearest) {
    const std::vector<std::string_view> names = {"local-port", "corba-port", "wss-port", "db-type"};
    EXPECT_EQ(suggestion("locl-port", names), "local-port");
    EXPECT_EQ(suggestion("localport", names), "local-port");
    EXPECT_EQ(suggestion("loacl-port", names), "local-port");
    EXPECT_EQ(suggestion("wsss-port", names), "wss-port");
    EXPECT_EQ(suggestion("db-typ", names), "db-type");
}

TEST(Suggestion, PartsOfANameInAnyOrder_FindTheShortestNames) {
    const std::vector<std::string_view> names = {"master-internal-service-ip",
                                                 "local-service-ip",
                                                 "local-service2-ip",
                                                 "db-service-name",
                                                 "getLocalSouthIP",
                                                 "a-service-ip-b"};
    using Names = std::vector<std::string>;
    EXPECT_EQ(nearMatches("service-ip", names),
              (Names{"local-service-ip", "master-internal-service-ip", "a-service-ip-b"}));
    EXPECT_EQ(nearMatches("ip_Service_local", names), Names{"local-service-ip"});
    EXPECT_EQ(nearMatches("south", names), Names{"getLocalSouthIP"});
    EXPECT_EQ(nearMatches("sevice-name", names), Names{"db-service-name"});
    EXPECT_EQ(nearMatches("local-service-pi", names), Names{"local-service-ip"});
    EXPECT_EQ(nearMatches("frobnicate", names), Names{});
    EXPECT_EQ(nearMatches("--", names), Names{});
}

TEST(Suggestion, Question_NamesUpToThree) {
    EXPECT_EQ(didYouMean({}), "");
    EXPECT_EQ(didYouMean({"a"}), ", did you mean a?");
    EXPECT_EQ(didYouMean({"a", "b"}), ", did you mean a or b?");
    EXPECT_EQ(didYouMean({"a", "b", "c"}), ", did you mean a, b or c?");
}

TEST(Suggestion, NothingNear_IsNone) {
    EXPECT_EQ(suggestion("frobnicate", {"local-port", "db-type"}), "");
    EXPECT_EQ(suggestion("", {"local-port"}), "");
    EXPECT_EQ(suggestion("x", {}), "");
}

} // namespace
