// Makes each allocation of each query fail.

#include "OwnNode.h"
#include "rules/NaiveRules.h"
#include "support/AllocationFaults.h"
#include "support/HostAddresses.h"
#include "support/LocksFree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <JsonReader.h>
#include <new>

namespace {

using Quarncommon::SysConfReader;
using support::AllocationFault;
using support::Shortage;
using testing::AnyOf;

// Longer than the inline buffer of a string, so that each copy allocates.
const std::string kMaintenance = "maintenance address of this process";
const std::string kTail = " -- an address longer than the inline buffer";

enum class Promise { NeverThrows, MayThrow };

enum class End { Answered, BadAlloc, AnotherException };
void PrintTo(End end, std::ostream* out) {
    constexpr const char* kNames[] = {"an answer", "std::bad_alloc", "another exception"};
    *out << kNames[static_cast<int>(end)];
}

template <typename Call>
End end(Call call) {
    try {
        call();
        return End::Answered;
    } catch (const std::bad_alloc&) {
        return End::BadAlloc;
    } catch (...) {
        return End::AnotherException;
    }
}

/// Runs `call` once for each of its allocations and makes that allocation fail, first alone, then
/// with all later ones. `before` holds the initial outputs. `allowed(outputs, expected, threw)`
/// returns whether the outputs are acceptable. After each failure the next call must give the same
/// result as without one. `step` > 1 tests only every step-th allocation, for calls with many
/// similar ones.
template <typename Outputs, typename Call, typename Allowed>
void exhaust(const std::string& name, Promise promise, const Outputs& before, Call call,
             Allowed allowed, std::size_t step = 1) {
    Outputs expected = before;
    call(expected);
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
        bool happened = true;
        std::size_t which = 1;
        for (; happened && !testing::Test::HasFailure(); which += step) {
            const std::string when = name + ", allocation " + std::to_string(which) +
                                     (shortage == Shortage::FromThereOn ? " and all later" : "");
            Outputs outputs = before;
            End ended{};
            {
                const AllocationFault fault(which, shortage);
                ended = end([&] { call(outputs); });
                happened = fault.happened();
            }
            EXPECT_NE(ended, End::AnotherException) << when;
            if (promise == Promise::NeverThrows) {
                EXPECT_EQ(ended, End::Answered) << when;
            }
            support::expectNoLockHeld(when);
            EXPECT_TRUE(allowed(outputs, expected, ended == End::BadAlloc))
                << when << ": " << testing::PrintToString(outputs);
            Outputs next = before;
            call(next);
            EXPECT_EQ(next, expected) << "the call after " << when;
            if (!happened) {
                EXPECT_EQ(outputs, expected) << when;
            }
        }
        EXPECT_GT(which, 2U) << name << " allocated no memory";
    }
}

/// Outputs are unchanged if the call threw, otherwise correct.
constexpr auto kAllOrNothing = [](const auto& before) {
    return [before](const auto& outputs, const auto& expected, bool threw) {
        return outputs == (threw ? before : expected);
    };
};

class OutOfMemory : public testing::Test {
protected:
    OutOfMemory() {
        node.files.appConfig(R"({"databases":{
            "a database with a long name":[{"accessPort":5,"type":")" +
                             kTail + R"(","user":")" + kTail + R"(","serviceName":")" + kTail +
                             R"(","passwd":")" + kTail + R"(","serverName":")" + kTail +
                             R"(","accessHost":")" + kTail + R"(","instanceExt":{"lib":")" + kTail +
                             R"("}},{"more":[1,"two"]}],
            "another database with a long name":null},
            "processes":{"p1":{"nodeId":"the node that this process is on","IR":{"ip":")" +
                             kMaintenance + R"("},"local":{"ip":"L)" + kTail +
                             R"(","port":1},"wss":{"ip":"W)" + kTail + R"(","port":2}}}})");
        support::setHostAddresses({"10.0.0.7"});
        writeLists(everything());
        node.reader();
    }

    static std::vector<std::string> everything() {
        return {ip("A", R"("northbound","southbound")"),
                ip("S", R"("service","a tag that the caller asks for")"),
                ip("B", R"("northbound7","southbound12")"), ip("T", R"("service2","southbound3")")};
    }

    static std::string ip(const std::string& letter, const std::string& tags) {
        return R"({"IP":")" + letter + kTail + R"(","usage":[)" + tags + "]}";
    }

    void writeLists(const std::vector<std::string>& entries) {
        std::string all;
        for (const std::string& one : entries) {
            all += (all.empty() ? "" : ",") + one;
        }
        const std::string nodes = R"({"IPAddresses":[)" + all +
                                  R"(]},"a second node with a long id":
            {"IPAddresses":[{"IP":"10.0.0.7","usage":["service"]}]},"third":{"IPAddresses":[)" +
                                  all + "]}}}";
        m_list = R"({"nodeList":{"the node that this process is on":)" + nodes;
        node.files.nodeList(m_list).managerNodeList(m_list);
    }

    /// The north answers of all walks that end before one of the tags.
    std::set<std::string> northAnswersPartWay() const {
        std::set<std::string> answers{kMaintenance};
        Json::Value whole;
        EXPECT_TRUE(JsonReader(false).parse(m_list, whole));
        const Json::Value entries =
            whole["nodeList"]["the node that this process is on"]["IPAddresses"];
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
                answers.insert(naive::localNorthIP(part, "n", kMaintenance));
            }
        }
        return answers;
    }

    SysConfReader& reader() { return node.reader(); }

    OwnNode node;

private:
    std::string m_list;
};

TEST_F(OutOfMemory, LoadedTexts_ThrowOrAnswer) {
    const std::pair<const char*, std::string (SysConfReader::*)()> rows[] = {
        {"GetWssIPAddress", &SysConfReader::GetWssIPAddress},
        {"getLocalhostIPAddress", &SysConfReader::getLocalhostIPAddress},
        {"getMaintenanceIPAddress", &SysConfReader::getMaintenanceIPAddress},
        {"getFloatNodeId", &SysConfReader::getFloatNodeId},
        {"GetAppRoot", &SysConfReader::GetAppRoot},
    };
    for (const auto& [name, query] : rows) {
        exhaust(
            name, Promise::MayThrow, std::string("before"),
            [&, q = query](std::string& answer) { answer = (reader().*q)(); },
            kAllOrNothing(std::string("before")));
    }
}

TEST_F(OutOfMemory, DatabaseTexts_ThrowOrAnswer) {
    const std::string name = "a database with a long name";
    const std::pair<const char*, std::string (SysConfReader::*)(const std::string&, unsigned int)>
        rows[] = {
            {"getDBType", &SysConfReader::getDBType},
            {"getDBUserName", &SysConfReader::getDBUserName},
            {"getDBServiceName", &SysConfReader::getDBServiceName},
            {"getDBPassword", &SysConfReader::getDBPassword},
            {"getDBServerName", &SysConfReader::getDBServerName},
            {"getDBAccessHost", &SysConfReader::getDBAccessHost},
            {"getDBLib", &SysConfReader::getDBLib},
        };
    for (const auto& [query, member] : rows) {
        exhaust(
            query, Promise::MayThrow, std::string("before"),
            [&, q = member](std::string& answer) { answer = (reader().*q)(name, 0); },
            kAllOrNothing(std::string("before")));
    }
}

TEST_F(OutOfMemory, OneDatabase_ThrowsAndLeavesTheOutputUnchanged) {
    const std::string name = "a database with a long name";
    exhaust(
        "getDBInfo", Promise::MayThrow, Json::Value("before"),
        [&](Json::Value& info) { EXPECT_EQ(reader().getDBInfo(name, info), 0); },
        kAllOrNothing(Json::Value("before")));
}

TEST_F(OutOfMemory, AllDatabases_ThrowAndLeaveTheOutputUnchanged) {
    const std::map<std::string, Json::Value> before{{"before", Json::Value("value")}};
    exhaust(
        "getAllDBInfo", Promise::MayThrow, before,
        [&](std::map<std::string, Json::Value>& all) { EXPECT_EQ(reader().getAllDBInfo(all), 0); },
        kAllOrNothing(before));
}

TEST_F(OutOfMemory, OneAddress_AnswersEmptyOrFallsBack) {
    const std::string tag = "a tag that the caller asks for";
    const auto orOneOf = [](std::set<std::string> others) {
        return [others](const std::string& answer, const std::string& expected, bool) {
            return answer == expected || others.count(answer) == 1;
        };
    };
    exhaust(
        "getLocalIPByUsage", Promise::NeverThrows, std::string("before"),
        [&](std::string& answer) { answer = reader().getLocalIPByUsage(tag); }, orOneOf({""}));
    exhaust(
        "getLocalMaintenanceIP", Promise::NeverThrows, std::string("before"),
        [&](std::string& answer) { answer = reader().getLocalMaintenanceIP(); }, orOneOf({""}));
    exhaust(
        "getLocalService2IP", Promise::NeverThrows, std::string("before"),
        [&](std::string& answer) { answer = reader().getLocalService2IP(); }, orOneOf({""}));
    exhaust(
        "getLocalServiceIP", Promise::NeverThrows, std::string("before"),
        [&](std::string& answer) { answer = reader().getLocalServiceIP(); },
        orOneOf({"", kMaintenance}));
    writeLists({});
    exhaust(
        "getLocalServiceIP without one", Promise::NeverThrows, std::string("before"),
        [&](std::string& answer) { answer = reader().getLocalServiceIP(); }, orOneOf({""}));
}

struct Addresses {
    int result = 99;
    std::list<std::string> list;
};
bool operator==(const Addresses& a, const Addresses& b) {
    return a.result == b.result && a.list == b.list;
}

TEST_F(OutOfMemory, ManagersAddresses_AnswerMinusOneWithTheAddressesBefore) {
    const std::string prefix;
    const std::string field = "a field that is absent everywhere";
    exhaust(
        "getIPAddresses", Promise::NeverThrows, Addresses{99, {"before"}},
        [&](Addresses& out) { out.result = reader().getIPAddresses(field, prefix, out.list); },
        [](const Addresses& out, const Addresses& expected, bool) {
            return out.result == -1
                       ? out.list.size() <= expected.list.size() &&
                             std::equal(out.list.begin(), out.list.end(), expected.list.begin())
                       : out == expected;
        });
}

struct ByNode {
    int result = 99;
    std::map<std::string, std::set<std::string>> map;
    /// An argument by value. The caller makes the copy, so it is made before the fault is armed.
    std::set<std::string> tags;
};
bool operator==(const ByNode& a, const ByNode& b) {
    return a.result == b.result && a.map == b.map;
}

TEST_F(OutOfMemory, FloatAddresses_AnswerMinusOneWithTheNodesBefore) {
    exhaust(
        "getAllFloatIP", Promise::NeverThrows,
        ByNode{99, {{"before", {"kept"}}}, {"a tag that the caller asks for", "service2"}},
        [&](ByNode& out) { out.result = reader().getAllFloatIP(std::move(out.tags), out.map); },
        [](const ByNode& out, const ByNode& expected, bool) {
            return out.result == -1 ? std::includes(expected.map.begin(), expected.map.end(),
                                                    out.map.begin(), out.map.end()) &&
                                          out.map.count("before") == 1
                                    : out == expected;
        });
}

struct ByNumber {
    std::map<int, std::string> map;
    std::string service;
    std::string service2;
};
bool operator==(const ByNumber& a, const ByNumber& b) {
    return a.map == b.map && a.service == b.service && a.service2 == b.service2;
}

TEST_F(OutOfMemory, AddressesByNumber_KeepWhatWasCollected) {
    const std::string prefix = "northbound";
    exhaust(
        "getLocalNodeIPs by number", Promise::NeverThrows,
        ByNumber{{{1, "before"}}, "before", "before"},
        [&](ByNumber& out) {
            reader().getLocalNodeIPs(prefix, out.map, out.service, out.service2);
        },
        [](const ByNumber& out, const ByNumber& expected, bool) {
            return std::includes(expected.map.begin(), expected.map.end(), out.map.begin(),
                                 out.map.end()) &&
                   out.map.count(1) == 1 &&
                   (out.service == "before" || out.service == expected.service) &&
                   (out.service2 == "before" || out.service2 == expected.service2);
        });
}

using ByTag = std::map<std::string, std::string>;

TEST_F(OutOfMemory, AddressesByTag_HoldNoWrongAddress) {
    const ByTag before{{"southbound7", "before"}, {"a tag that the caller asks for", "before"}};
    const auto allowed = [](const ByTag& out, const ByTag& expected, bool) {
        for (const auto& [tag, address] : out) {
            const auto right = expected.find(tag);
            const bool so = right != expected.end() && address == right->second;
            // Cleared and not filled again, not cleared yet, or set because the walk ended early.
            if (!so && !address.empty() && address != "before" &&
                !(tag == "service" && address == "S" + kTail)) {
                return false;
            }
        }
        return out.count("southbound7") == 1 && out.count("a tag that the caller asks for") == 1;
    };
    const auto call = [&](ByTag& map) { reader().getLocalNodeIPs(map); };
    // A new map gets a thousand keys; a map from an earlier call already has them.
    ByTag reused = before;
    call(reused);
    for (auto& [tag, address] : reused) {
        address = "before";
    }
    reused.erase("southbound9");
    reused.erase("southbound1024");
    const auto exhaustBoth = [&](const std::string& name) {
        exhaust(name + ", new map", Promise::NeverThrows, before, call, allowed, SYSCONF_KEY_STEP);
        exhaust(name + ", map with the keys", Promise::NeverThrows, reused, call, allowed);
    };
    exhaustBoth("getLocalNodeIPs by tag");
    writeLists({ip("S", R"("service")"), ip("T", R"("service2")")});
    exhaustBoth("getLocalNodeIPs by tag, services");
}

TEST_F(OutOfMemory, NorthList_ThrowsOrUsesWhatWasCollected) {
    const auto call = [&](std::string& answer) { answer = reader().getLocalNorthIP(); };
    for (const auto& entries :
         {everything(), {ip("S", R"("service")"), ip("T", R"("service2")")}}) {
        writeLists(entries);
        const std::set<std::string> partWay = northAnswersPartWay();
        exhaust("getLocalNorthIP", Promise::MayThrow, std::string("before"), call,
                [&](const std::string& answer, const std::string&, bool threw) {
                    return threw ? answer == "before" : partWay.count(answer) == 1;
                });
    }
}

TEST_F(OutOfMemory, SouthListAndFamilies_ThrowOrAnswerOrFallBack) {
    const std::set<std::string> fallBacks{kMaintenance, "S" + kTail};
    const auto allowed = [&](const std::string& answer, const std::string& expected, bool threw) {
        return threw ? answer == "before" : answer == expected || fallBacks.count(answer) == 1;
    };
    const auto call = [&](std::string& answer) { answer = reader().getLocalSouthIP(); };
    exhaust("getLocalSouthIP", Promise::MayThrow, std::string("before"), call, allowed);
    exhaust(
        "getPFType", Promise::MayThrow, 99, [&](int& answer) { answer = reader().getPFType(); },
        [](int answer, int, bool threw) { return threw ? answer == 99 : answer == 0; });
    writeLists({ip("S", R"("service")"), ip("T", R"("service2")")});
    exhaust("getLocalSouthIP, services", Promise::MayThrow, std::string("before"), call, allowed);
}

TEST_F(OutOfMemory, SourceNode_IsCorrectOrUnchanged) {
    exhaust(
        "getSourceNodeId", Promise::MayThrow, std::string("before"),
        [&](std::string& id) { reader().getSourceNodeId(id); },
        [](const std::string& id, const std::string& expected, bool threw) {
            return id == "before" || (!threw && id == expected);
        });
}

TEST_F(OutOfMemory, Reload_ThrowsOrReturnsAndTheNextLoadIsComplete) {
    const std::string one = reader().getMaintenanceIPAddress();
    const std::string other = "another" + kTail;
    const std::string configs[] = {
        OwnNode::kAppConfig,
        R"({"databases":{"a database with a long name":[{"passwd":")" + kTail +
            R"("}]},"processes":{"p1":{"nodeId":"the node that this process is on","IR":{"ip":")" +
            other + R"("}}}})"};
    const auto loaded = [&] {
        std::map<std::string, Json::Value> databases;
        reader().getAllDBInfo(databases);
        return reader().getMaintenanceIPAddress() + " " + reader().getFloatNodeId() + " " +
               std::to_string(databases.size());
    };
    // Without change events: opening the event library allocates inside the C library.
    support::setEnvironment("NO_EM_CLIENT", "1");
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
        bool happened = true;
        for (std::size_t which = 1; happened && !HasFailure(); ++which) {
            node.files.appConfig(configs[0]);
            reader().Reload();
            ASSERT_EQ(loaded(), "M n1 0");
            node.files.appConfig(configs[1]);
            End ended{};
            {
                const AllocationFault fault(which, shortage);
                ended = end([&] { reader().Reload(); });
                happened = fault.happened();
            }
            EXPECT_NE(ended, End::AnotherException) << which;
            support::expectNoLockHeld("reload, allocation " + std::to_string(which));
            EXPECT_THAT(reader().getMaintenanceIPAddress(), AnyOf("M", other)) << which;
            EXPECT_THAT(reader().getFloatNodeId(), AnyOf("n1", "the node that this process is on"))
                << which;
            if (happened) {
                reader().Reload();
            }
            EXPECT_EQ(loaded(), other + " the node that this process is on 1") << which;
        }
    }
}

TEST_F(OutOfMemory, FirstUse_ThrowsOrLoadsAndTheNextLoadIsComplete) {
    support::setEnvironment("NO_EM_CLIENT", "1");
    for (const Shortage shortage : {Shortage::OneAllocation, Shortage::FromThereOn}) {
        bool happened = true;
        std::size_t thrown = 0;
        for (std::size_t which = 1; happened && !HasFailure(); ++which) {
            SysConfReader::Destory();
            End ended{};
            {
                const AllocationFault fault(which, shortage);
                ended = end([] { SysConfReader::Instance(); });
                happened = fault.happened();
            }
            EXPECT_NE(ended, End::AnotherException) << which;
            support::expectNoLockHeld("first use, allocation " + std::to_string(which));
            thrown += ended == End::BadAlloc ? 1 : 0;
            if (ended == End::Answered && happened) {
                reader().Reload();
            }
            EXPECT_EQ(reader().getMaintenanceIPAddress(), kMaintenance) << which;
            EXPECT_EQ(reader().getFloatNodeId(), "the node that this process is on") << which;
            EXPECT_EQ(reader().getDBPassword("a database with a long name", 0), kTail) << which;
        }
        EXPECT_GT(thrown, 0U);
    }
}

} // namespace
