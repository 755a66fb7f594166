// SPDX-License-Identifier: Apache-2.0
// Near matches of unknown words.

#include "cli/Suggestion.h"

#include <gtest/gtest.h>

namespace {

using sysconfctl::suggestion;

TEST(Suggestion, FewWrongLetters_FindTheNearest) {
    const std::vector<std::string_view> names = {"local-port", "corba-port", "wss-port", "db-type"};
    EXPECT_EQ(suggestion("locl-port", names), "local-port");
    EXPECT_EQ(suggestion("localport", names), "local-port");
    EXPECT_EQ(suggestion("loacl-port", names), "local-port");
    EXPECT_EQ(suggestion("wsss-port", names), "wss-port");
    EXPECT_EQ(suggestion("db-typ", names), "db-type");
}

TEST(Suggestion, NothingNear_IsNone) {
    EXPECT_EQ(suggestion("frobnicate", {"local-port", "db-type"}), "");
    EXPECT_EQ(suggestion("", {"local-port"}), "");
    EXPECT_EQ(suggestion("x", {}), "");
}

} // namespace
