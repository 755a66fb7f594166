// SPDX-License-Identifier: Apache-2.0

#include "cli/Environment.h"
#include "cli/UsageError.h"

#include <gtest/gtest.h>

namespace {

using sysconfctl::Assignment;
using sysconfctl::parseAssignment;
using sysconfctl::parseEnvFile;
using sysconfctl::UsageError;

std::string shown(const std::vector<Assignment>& assignments) {
    std::string text;
    for (const Assignment& assignment : assignments) {
        text += "<" + assignment.variable + "|" + assignment.value + ">";
    }
    return text;
}

struct Row {
    const char* text;
    const char* assignments;
};

TEST(EnvFile, Lines_AreAssignments) {
    const Row rows[] = {
        {"", ""},
        {"\n\n \t\n", ""},
        {"A=1", "<A|1>"},
        {"A=1\nB=2\n", "<A|1><B|2>"},
        {"A=1\r\nB=2\r\n", "<A|1><B|2>"},
        {"A=1\nA=2\n", "<A|1><A|2>"},
        {"# A=1\n  # B=2\nC=3", "<C|3>"},
        {"A=1 # no comment", "<A|1 # no comment>"},
        {"  A  =  1 2  ", "<A|1 2>"},
        {"A=", "<A|>"},
        {"A=\"\"", "<A|>"},
        {"A=b=c", "<A|b=c>"},
        {"A=\" b \"", "<A| b >"},
        {"A='b\\n'", "<A|b\\n>"},
        {"A=\"b'", "<A|\"b'>"},
        {"A=\"", "<A|\">"},
        {"A=$B", "<A|$B>"},
        {"_a1=x", "<_a1|x>"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(shown(parseEnvFile(row.text, "f")), row.assignments) << row.text;
    }
}

TEST(EnvFile, BadLines_AreReportedByNumber) {
    const Row rows[] = {
        {"A", "f:1: expected KEY=VALUE"},
        {"A=1\n#\n\n B \n", "f:4: expected KEY=VALUE"},
        {"=1", "f:1: the text before \"=\" is not a variable's name"},
        {"A B=1", "f:1: the text before \"=\" is not a variable's name"},
        {"export A=1", "f:1: the text before \"=\" is not a variable's name"},
        {"1A=1", "f:1: the text before \"=\" is not a variable's name"},
    };
    for (const Row& row : rows) {
        try {
            parseEnvFile(row.text, "f");
            ADD_FAILURE() << row.text;
        } catch (const UsageError& error) {
            EXPECT_STREQ(error.what(), row.assignments) << row.text;
        }
    }
}

TEST(EnvFile, NulByte_CannotBePartOfAValue) {
    EXPECT_THROW(parseEnvFile(std::string("A=b\0c", 5), "f"), UsageError);
}

TEST(EnvFile, AssignmentOfTheCommandLine_IsVerbatim) {
    const Assignment assignment = parseAssignment("APP_ROOT= \"b\"=c ");
    EXPECT_EQ(assignment.variable, "APP_ROOT");
    EXPECT_EQ(assignment.value, " \"b\"=c ");
    EXPECT_THROW(parseAssignment("A"), UsageError);
    EXPECT_THROW(parseAssignment(" A=1"), UsageError);
    EXPECT_THROW(parseAssignment(""), UsageError);
}

} // namespace
