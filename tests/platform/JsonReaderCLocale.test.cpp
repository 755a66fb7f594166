// SPDX-License-Identifier: Apache-2.0
#include "JsonReader.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

namespace {

TEST(JsonReaderStrict, CLocaleWithDecimalComma_ChangesNothing) {
    ASSERT_EQ(setenv("LOCPATH", TEST_LOCALES, 1), 0);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");

    Json::Value value;
    const std::string tenWithExponent = "1" + std::string(400, '0') + "e-399";
    EXPECT_TRUE(JsonReader(false).parse("[1.5,1234567.25,2.5e-1," + tenWithExponent + "]", value));
    EXPECT_EQ(value[0].asDouble(), 1.5);
    EXPECT_EQ(value[1].asDouble(), 1234567.25);
    EXPECT_EQ(value[2].asDouble(), 0.25);
    EXPECT_EQ(value[3].asDouble(), 10.0);
    EXPECT_FALSE(JsonReader(false).parse("1,5", value));

    std::setlocale(LC_ALL, "C");
}

} // namespace
