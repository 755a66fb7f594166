// SPDX-License-Identifier: Apache-2.0

#include "functions.h"
#include "sysconfreader_c.h"

#include "SysConfReader.h"
#include "SysConfReaderStatus.h"
#include "SysConfReader_i.h"
#include "support/Cancellation.h"
#include "support/EventLibrary.h"
#include "support/HostAddresses.h"
#include "support/Operations.h"
#include "support/SampleTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReader_i;
using Status = Quarncommon::SysConfReaderStatus;
using Texts = std::vector<std::string>;

SysConfReader& reader() {
    return *SysConfReader::Instance();
}

SysConfReader_i& facade() {
    return *SysConfReader_i::Instance();
}

const std::string& database() {
    return operations::arguments().database;
}
const std::string& tag() {
    return operations::arguments().tag;
}

std::string linesOf(const Texts& texts) {
    std::string lines;
    for (const std::string& text : texts) {
        lines += text + '\n';
    }
    return lines;
}

std::string byNumber() {
    std::map<int, std::string> numbers;
    std::string service;
    std::string service2;
    reader().getLocalNodeIPs("northbound", numbers, service, service2);
    Texts rows;
    for (const auto& [number, address] : numbers) {
        rows.push_back(std::to_string(number) + '\t' + address);
    }
    rows.push_back("service\t" + service);
    rows.push_back("service2\t" + service2);
    return linesOf(rows);
}

std::string byTag() {
    std::map<std::string, std::string> tags{{tag(), ""}, {"service", ""}};
    reader().getLocalNodeIPs(tags);
    Texts rows;
    for (const auto& [name, address] : tags) {
        if (!address.empty()) {
            rows.push_back(name + '\t' + address);
        }
    }
    return linesOf(rows);
}

std::string ofNodes() {
    std::list<std::string> addresses;
    reader().getIPAddresses(operations::arguments().field, "an", addresses);
    return linesOf({addresses.begin(), addresses.end()});
}

std::string floating() {
    std::map<std::string, std::set<std::string>> nodes;
    reader().getAllFloatIP({tag(), "service"}, nodes);
    Texts rows;
    for (const auto& [id, addresses] : nodes) {
        rows.push_back(id);
        for (const std::string& address : addresses) {
            rows.back() += '\t' + address;
        }
    }
    return linesOf(rows);
}

std::string sourceNode() {
    std::string id;
    reader().getSourceNodeId(id);
    return id;
}

std::string databaseText() {
    Json::Value info;
    reader().getDBInfo(database(), info);
    return support::jsonText(info);
}

std::string databasesText() {
    std::map<std::string, Json::Value> all;
    reader().getAllDBInfo(all);
    Json::Value object;
    for (const auto& [name, info] : all) {
        object[name] = info;
    }
    return support::jsonText(object);
}

struct Row {
    const char* query;
    Texts arguments;
    std::function<std::string()> answer;
};

std::string text(int number) {
    return std::to_string(number);
}

const std::vector<Row>& rows() {
    static const Texts entry{database(), "0"};
    static const std::vector<Row> table{
        {"app-root", {}, [] { return reader().GetAppRoot(); }},
        {"localhost-ip-address", {}, [] { return reader().getLocalhostIPAddress(); }},
        {"local-port", {}, [] { return text(reader().getLocalPort()); }},
        {"maintenance-ip-address", {}, [] { return reader().getMaintenanceIPAddress(); }},
        {"wss-ip-address", {}, [] { return reader().GetWssIPAddress(); }},
        {"wss-port", {}, [] { return text(reader().GetWssPort()); }},
        {"corba-port", {}, [] { return text(reader().getCorbaPort()); }},
        {"corba-ssl-port", {}, [] { return text(reader().getCorbaSSLPort()); }},
        {"float-node-id", {}, [] { return reader().getFloatNodeId(); }},
        {"source-node-id", {}, sourceNode},
        {"local-host-tag-name", {}, [] { return reader().getLocalHostTagName(); }},
        {"product-name", {}, [] { return facade().GetProductName(); }},
        {"local-internal-service-ip", {}, [] { return facade().GetLocalInternalServiceIP(); }},
        {"master-internal-service-ip", {}, [] { return facade().GetMasterInternalServiceIP(); }},
        {"standby-internal-service-ip", {}, [] { return facade().GetStandbyInternalServiceIP(); }},
        {"local-maintenance-ip", {}, [] { return reader().getLocalMaintenanceIP(); }},
        {"local-service-ip", {}, [] { return reader().getLocalServiceIP(); }},
        {"local-service2-ip", {}, [] { return reader().getLocalService2IP(); }},
        {"local-ip-by-usage", {tag()}, [] { return reader().getLocalIPByUsage(tag()); }},
        {"local-north-ip", {}, [] { return reader().getLocalNorthIP(); }},
        {"local-south-ip", {}, [] { return reader().getLocalSouthIP(); }},
        {"pf-type", {}, [] { return text(reader().getPFType()); }},
        {"local-node-ips", {"northbound"}, byNumber},
        {"local-node-ips-by-tag", {tag(), "service"}, byTag},
        {"ip-addresses", {operations::arguments().field, "an"}, ofNodes},
        {"all-float-ip", {tag(), "service"}, floating},
        {"all-db-info", {}, databasesText},
        {"db-info", {database()}, databaseText},
        {"db-type", entry, [] { return reader().getDBType(database(), 0); }},
        {"db-access-host", entry, [] { return reader().getDBAccessHost(database(), 0); }},
        {"db-access-port", entry, [] { return text(reader().getDBAccessPort(database(), 0)); }},
        {"db-user-name", entry, [] { return reader().getDBUserName(database(), 0); }},
        {"db-password", entry, [] { return reader().getDBPassword(database(), 0); }},
        {"db-service-name", entry, [] { return reader().getDBServiceName(database(), 0); }},
        {"db-server-name", entry, [] { return reader().getDBServerName(database(), 0); }},
        {"db-lib", entry, [] { return reader().getDBLib(database(), 0); }},
    };
    return table;
}

std::vector<const char*> pointers(const Texts& arguments) {
    std::vector<const char*> all;
    for (const std::string& argument : arguments) {
        all.push_back(argument.c_str());
    }
    all.push_back(nullptr);
    return all;
}

struct Got {
    int result = -1;
    std::string text;
    bool operator==(const Got&) const = default;
};
void PrintTo(const Got& got, std::ostream* out) {
    *out << sysconfreader_result_text(got.result) << " \"" << got.text << '"';
}

Got get(const char* query, const Texts& arguments,
        sysconfreader_format format = SYSCONFREADER_TEXT) {
    char* text = nullptr;
    Got got;
    got.result =
        sysconfreader_get(query, pointers(arguments).data(), arguments.size(), format, &text);
    EXPECT_EQ(text != nullptr, got.result == SYSCONFREADER_OK);
    got.text = text != nullptr ? text : "";
    sysconfreader_free(text);
    return got;
}

Got call(const char* query, const Texts& arguments) {
    char* text = nullptr;
    Got got;
    got.result = callFunction(query, pointers(arguments).data(), &text);
    EXPECT_EQ(text != nullptr, got.result == SYSCONFREADER_OK);
    got.text = text != nullptr ? text : "";
    std::free(text);
    return got;
}

Got sorted(const Got& got) {
    std::istringstream stream(got.text);
    Texts lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return {got.result, linesOf(lines)};
}

Json::Value json(const char* query, const Texts& arguments = {}) {
    const Got got = get(query, arguments, SYSCONFREADER_JSON);
    EXPECT_EQ(got.result, SYSCONFREADER_OK) << query;
    Json::Value value;
    std::istringstream(got.text) >> value;
    return value;
}

class CLibrary : public testing::Test {
protected:
    CLibrary() {
        support::setHostAddresses({operations::kSourceAddress});
        support::installEventLibrary("recording");
        operations::writeFiles(m_files, "a");
    }

    support::Deployment m_files;
};

TEST_F(CLibrary, EveryQueryOfTheTool_IsInTheTableOfThisTest) {
    Texts names;
    for (std::size_t i = 0; sysconfreader_query_name(i) != nullptr; ++i) {
        names.emplace_back(sysconfreader_query_name(i));
        EXPECT_NE(std::strlen(sysconfreader_query_help(i)), 0U);
    }
    Texts expected;
    for (const Row& row : rows()) {
        expected.emplace_back(row.query);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(expected));
}

TEST_F(CLibrary, EveryQuery_AnswersAsTheClassesDo) {
    for (const Row& row : rows()) {
        SCOPED_TRACE(row.query);
        const Got expected = sorted({SYSCONFREADER_OK, row.answer()});
        EXPECT_NE(expected.text, "");
        EXPECT_EQ(sorted(call(row.query, row.arguments)), expected);
        EXPECT_EQ(sorted(get(row.query, row.arguments)), expected);
    }
}

TEST_F(CLibrary, AsJson_EachKindHasItsType) {
    EXPECT_EQ(json("local-port"), Json::Value(reader().getLocalPort()));
    EXPECT_EQ(json("product-name"), Json::Value(facade().GetProductName()));
    EXPECT_TRUE(json("ip-addresses", {operations::arguments().field, "an"}).isArray());
    EXPECT_EQ(json("local-node-ips", {"northbound"})["service"],
              Json::Value(reader().getLocalIPByUsage("service")));
    const Json::Value nodes = json("all-float-ip", {tag()});
    EXPECT_TRUE(nodes["manager-node-as-master"].isArray());
    Json::Value info;
    reader().getDBInfo(database(), info);
    EXPECT_EQ(json("db-info", {database()}), info);
}

TEST_F(CLibrary, BytesThatAreNotUtf8_AreReplacedInJsonOnly) {
    m_files.appConfig(R"({"processes":{"p1":{"wss":{"ip":"caf)"
                      "\xe9 12"
                      R"("}}}})");
    EXPECT_EQ(get("wss-ip-address", {}), (Got{SYSCONFREADER_OK, "caf\xe9 12"}));
    EXPECT_EQ(get("wss-ip-address", {}, SYSCONFREADER_JSON),
              (Got{SYSCONFREADER_OK, R"("caf\ufffd 12")"}));
}

TEST_F(CLibrary, AddressWithANul_EndsThereAndTheNextLineFollows) {
    m_files.managerNodeList(R"({"nodeList":{
        "a":{"assignedToTenancy":"t","IPAddresses":[{"IP":"1\u0000x"},{"IP":"2"}]}}})");
    EXPECT_EQ(get("ip-addresses", {"assignedToTenancy", "t"}), (Got{SYSCONFREADER_OK, "1\n2\n"}));
}

TEST_F(CLibrary, EverythingElse_WorksFromC) {
    EXPECT_EQ(callTheRest(), 0);
}

TEST_F(CLibrary, WithoutFiles_HasNoAnswers) {
    for (const auto& path : operations::paths(m_files)) {
        std::filesystem::remove(path);
    }
    for (const char* query : {"product-name", "local-service-ip", "all-float-ip", "db-type"}) {
        const Texts arguments = query == std::string("db-type")        ? Texts{"db", "0"}
                                : query == std::string("all-float-ip") ? Texts{"service"}
                                                                       : Texts{};
        EXPECT_EQ(get(query, arguments), (Got{SYSCONFREADER_NO_ANSWER, ""})) << query;
        EXPECT_EQ(call(query, arguments), (Got{SYSCONFREADER_NO_ANSWER, ""})) << query;
        EXPECT_STREQ(sysconfreader_error(), "");
    }
    EXPECT_EQ(get("local-port", {}), (Got{SYSCONFREADER_OK, "0"}));
}

TEST_F(CLibrary, WrongCalls_GiveTheirErrorAndText) {
    const auto expectError = [](const Got& got, int result) {
        EXPECT_EQ(got, (Got{result, ""}));
        EXPECT_STRNE(sysconfreader_error(), "");
    };
    expectError(get("no-such-query", {}), SYSCONFREADER_UNKNOWN_QUERY);
    expectError(get("local-port", {"4000"}), SYSCONFREADER_BAD_ARGUMENT);
    expectError(get("db-type", {database()}), SYSCONFREADER_BAD_ARGUMENT);
    expectError(get("db-type", {database(), "first"}), SYSCONFREADER_BAD_ARGUMENT);
    expectError(get("all-float-ip", {}), SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(get("product-name", {}).result, SYSCONFREADER_OK);
    EXPECT_STREQ(sysconfreader_error(), "") << "a success clears it";
}

TEST_F(CLibrary, NullPointers_AreBadArguments) {
    char* text = nullptr;
    char** list = nullptr;
    EXPECT_EQ(sysconfreader_product_name(nullptr), SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(sysconfreader_local_port(nullptr), SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(sysconfreader_local_ip_by_usage(nullptr, &text), SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(sysconfreader_all_float_ip(nullptr, 1, &list), SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(sysconfreader_get(nullptr, nullptr, 0, SYSCONFREADER_TEXT, &text),
              SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(sysconfreader_get("local-port", nullptr, 0, SYSCONFREADER_TEXT, nullptr),
              SYSCONFREADER_BAD_ARGUMENT);
    EXPECT_EQ(sysconfreader_get_status(nullptr, 0), SYSCONFREADER_BAD_ARGUMENT);
}

TEST_F(CLibrary, DatabaseOfTheWrongType_IsAWrongType) {
    m_files.appConfig(R"({"databases": {"db": {"type": "x"}}})");
    EXPECT_EQ(get("db-type", {"db", "0"}), (Got{SYSCONFREADER_WRONG_TYPE, ""}));
    EXPECT_EQ(call("db-type", {"db", "0"}), (Got{SYSCONFREADER_WRONG_TYPE, ""}));
    EXPECT_STRNE(sysconfreader_error(), "");
}

TEST_F(CLibrary, EventLibraryThatThrows_IsAnInternalFailure) {
    support::setInitThrows(true);
    EXPECT_EQ(get("local-port", {}), (Got{SYSCONFREADER_INTERNAL, ""}));
    EXPECT_STREQ(sysconfreader_error(), "no event service");
    support::setInitThrows(false);
    EXPECT_EQ(get("local-port", {}).result, SYSCONFREADER_OK);
}

TEST_F(CLibrary, EventLibraryThatThrowsAnyObject_IsAnInternalFailure) {
    support::setInitHook([] { throw 1; });
    EXPECT_EQ(get("local-port", {}), (Got{SYSCONFREADER_INTERNAL, ""}));
    EXPECT_STREQ(sysconfreader_error(), "an exception of unknown type");
    support::setInitHook(nullptr);
}

TEST_F(CLibrary, ThreadCancelledInACall_EndsAndTheNextCallAnswers) {
    bool returned = false;
    support::setInitHook(support::cancelThisThread);
    std::thread([&] {
        get("local-port", {});
        returned = true;
    }).join();
    support::setInitHook(nullptr);
    EXPECT_FALSE(returned);
    EXPECT_EQ(get("local-port", {}).result, SYSCONFREADER_OK);
}

TEST_F(CLibrary, ErrorText_BelongsToItsThread) {
    get("no-such-query", {});
    std::jthread([] { EXPECT_STREQ(sysconfreader_error(), ""); }).join();
    EXPECT_STREQ(sysconfreader_error(), "unknown query");
}

TEST_F(CLibrary, ArgumentsOfAQuery_AreDescribed) {
    const auto indexOf = [](const std::string& name) {
        std::size_t index = 0;
        while (sysconfreader_query_name(index) != name) {
            ++index;
        }
        return index;
    };
    std::size_t most = 0;
    EXPECT_EQ(sysconfreader_query_arguments(indexOf("db-type"), &most), 2U);
    EXPECT_EQ(most, 2U);
    EXPECT_STREQ(sysconfreader_query_argument(indexOf("db-type"), 1), "INDEX");
    EXPECT_EQ(sysconfreader_query_arguments(indexOf("all-float-ip"), &most), 1U);
    EXPECT_EQ(most, static_cast<std::size_t>(-1));
    EXPECT_EQ(sysconfreader_query_arguments(indexOf("local-node-ips-by-tag"), nullptr), 0U);
    EXPECT_EQ(sysconfreader_query_arguments(1000, &most), 0U);
    EXPECT_EQ(most, 0U);
}

TEST_F(CLibrary, Status_IsThatOfTheClass) {
    m_files.nodeList("{\n,").appConfig(R"({"processes": []})");
    SysConfReader::Instance();
    support::deliver("OtherEvent");
    const Status expected = Status::read();
    sysconfreader_status status;
    ASSERT_EQ(sysconfreader_get_status(&status, sizeof status), SYSCONFREADER_OK);
    EXPECT_EQ(status.last_load, expected.lastLoad);
    EXPECT_EQ(status.events_dropped, 1U);
    EXPECT_EQ(status.events_applied, 0U);
    EXPECT_EQ(status.events_failed, 0U);
    EXPECT_EQ(status.subscription, SYSCONFREADER_SUBSCRIBED);
    EXPECT_STREQ(status.event_library, expected.eventLibrary);
    EXPECT_EQ(status.reader.number, 2U);
    EXPECT_EQ(status.roles.number, 1U);
    EXPECT_EQ(status.reader.started_at, expected.reader.startedAt);
    EXPECT_EQ(status.reader.duration, expected.reader.duration);
    EXPECT_EQ(status.reader.shortage, 0);
    EXPECT_EQ(status.reader.app_config.outcome, SYSCONFREADER_VALUE_OF_WRONG_TYPE);
    EXPECT_STREQ(status.reader.app_config.pointer, "/processes");
    EXPECT_EQ(status.roles.node_list.outcome, SYSCONFREADER_MALFORMED);
    EXPECT_EQ(status.roles.node_list.line, 2U);
    EXPECT_EQ(status.roles.node_list.column, 1U);
    EXPECT_EQ(status.roles.manager_node_list.outcome, SYSCONFREADER_LOADED);
}

TEST_F(CLibrary, StatusOfAnotherSize_IsFilledAsFarAsItIsKnown) {
    SysConfReader::Instance();
    struct {
        sysconfreader_status status;
        char later[64];
    } longer;
    std::memset(&longer, 0x55, sizeof longer);
    sysconfreader_get_status(&longer.status, sizeof longer);
    EXPECT_EQ(longer.status.roles.number, 1U);
    EXPECT_THAT(longer.later, testing::Each(0));
    sysconfreader_status shorter;
    std::memset(&shorter, 0x55, sizeof shorter);
    sysconfreader_get_status(&shorter, sizeof shorter.last_load);
    EXPECT_EQ(shorter.last_load, 2U);
    EXPECT_EQ(shorter.events_applied, 0x5555555555555555U) << "not touched";
}

TEST_F(CLibrary, ChangeDescriptor_IsReadableAfterALoad) {
    const int descriptor = sysconfreader_open_changes();
    pollfd polled{descriptor, POLLIN, 0};
    EXPECT_EQ(::poll(&polled, 1, 0), 0);
    get("local-port", {});
    EXPECT_EQ(::poll(&polled, 1, 0), 1);
    EXPECT_EQ(sysconfreader_generation(), 2U);
    sysconfreader_close_changes(descriptor);
}

TEST_F(CLibrary, InAForkedChild_Answers) {
    const Got expected = get("product-name", {});
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        const bool same = get("product-name", {}) == expected && sysconfreader_reload() == 0 &&
                          sysconfreader_destroy() == 0 && get("product-name", {}) == expected;
        ::_exit(same ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(CLibrary, TextsOfResults_Differ) {
    std::set<std::string> texts;
    for (int result = 0; result <= SYSCONFREADER_INTERNAL + 1; ++result) {
        texts.insert(sysconfreader_result_text(result));
    }
    EXPECT_EQ(texts.size(), 8U) << "with that of no result";
}

} // namespace
