// SPDX-License-Identifier: Apache-2.0
#include "rules/SouthboundKeys.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

namespace rules = Quarncommon::rules;

TEST(SouthboundKeys, OfAFamily_AreThoseOfEverySlotInTheOrderOfAMap) {
    std::set<std::string> expected{"family"};
    for (int slot = 2; slot <= rules::kSouthboundSlots; ++slot) {
        expected.insert("family" + std::to_string(slot));
    }
    const rules::SouthboundKeys names("family");
    const std::vector<std::string> keys(names.keys.begin(), names.keys.end());
    EXPECT_EQ(names.size, keys.size());
    EXPECT_EQ(keys, std::vector<std::string>(expected.begin(), expected.end()));
}

} // namespace
