// SPDX-License-Identifier: Apache-2.0

#include "OwnNode.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <locale.h>

namespace {

using Quarncommon::SysConfReader;

constexpr const char* kLatin1 = "en_US.ISO-8859-1";
constexpr const char* kTurkish = "tr_TR.ISO-8859-9";
constexpr const char* kUtf8 = "C.UTF-8";

void setLocale(const char* name) {
    support::setEnvironment("LOCPATH", SYSCONF_TEST_LOCALES);
    ASSERT_NE(std::setlocale(LC_ALL, name), nullptr) << name;
}

int lower(unsigned char byte) {
    return std::tolower(byte);
}

struct Found {
    bool byUsage;
    bool asFloatIP;
    bool byNumber;
    bool byTag;
};

bool operator==(const Found& a, const Found& b) {
    return a.byUsage == b.byUsage && a.asFloatIP == b.asFloatIP && a.byNumber == b.byNumber &&
           a.byTag == b.byTag;
}
void PrintTo(const Found& found, std::ostream* out) {
    *out << "by usage " << found.byUsage << ", as float IP " << found.asFloatIP << ", by number "
         << found.byNumber << ", by tag " << found.byTag;
}

Found ask(OwnNode& node, const std::string& inTheList, const std::string& asked) {
    const std::string list = listOf(nodeWith("n1", entries("A=" + inTheList)));
    node.files.nodeList(list).managerNodeList(list);
    SysConfReader& reader = node.reader();
    std::map<std::string, std::set<std::string>> floatIPs;
    EXPECT_EQ(reader.getAllFloatIP({asked}, floatIPs), 0);
    std::map<int, std::string> byNumber;
    std::string service;
    std::string service2;
    reader.getLocalNodeIPs(asked, byNumber, service, service2);
    std::map<std::string, std::string> byTag{{asked, ""}};
    reader.getLocalNodeIPs(byTag);
    return {reader.getLocalIPByUsage(asked) == "A", floatIPs["n1"].contains("A"), !byNumber.empty(),
            byTag[asked] == "A"};
}

// getLocalIPByUsage lower-cases its argument too, the other queries do not.
constexpr Found kAll{true, true, true, true};
constexpr Found kByUsageOnly{true, false, false, false};
constexpr Found kNone{false, false, false, false};

struct LocaleRow {
    const char* inTheList;
    const char* asked;
    Found found;
};

void expectFound(std::initializer_list<LocaleRow> rows) {
    OwnNode node;
    for (const LocaleRow& row : rows) {
        EXPECT_EQ(ask(node, row.inTheList, row.asked), row.found)
            << row.inTheList << " in the list, asked for " << row.asked;
    }
}

TEST(Locales, CLocale_OnlyAsciiLettersAreLowered) {
    expectFound({
        {"SERVICE-X", "service-x", kAll},
        {"x\xC4", "x\xC4", kAll},
        {"x\xC4", "x\xE4", kNone},
        {"x\xE4", "x\xC4", kNone},
        {"X\xC3\x84", "x\xC3\x84", kAll},
        {"x\xC3\x84", "x\xC3\xA4", kNone},
    });
}

TEST(Locales, SingleByteLocale_EachByteIsLowered) {
    setLocale(kLatin1);
    ASSERT_EQ(lower(0xC4), 0xE4);
    expectFound({
        {"SERVICE-X", "service-x", kAll},
        {"\xC4X", "\xE4x", kAll},
        {"\xC4X", "\xC4X", kByUsageOnly},
        {"\xE4x", "\xC4X", kByUsageOnly},
        {"\xDFx", "\xDFx", kAll},
        // Each byte of a UTF-8 character is treated as a letter: A with tilde becomes a with tilde.
        {"x\xC3\x84", "x\xE3\x84", kAll},
        {"x\xC3\x84", "x\xC3\x84", kByUsageOnly},
        {"x\xC3\x84", "x\xC3\xA4", kNone},
    });
}

TEST(Locales, Utf8Locale_OnlyAsciiLettersAreLowered) {
    setLocale(kUtf8);
    ASSERT_EQ(lower(0xC4), 0xC4);
    expectFound({
        {"SERVICE-X", "service-x", kAll},
        {"X\xC3\x84", "x\xC3\x84", kAll},
        {"x\xC3\x84", "x\xC3\xA4", kNone},
        {"x\xC4", "x\xE4", kNone},
        {"x\xC4", "x\xC4", kAll},
    });
}

TEST(Locales, TurkishLocale_CapitalIDoesNotMatchAsciiI) {
    setLocale(kTurkish);
    ASSERT_EQ(lower('I'), 0xFD);
    expectFound({
        {"service", "service", kAll},
        {"SERVICE", "service", kNone},
        {"SERVICE",
         "serv\xFD"
         "ce",
         kAll},
        {"SERVICE", "SERVICE", kByUsageOnly},
        {"NORTHBOUND", "northbound", kAll},
    });
}

TEST(Locales, LocaleOfTheThread_IsUsed) {
    setLocale(kLatin1);
    const locale_t latin1 = ::duplocale(LC_GLOBAL_LOCALE);
    ASSERT_NE(latin1, nullptr);
    setLocale("C");
    const locale_t before = ::uselocale(latin1);
    expectFound({{"\xC4X", "\xE4x", kAll}});
    ::uselocale(before);
    ::freelocale(latin1);
    expectFound({{"\xC4X", "\xE4x", kNone}});
}

TEST(Locales, EveryLocale_NumbersOfTagsAreReadAlike) {
    OwnNode node;
    node.addresses(entries("A=Northbound1000,B=SOUTHBOUND1000"));
    for (const char* name : {"C", kUtf8, kLatin1, kTurkish}) {
        setLocale(name);
        EXPECT_EQ(node.reader().getLocalNorthIP(), ";;;;A") << name;
        EXPECT_EQ(node.reader().getLocalSouthIP(), ";;;;;;;;;;B") << name;
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), name) << "the locale must not be changed";
    }
}

} // namespace
