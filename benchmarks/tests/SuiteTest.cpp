// SPDX-License-Identifier: Apache-2.0
#include "Suite.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

bench::Operation answering(std::string name, std::string answer) {
    return {std::move(name), [answer] { return answer; }, {}};
}

TEST(Answers, OfAChildProcess_ArriveCompletelyAndInOrder) {
    const std::string large(300000, 'x');
    const bench::Answers answers = bench::answersApart([&](bench::Suite& suite) {
        suite.add(answering("b", large));
        suite.add({"no answer", {}, {}});
        suite.add(answering("a", ""));
    });
    EXPECT_EQ(answers, (bench::Answers{{"b", large}, {"a", ""}}));
}

TEST(Answers, FailedChildProcess_Throws) {
    const auto fail = [](bench::Suite&) { throw std::runtime_error("on purpose"); };
    EXPECT_THROW(bench::answersApart(fail), std::runtime_error);
}

TEST(Answers, OneThatDiffers_IsNamed) {
    const bench::Answers answers{{"north", "A"}, {"south", "B"}};
    EXPECT_EQ(bench::difference(answers, answers), "");
    EXPECT_NE(bench::difference(answers, {{"north", "A"}, {"south", "C"}}).find("south"),
              std::string::npos);
    EXPECT_NE(bench::difference(answers, {{"north", "A"}}), "");
}

} // namespace
