// SPDX-License-Identifier: Apache-2.0
#include "generator/Deployment.h"

#include <json/reader.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using generator::Layout;

Json::Value parsed(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    std::istringstream stream(text);
    Json::Value root;
    std::string errors;
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &root, &errors)) << errors;
    return root;
}

TEST(Generator, SameShape_GivesTheSameBytes) {
    EXPECT_EQ(generator::nodeList({50, Layout::Indented, 7}),
              generator::nodeList({50, Layout::Indented, 7}));
    EXPECT_NE(generator::nodeList({50, Layout::Indented, 7}),
              generator::nodeList({50, Layout::Indented, 8}));
}

TEST(Generator, EverySize_TakesAbout2350BytesPerNode) {
    for (const unsigned nodes : {2U, 10U, 100U, 1000U}) {
        const std::size_t size = generator::nodeList({nodes, Layout::Indented, 1}).size();
        EXPECT_NEAR(static_cast<double>(size) / nodes, 2350, 25) << nodes << " nodes";
    }
}

TEST(Generator, BothLayouts_HaveTheSameValues) {
    const std::string compact = generator::nodeList({20, Layout::Compact, 1});
    EXPECT_EQ(parsed(compact), parsed(generator::nodeList({20, Layout::Indented, 1})));
    EXPECT_EQ(compact.find('\n'), std::string::npos);
}

TEST(Generator, Nodes_HaveFiveAddressesAndTheOwnNodeTheHostsAddress) {
    for (const unsigned nodes : {2U, 10U, 101U}) {
        const Json::Value list =
            parsed(generator::nodeList({nodes, Layout::Compact, 1}))["nodeList"];
        ASSERT_EQ(list.size(), nodes);
        for (const Json::Value& node : list) {
            EXPECT_EQ(node["IPAddresses"].size(), 5U);
        }
        const Json::Value& own = list[generator::ownNodeId(nodes)];
        EXPECT_EQ(own["IPAddresses"][1]["IP"], "127.0.0.1");
        EXPECT_EQ(own["extAttr"]["hostType"], "master");
    }
}

} // namespace
