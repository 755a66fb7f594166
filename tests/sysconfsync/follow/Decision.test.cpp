// SPDX-License-Identifier: Apache-2.0
#include "follow/Decision.h"
#include "follow/RetryPause.h"

#include <gmock/gmock.h>

#include <map>

namespace {

using namespace sysconfsync;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

const VersionId kNone;
const VersionId kFive{5, "five"};
const VersionId kOtherFive{5, "another five"};
const VersionId kSix{6, "six"};

struct Row {
    const char* name;
    VersionId applied;
    std::optional<Refused> refused;
    VersionId published;
    bool acceptOlder;
    Step step;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

class DecisionTable : public testing::TestWithParam<Row> {};

TEST_P(DecisionTable, EachRow_TakesItsStep) {
    const Row& row = GetParam();
    EXPECT_EQ(decide(row.applied, row.refused, row.published, row.acceptOlder).step, row.step);
}

INSTANTIATE_TEST_SUITE_P(
    Follow, DecisionTable,
    testing::Values(
        Row{"First", kNone, {}, kFive, false, Step::Apply},
        Row{"Newer", kFive, {}, kSix, false, Step::Apply},
        Row{"Same", kFive, {}, kFive, false, Step::Nothing},
        Row{"SameThoughOlderIsAccepted", kFive, {}, kFive, true, Step::Nothing},
        Row{"Older", kSix, {}, kFive, false, Step::Refuse},
        Row{"OlderAccepted", kSix, {}, kFive, true, Step::Apply},
        Row{"SameNumberOtherId", kFive, {}, kOtherFive, false, Step::Refuse},
        Row{"SameNumberOtherIdAccepted", kFive, {}, kOtherFive, true, Step::Apply},
        Row{"SameNumberDamaged", VersionId{5, ""}, {}, kFive, false, Step::Apply},
        Row{"OlderThanDamaged", VersionId{6, ""}, {}, kFive, false, Step::Refuse},
        Row{"NoNumber", kNone, {}, VersionId{0, "zero"}, true, Step::Refuse},
        Row{"RefusedBefore", kFive, Refused{kSix, false}, kSix, false, Step::Nothing},
        Row{"RefusedForAWhile", kFive, Refused{kSix, true}, kSix, false, Step::Apply},
        Row{"AnotherOneRefused", kNone, Refused{kFive, false}, kSix, false, Step::Apply},
        Row{"SameNumberAsRefused", kNone, Refused{kFive, false}, kOtherFive, false, Step::Apply}),
    [](const auto& row) { return row.param.name; });

TEST(Decision, OlderVersion_ReasonHasBothNumbersAndTheWayOut) {
    EXPECT_THAT(decide(kSix, {}, kFive, false).reason,
                AllOf(HasSubstr("version 5 is older than the applied version 6"),
                      HasSubstr("--accept-older")));
    EXPECT_THAT(decide(kFive, {}, kSix, false).reason, IsEmpty());
}

TEST(Decision, FollowersOfManyNodes_BeginWithAllEndpoints) {
    std::map<std::string, int> first;
    for (int node = 0; node < 300; ++node) {
        const std::string name = "node-" + std::to_string(node);
        const auto endpoints = endpointsOf(name, {"a", "b", "c"});
        ++first[endpoints.front()];
        EXPECT_THAT(endpoints, UnorderedElementsAre("a", "b", "c"));
        EXPECT_EQ(endpoints, endpointsOf(name, {"a", "b", "c"}));
    }
    EXPECT_THAT(first,
                UnorderedElementsAre(Pair("a", Ge(50)), Pair("b", Ge(50)), Pair("c", Ge(50))));
}

TEST(RetryPause, RepeatedFailures_GrowToTheLimitAndStartAgainAfterSuccess) {
    RetryPause pause;
    RetryPause::Milliseconds last{0};
    for (int i = 0; i < 20; ++i) {
        const auto next = pause.next(0);
        EXPECT_GE(next, last);
        last = next;
    }
    EXPECT_EQ(last, RetryPause::kLongest);
    EXPECT_EQ(pause.next(1), RetryPause::kLongest / 2);
    pause.reset();
    EXPECT_EQ(pause.next(0), RetryPause::kFirst);
}

} // namespace
