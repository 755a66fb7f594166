// SPDX-License-Identifier: Apache-2.0
#include "comparison/RandomLists.h"

#include <json/writer.h>

#include <cctype>
#include <initializer_list>

using namespace std::string_literals;

namespace {

const std::vector<std::string> kNodeIds{
    "n1", "n1", "n2", "N1", "", "n 2", "n\"3", "n\0x"s, "\xE8\x8A\x82\xE7\x82\xB9", "\xFF", "n10"};

const std::vector<std::string> kNumbers{"",
                                        "",
                                        "0",
                                        "1",
                                        "2",
                                        "3",
                                        "4",
                                        "5",
                                        "7",
                                        "9",
                                        "10",
                                        "11",
                                        "12",
                                        "1023",
                                        "1024",
                                        "1025",
                                        "02",
                                        "+2",
                                        "-1",
                                        "-5",
                                        " 2",
                                        "2 ",
                                        "\t3",
                                        "2x",
                                        "x",
                                        "2\0"s,
                                        "\0"s
                                        "2",
                                        "0x10",
                                        "1e3",
                                        "2147483647",
                                        "2147483648",
                                        "4294967295",
                                        "4294967296",
                                        "4294967298",
                                        "-2147483648",
                                        "-2147483649",
                                        "9223372036854775807",
                                        "9223372036854775808",
                                        "-9223372036854775808",
                                        "-9223372036854775809",
                                        "99999999999999999999999",
                                        "-99999999999999999999999",
                                        "\xEF\xBC\x92"};

const std::vector<std::string> kPlainTags{
    "service",      "service",     "service",     "service2",         "service2",
    "service3",     "maintenance", "maintenance", "internal_service", "",
    " service",     "service\0"s,  "se\"rvice",   "m\xC3\x84rz",      "pre-northbound5",
    "xsouthbound2", "float"};

const std::vector<std::string> kFields{"assignedToTenancy", "assignedToTenancy", "kind", "absent",
                                       "extAttr",           "IPAddresses",       "",     "ki\0nd"s};

const std::vector<std::string> kTenancies{"", "t1", "t1", "t12", "T1", "t"};

std::string lowered(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

} // namespace

Json::Value RandomLists::list() {
    m_mistypedOneIn = oneIn(2) ? 0 : static_cast<unsigned int>(10 + below(100));
    Json::Value nodes(Json::objectValue);
    for (std::size_t n = below(5); n > 0; --n) {
        const std::string id = nodeId();
        nodes[id] = perhapsMistyped(node());
    }
    // The node of the queries is nearly always listed.
    if (!oneIn(10)) {
        nodes["n1"] = perhapsMistyped(node());
    }
    Json::Value root(Json::objectValue);
    if (!oneIn(40)) {
        root["nodeList"] = perhapsMistyped(std::move(nodes));
    }
    return perhapsMistyped(std::move(root));
}

Json::Value RandomLists::node() {
    Json::Value node(Json::objectValue);
    if (!oneIn(15)) {
        node["IPAddresses"] = perhapsMistyped(addresses());
    }
    if (!oneIn(4)) {
        node["assignedToTenancy"] = perhapsMistyped(tenancy());
    }
    if (!oneIn(3)) {
        Json::Value extension(Json::objectValue);
        extension["hostType"] = perhapsMistyped(anyOf<std::string>(
            {"master", "master", "standby", "standby", "Standby", "MASTER", ""}));
        extension["domain_node_type"] = perhapsMistyped(anyOf<std::string>(
            {"ACCESS_Master", "ACCESS_Master", "ACCESS_Backup", "access_master", ""}));
        node["extAttr"] = perhapsMistyped(std::move(extension));
    }
    if (oneIn(2)) {
        node["kind"] = anyOf<Json::Value>({"t", "t1x", 1, 15, -1, true, false, 1.5, Json::Value()});
    }
    return node;
}

Json::Value RandomLists::addresses() {
    Json::Value entries(Json::arrayValue);
    for (std::size_t n = below(7); n > 0; --n) {
        entries.append(perhapsMistyped(entry()));
    }
    if (m_mistypedOneIn != 0 && oneIn(2 * m_mistypedOneIn)) {
        Json::Value object(Json::objectValue);
        for (Json::Value& one : entries) {
            object[tag()] = one;
        }
        return object;
    }
    return entries;
}

Json::Value RandomLists::entry() {
    Json::Value entry(Json::objectValue);
    if (!oneIn(10)) {
        entry["IP"] = perhapsMistyped(address());
    }
    if (!oneIn(15)) {
        entry["usage"] = perhapsMistyped(usage());
    }
    return entry;
}

Json::Value RandomLists::usage() {
    if (oneIn(20)) {
        return tag();
    }
    Json::Value usage(Json::arrayValue);
    for (std::size_t n = below(4); n > 0; --n) {
        usage.append(perhapsMistyped(tag()));
    }
    if (m_mistypedOneIn != 0 && oneIn(2 * m_mistypedOneIn)) {
        Json::Value object(Json::objectValue);
        for (const Json::Value& one : usage) {
            object[tag()] = one;
        }
        return object;
    }
    return usage;
}

std::string RandomLists::address() {
    return anyOf<std::string>({"10.0.0." + std::to_string(below(10)),
                               "10.0.0." + std::to_string(below(10)),
                               "fe80::" + std::to_string(below(10)), "::ffff:10.0.0.1", "127.0.0.1",
                               "host", "", "a\0b"s, "1;2"});
}

std::string RandomLists::nodeId() {
    return anyOf(kNodeIds);
}

std::string RandomLists::someCapitals(std::string text) {
    if (oneIn(3)) {
        for (char& c : text) {
            if (oneIn(3)) {
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            }
        }
    }
    return text;
}

std::string RandomLists::tag() {
    switch (below(5)) {
    case 0:
    case 1:
        return someCapitals("northbound" + anyOf(kNumbers));
    case 2:
    case 3:
        // Lists without a southbound tag must be frequent too.
        return oneIn(3) ? someCapitals("southbound" + anyOf(kNumbers))
                        : someCapitals("s" + anyOf(kNumbers));
    default:
        return someCapitals(anyOf(kPlainTags));
    }
}

std::string RandomLists::askedTag() {
    return oneIn(4) ? tag()
                    : someCapitals(anyOf<std::string>(
                          {"service", "service2", "maintenance", "northbound", "southbound2"}));
}

std::set<std::string> RandomLists::tags() {
    std::set<std::string> tags;
    for (std::size_t n = below(4); n > 0; --n) {
        const std::string one = askedTag();
        tags.insert(oneIn(4) ? one : lowered(one));
    }
    return tags;
}

std::string RandomLists::callersKey() {
    return oneIn(3) ? anyOf<std::string>(
                          {"service", "service2", "southbound", "southbound7", "SERVICE", "x"})
                    : lowered(tag());
}

int RandomLists::callersNumber() {
    return static_cast<int>(below(14)) - 2;
}

std::string RandomLists::prefix() {
    return anyOf<std::string>({"northbound", "northbound", "southbound", "", "North", "s",
                               "service", "2", "\0"s, "bound"});
}

std::string RandomLists::fieldName() {
    return anyOf(kFields);
}

std::string RandomLists::valuePrefix() {
    return anyOf<std::string>({"", "t", "t1", "T", "1", "true", "-", "x", "\0"s});
}

std::string RandomLists::tenancy() {
    return anyOf(kTenancies);
}

Json::Value RandomLists::perhapsMistyped(Json::Value value) {
    return m_mistypedOneIn != 0 && oneIn(m_mistypedOneIn) ? wrongValue() : std::move(value);
}

Json::Value RandomLists::wrongValue() {
    Json::Value array(Json::arrayValue);
    Json::Value filled(Json::arrayValue);
    filled.append("service");
    filled.append(7);
    Json::Value object(Json::objectValue);
    Json::Value members(Json::objectValue);
    members["IP"] = "10.9.9.9";
    members["usage"] = "service";
    return anyOf<Json::Value>(
        {Json::Value(), "service", "", 7, -7, 1.5, true, false, array, filled, object, members});
}

std::string textOf(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}
