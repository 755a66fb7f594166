// SPDX-License-Identifier: Apache-2.0

#include "cli/ProcessEnvironment.h"
#include "deployment/ProcessAge.h"

#include <gmock/gmock.h>

#include <limits>
#include <string_view>

namespace {

using sysconfctl::addressesAddedAfter;
using sysconfctl::libraryVariables;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

std::map<std::string, std::string> variables(std::string_view environ) {
    return libraryVariables(std::string(environ));
}

TEST(ProcessEnvironment, OddEntries_AreSkipped) {
    using namespace std::string_view_literals;
    EXPECT_THAT(variables("APP_ROOT=/a=b\0\0no assignment\0=x\0A B=1\0BASH_FUNC_x%%=() { :; }\0"
                          "TOLM_ROOT=\0PATH=/bin\0"sv),
                ElementsAre(Pair("APP_ROOT", "/a=b"), Pair("TOLM_ROOT", "")));
    EXPECT_THAT(variables("APP_ROOT"sv), IsEmpty());
    EXPECT_THAT(variables("\xff\xfe=\0\nAPP_ROOT=x\0"sv), IsEmpty());
    EXPECT_THAT(variables(""sv), IsEmpty());
}

TEST(ProcessEnvironment, RepeatedVariable_HasItsFirstValue) {
    using namespace std::string_view_literals;
    EXPECT_THAT(variables("APP_ROOT=1\0APP_ROOT=2\0"sv), ElementsAre(Pair("APP_ROOT", "1")));
}

TEST(ProcessEnvironment, VariablesOfTheTool_AreNotTaken) {
    using namespace std::string_view_literals;
    EXPECT_THAT(variables("COLUMNS=1\0NO_COLOR=1\0HOME=/\0NO_EM_CLIENT=1\0"sv),
                ElementsAre(Pair("NO_EM_CLIENT", "1")));
}

TEST(ProcessAge, NoAddress_IsAddedInTheFuture) {
    EXPECT_THAT(addressesAddedAfter(std::numeric_limits<std::uint64_t>::max()), IsEmpty());
}

} // namespace
