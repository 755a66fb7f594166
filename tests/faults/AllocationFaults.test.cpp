// SPDX-License-Identifier: Apache-2.0

#include "support/AllocationFaults.h"
#include "SysConfReader.h"
#include "SysConfReaderImpl.h"
#include "comparison/NaiveRules.h"
#include "support/Deployment.h"
#include "support/EventLibrary.h"
#include "support/HostAddresses.h"
#include "support/InChild.h"
#include "support/LocksFree.h"
#include "support/Operations.h"
#include "support/SampleTexts.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <new>
#include <sstream>

namespace {

using operations::Effect;
using operations::Operation;
using operations::Outputs;
using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
using support::AllocationFault;
using support::Shortage;

constexpr const char* kMark = "a";

Json::Value parsed(const std::string& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

struct Outcome {
    Outputs before;
    Outputs expected;
    Outputs outputs;
    bool happened = false;
    bool threw = false;
};

class AllocationFaults : public testing::Test {
protected:
    AllocationFaults() {
        support::setHostAddresses({operations::kSourceAddress});
        operations::writeFiles(m_files, kMark);
        support::installEventLibrary("recording");
        // Loads the event library, for which the C library allocates memory.
        operations::createAll();
        m_answers = operations::answers();
    }

    template <typename Check>
    void exhaust(const Operation& operation, const Outputs& before, Check check,
                 std::size_t step = 1) {
        Outcome outcome;
        outcome.before = before;
        outcome.expected = before;
        operations::createAll();
        operation.call(outcome.expected);
        for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
            outcome.happened = true;
            for (std::size_t which = 1; outcome.happened && !HasFailure(); which += step) {
                SCOPED_TRACE(testing::Message()
                             << operation.name << ", allocation " << which
                             << (shortage == Shortage::FromThereOn ? " and all later" : ""));
                operations::prepare(operation);
                outcome.outputs = before;
                outcome.threw = false;
                {
                    const AllocationFault fault(which, shortage);
                    try {
                        operation.call(outcome.outputs);
                    } catch (const std::bad_alloc&) {
                        outcome.threw = true;
                    }
                    outcome.happened = fault.happened();
                }
                const bool mayThrow = operation.shortage == operations::Shortage::MayThrow;
                EXPECT_TRUE(!outcome.threw || (outcome.happened && mayThrow));
                support::expectLocksFree();
                m_failed += outcome.happened ? 1 : 0;
                check(outcome, which);
            }
        }
    }

    void keepAddresses(const std::set<std::string>& tags) {
        Json::Value list = parsed(operations::nodeList(kMark));
        Json::Value& entries = list["nodeList"]["node-of-this-process-a"]["IPAddresses"];
        Json::Value kept(Json::arrayValue);
        for (const Json::Value& entry : entries) {
            for (const Json::Value& tag : entry["usage"]) {
                if (tags.contains(tag.asString())) {
                    kept.append(entry);
                    break;
                }
            }
        }
        entries = kept;
        m_files.nodeList(support::jsonText(list));
    }

    support::Deployment m_files;
    operations::Answers m_answers;
    std::size_t m_failed = 0;
};

std::string maintenanceAddress() {
    return SysConfReader::Instance()->getMaintenanceIPAddress();
}

std::string serviceAddress() {
    return SysConfReader::Instance()->getLocalServiceIP();
}

bool isAnyOf(const std::string& text, const std::set<std::string>& texts) {
    return texts.contains(text);
}

std::set<std::string> northAnswersPartWay(const std::filesystem::path& nodeList) {
    std::set<std::string> answers{maintenanceAddress()};
    std::ifstream file(nodeList);
    Json::Value whole;
    file >> whole;
    const Json::Value entries = whole["nodeList"]["node-of-this-process-a"]["IPAddresses"];
    for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
        for (Json::ArrayIndex j = 0; j <= entries[i]["usage"].size(); ++j) {
            Json::Value part(Json::objectValue);
            Json::Value& kept = part["nodeList"]["n"]["IPAddresses"];
            for (Json::ArrayIndex k = 0; k < i; ++k) {
                kept.append(entries[k]);
            }
            Json::Value last = entries[i];
            last["usage"].resize(j);
            kept.append(last);
            answers.insert(naive::localNorthIP(part, "n", maintenanceAddress()));
        }
    }
    return answers;
}

/// Whether the map is cleared, unchanged, or has only "service" because the walk ended early.
bool isRightByTag(const Outcome& o, const std::string& service) {
    return std::all_of(o.outputs.byTag.begin(), o.outputs.byTag.end(), [&](const auto& entry) {
        const auto& [tag, address] = entry;
        const auto expected = o.expected.byTag.find(tag);
        return (expected != o.expected.byTag.end() && address == expected->second) ||
               address.empty() || address == "before" || (tag == "service" && address == service);
    });
}

/// The other queries throw and leave their outputs unchanged.
bool isAllowed(const std::string& name, const Outcome& o, const support::Deployment& files) {
    const Outputs& out = o.outputs;
    if (out == (o.threw ? o.before : o.expected)) {
        return true;
    }
    if (name == "SysConfReader::getSourceNodeId") {
        return out.text == "before";
    }
    if (o.threw) {
        return false;
    }
    if (name == "SysConfReader::getLocalIPByUsage" ||
        name == "SysConfReader::getLocalMaintenanceIP" ||
        name == "SysConfReader::getLocalService2IP") {
        return out.text.empty();
    }
    if (name == "SysConfReader::getLocalServiceIP") {
        return isAnyOf(out.text, {"", maintenanceAddress()});
    }
    if (name == "SysConfReader::getLocalNorthIP") {
        return northAnswersPartWay(files.nodeListPath()).contains(out.text);
    }
    if (name == "SysConfReader::getLocalSouthIP") {
        return isAnyOf(out.text, {maintenanceAddress(), serviceAddress()});
    }
    if (name == "SysConfReader::getPFType") {
        return out.number == 0;
    }
    if (name == "SysConfReader::getIPAddresses") {
        return out.number == -1 && out.list.size() <= o.expected.list.size() &&
               std::equal(out.list.begin(), out.list.end(), o.expected.list.begin());
    }
    if (name == "SysConfReader::getAllFloatIP") {
        return out.number == -1 && out.byNode.contains("before") &&
               std::includes(o.expected.byNode.begin(), o.expected.byNode.end(), out.byNode.begin(),
                             out.byNode.end());
    }
    if (name == "SysConfReader::getLocalNodeIPs by number") {
        return out.byNumber.contains(1) && isAnyOf(out.text, {"before", o.expected.text}) &&
               isAnyOf(out.text2, {"before", o.expected.text2}) &&
               std::includes(o.expected.byNumber.begin(), o.expected.byNumber.end(),
                             out.byNumber.begin(), out.byNumber.end());
    }
    return name == "SysConfReader::getLocalNodeIPs by tag" && isRightByTag(o, serviceAddress()) &&
           std::all_of(o.before.byTag.begin(), o.before.byTag.end(),
                       [&](const auto& entry) { return out.byTag.contains(entry.first); });
}

Outputs filledOutputs() {
    Outputs before = operations::outputs();
    before.number = 99;
    before.text = "before";
    before.text2 = "before";
    before.list = {"before"};
    before.byNumber = {{1, "before"}};
    before.byTag = {{"southbound7", "before"}, {operations::arguments().tag, "before"}};
    before.byNode = {{"before", {"kept"}}};
    before.tree = "before";
    before.trees = {{"before", Json::Value("value")}};
    return before;
}

Outputs outputsWithKeys() {
    Outputs before = filledOutputs();
    SysConfReader::Instance()->getLocalNodeIPs(before.byTag);
    for (auto& [tag, address] : before.byTag) {
        address = "before";
    }
    before.byTag.erase("southbound9");
    before.byTag.erase("southbound1024");
    return before;
}

TEST_F(AllocationFaults, EachOfEveryQuery_AnswersWithinItsGuaranteesAndTheNextAnswerIsRight) {
    // With all addresses, with those that are a fallback, without any.
    const std::set<std::string> kept[] = {
        {"maintenance", "internal_service", "southbound12", "Service"},
        {"southbound12", "Service"},
        {}};
    for (const std::set<std::string>& tags : kept) {
        keepAddresses(tags);
        operations::reloadAll();
        for (const Operation& operation : operations::all()) {
            if (operation.effect == Effect::Changes) {
                continue;
            }
            const auto check = [&](const Outcome& outcome, std::size_t /*which*/) {
                EXPECT_TRUE(isAllowed(operation.name, outcome, m_files))
                    << outcome.outputs.toText() << " instead of " << outcome.expected.toText();
                Outputs next = outcome.before;
                operation.call(next);
                EXPECT_EQ(next, outcome.expected);
            };
            const bool addsKeys = operation.name == "SysConfReader::getLocalNodeIPs by tag";
            // In slow builds, a thousand similar allocations are sampled.
            exhaust(operation, filledOutputs(), check, addsKeys ? SYSCONF_KEY_STEP : 1);
            if (addsKeys) {
                exhaust(operation, outputsWithKeys(), check);
            }
        }
    }
    RecordProperty("failed_allocations", static_cast<int>(m_failed));
    EXPECT_GT(m_failed, 3 * operations::all().size());
}

TEST_F(AllocationFaults, EachOfEveryLoadAndDestruction_IsReportedAndTheNextLoadIsComplete) {
    const auto requests = [] { return support::eventLibraryCalls().redeliveries; };
    for (const Operation& operation : operations::all()) {
        if (operation.effect == Effect::Answers) {
            continue;
        }
        const bool creates = operation.name.ends_with("::Instance (nothing exists)");
        const bool requestsDeliveries = creates && !operation.name.starts_with("SysConfReader_i");
        const bool isEvent = operation.symbol() == "SysConfReaderEventProcessCB";
        int requestsBefore = requests();
        exhaust(operation, operations::outputs(), [&](const Outcome& outcome, std::size_t which) {
            if (creates && which == 1) {
                EXPECT_TRUE(outcome.threw) << "the first allocation is the instance";
            }
            if (requestsDeliveries) {
                // Both create the role reader. A reader that threw was not published.
                const bool reader = operation.name.starts_with("SysConfReader::");
                const auto isComplete = [&](const operations::Answers& answers) {
                    return std::all_of(answers.begin(), answers.end(), [&](const auto& answer) {
                        return (!reader && answer.first.starts_with("SysConfReader::")) ||
                               answer.second == m_answers.at(answer.first);
                    });
                };
                if (!outcome.threw && support::subscribed()) {
                    const int made = requests() - requestsBefore;
                    EXPECT_EQ(made, isComplete(operations::answers()) ? 0 : 1);
                }
                if (outcome.threw && !reader) {
                    EXPECT_EQ(requests(), requestsBefore);
                }
            }
            if (outcome.threw && creates) {
                EXPECT_EQ(SysConfReader::Instance()->getLocalPort(), 4000);
            }
            if (isEvent && outcome.outputs.number != -1) {
                EXPECT_EQ(outcome.outputs.number, 0);
                EXPECT_EQ(operations::differences(operations::answers(), m_answers), "");
            }
            operations::reloadAll();
            EXPECT_TRUE(support::subscribed());
            EXPECT_EQ(operations::differences(operations::answers(), m_answers), "");
            requestsBefore = requests();
        });
    }
    EXPECT_GT(m_failed, operations::all().size());
}

TEST_F(AllocationFaults, EachAfterAnEventInsideASubscription_IsReportedOrTheEventIsApplied) {
    int answer = -3;
    const auto requests = [] { return support::eventLibraryCalls().redeliveries; };
    int repeated = 0;
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
        bool happened = true;
        for (std::size_t which = 1; happened && !HasFailure(); ++which) {
            SCOPED_TRACE(which);
            SysConfReader::Destory();
            operations::writeFiles(m_files, "b");
            SysConfReader::Instance();
            SysConfReaderImpl::Destory();
            operations::writeFiles(m_files, kMark);
            support::setSubscribedHook([&] { answer = support::deliver(); });
            const int before = requests();
            bool threw = false;
            {
                const AllocationFault fault(which, shortage);
                try {
                    SysConfReaderImpl::Instance();
                } catch (const std::bad_alloc&) {
                    threw = true;
                }
                happened = fault.happened();
            }
            support::setSubscribedHook(nullptr);
            if (threw) {
                EXPECT_TRUE(happened);
                continue;
            }
            EXPECT_EQ(answer, 0);
            if (requests() != before) {
                ++repeated;
                EXPECT_EQ(support::deliver(), 0);
            }
            EXPECT_EQ(operations::differences(operations::answers(), m_answers), "");
        }
    }
    EXPECT_GT(repeated, 0);
}

/// Exit statuses of the children below.
constexpr int kAnswered = 10;
constexpr int kContinued = 11; // an allocation of malloc, which has no new_handler
constexpr int kNothingFailed = 12;

/// Never destroyed.
const std::string* g_northAnswer = nullptr;

void answerDuringExit() {
    SysConfReader& reader = *SysConfReader::Instance();
    const bool answered =
        reader.getLocalNorthIP() == *g_northAnswer && reader.getLocalPort() == 4000;
    std::_Exit(answered ? kAnswered : EXIT_FAILURE);
}

TEST_F(AllocationFaults, EachWhoseNewHandlerExits_QueriesAreAnsweredDuringExit) {
    g_northAnswer = new std::string(SysConfReader::Instance()->getLocalNorthIP());
    void (*const operations[])() = {[] { SysConfReader::Instance()->getLocalNorthIP(); },
                                    [] { SysConfReaderImpl::Instance()->Reload(); }};
    for (void (*operation)() : operations) {
        std::map<int, int> statuses;
        for (std::size_t which = 1; statuses[kNothingFailed] == 0 && !HasFailure(); ++which) {
            const int status = support::inChild([&] {
                std::atexit(&answerDuringExit);
                std::set_new_handler([] { std::exit(EXIT_FAILURE); });
                const AllocationFault fault(which);
                operation();
                return fault.happened() ? kContinued : kNothingFailed;
            });
            EXPECT_GE(status, kAnswered) << "allocation " << which;
            ++statuses[status];
        }
        EXPECT_GT(statuses[kAnswered], 3);
    }
}

TEST_F(AllocationFaults, EachOfAReloadOfNewFiles_KeepsOrReplacesEachValue) {
    SysConfReader& reader = *SysConfReader::Instance();
    const auto values = [&] {
        return std::vector<std::string>{reader.getMaintenanceIPAddress(), reader.getFloatNodeId(),
                                        reader.getLocalHostTagName()};
    };
    std::vector<std::vector<std::string>> loaded;
    for (const char* mark : {"b", "a"}) {
        operations::writeFiles(m_files, mark);
        reader.Reload();
        loaded.push_back(values());
    }
    int unread = 0;
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
        bool happened = true;
        for (std::size_t which = 1; happened && !HasFailure(); ++which) {
            SCOPED_TRACE(which);
            operations::writeFiles(m_files, "a");
            reader.Reload();
            operations::writeFiles(m_files, "b");
            {
                const AllocationFault fault(which, shortage);
                try {
                    reader.Reload();
                } catch (const std::bad_alloc&) {
                    EXPECT_TRUE(fault.happened());
                }
                happened = fault.happened();
            }
            const std::vector<std::string> now = values();
            for (std::size_t i = 0; i < now.size(); ++i) {
                EXPECT_TRUE(isAnyOf(now[i], {loaded[0][i], loaded[1][i]})) << now[i];
            }
            if (now[0] == loaded[1][0]) {
                // The app config file was not read: the node list is not read either.
                EXPECT_EQ(now, loaded[1]);
                ++unread;
            }
            reader.Reload();
            EXPECT_EQ(values(), loaded[0]);
        }
    }
    EXPECT_GT(unread, 0);
}

} // namespace
