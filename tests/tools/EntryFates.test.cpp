// SPDX-License-Identifier: Apache-2.0

#include "explain/EntryFates.h"

#include "deployment/Recorder.h"

#include <base/Exceptions.h>
#include <rules/LocalIPByUsage.h>
#include <rules/NodeIPs.h>

#include <gtest/gtest.h>
#include <json/reader.h>

#include <memory>

namespace {

using namespace sysconfctl;
namespace rules = Quarncommon::rules;
using Rule = void (*)(const rules::TracedNode& entries);

Json::Value parsed(const std::string& text) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value value;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) << text;
    return value;
}

void firstService(const rules::TracedNode& entries) {
    rules::addressByTag(entries, "service");
}

void byNumber(const rules::TracedNode& entries) {
    std::map<int, std::string> numbers;
    std::string service;
    std::string service2;
    rules::collectByNumber(entries, "n", numbers, service, service2);
}

WalkedEntries walked(const Json::Value& entries, Rule rule) {
    const located::Path path = {"entries"};
    Recorder trace;
    Quarncommon::runDroppingExceptions([&] { rule(rules::TracedNode(entries, trace, path)); });
    return walkedEntries(entries, path, trace.events, [](const std::string& slot) { return slot; });
}

std::string fates(const std::string& entries, Rule rule) {
    std::string text;
    for (const EntryFate& entry : walked(parsed(entries), rule).entries) {
        constexpr const char* kNames[] = {"taken",   "earlier", "later", "not-needed",   "other",
                                          "no-tags", "no-list", "ends",  "not-looked-at"};
        text += std::string(text.empty() ? "" : " ") + kNames[static_cast<int>(entry.fate)];
        text += entry.winner ? ":" + std::to_string(*entry.winner) : "";
    }
    return text;
}

struct Row {
    const char* entries;
    const char* fates;
};

TEST(EntryFates, RuleThatStops_SkipsLaterEntries) {
    const Row rows[] = {
        {"[]", ""},
        {"null", ""},
        {R"([{"IP":"a","usage":["x"]},{"IP":"b","usage":["Service"]},{"IP":"c","usage":["service"]}])",
         "other taken not-looked-at"},
        {R"([{"usage":["service"]},{"IP":"c","usage":["service"]}])", "taken not-looked-at"},
        {R"([{"IP":"a","usage":"service"},{"IP":"b"},{"IP":"c","usage":[]},null])",
         "no-list no-tags no-tags no-tags"},
        {R"([{"IP":"a","usage":["x"]},{"IP":"b","usage":[{}]},{"IP":"c","usage":["service"]}])",
         "other ends not-looked-at"},
        {R"([5,{"IP":"c","usage":["service"]}])", "ends not-looked-at"},
        {R"([{"IP":{},"usage":["x"]},{"IP":{},"usage":["service"]},{"IP":"c","usage":["service"]}])",
         "other ends not-looked-at"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(fates(row.entries, firstService), row.fates) << row.entries;
    }
}

TEST(EntryFates, RuleThatContinues_NamesTheEntryThatWon) {
    const Row rows[] = {
        {R"([{"IP":"a","usage":["n2"]},{"IP":"a","usage":["n2"]},{"IP":"c","usage":["n3","n2"]}])",
         "taken earlier:0 taken:0"},
        {R"([{"IP":"a","usage":["service"]},{"IP":"b","usage":["service"]}])", "later:1 taken"},
        {R"({"x":{"IP":"a","usage":["service"]},"y":{"IP":"b","usage":{"z":"n1"}}})",
         "taken taken"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(fates(row.entries, byNumber), row.fates) << row.entries;
    }
}

TEST(EntryFates, EntryThatLosesOneOfItsSlots_IsTakenForTheOthersOnly) {
    const WalkedEntries found =
        walked(parsed(R"([{"IP":"a","usage":["n2"]},{"IP":"c","usage":["n3","n2"]}])"), byNumber);
    ASSERT_EQ(found.entries.size(), 2U);
    EXPECT_EQ(found.entries[1].slots, std::vector<std::string>{"3"});
    EXPECT_EQ(found.entries[1].lost, std::vector<std::string>{"2"});
    EXPECT_EQ(found.entries[1].winner, 0U);
}

TEST(EntryFates, ObjectInPlaceOfTheList_EndsARuleThatGoesByIndex) {
    const WalkedEntries found =
        walked(parsed(R"({"x":{"IP":"a","usage":["service"]}})"), firstService);
    EXPECT_TRUE(found.refused);
    EXPECT_TRUE(found.entries.empty());
    EXPECT_TRUE(found.from.empty());
}

} // namespace
