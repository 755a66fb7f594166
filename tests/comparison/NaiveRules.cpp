// SPDX-License-Identifier: Apache-2.0
#include "comparison/NaiveRules.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace naive {

namespace {

std::string lower(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        result += static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
    }
    return result;
}

Json::Value addressesOf(Json::Value& root, const std::string& nodeId) {
    return root["nodeList"][nodeId]["IPAddresses"];
}

std::string key(int n) {
    return "southbound" + std::to_string(n);
}

} // namespace

std::string localIPByUsage(File nodeList, const std::string& nodeId, const std::string& floatNodeId,
                           const std::string& usage) {
    const std::string wanted = lower(usage);
    if (!nodeList) {
        return "";
    }
    try {
        std::string node;
        if (wanted == "maintenance") {
            node = nodeId;
        } else {
            node = floatNodeId;
        }
        Json::Value addresses = addressesOf(*nodeList, node);
        for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
            for (Json::ArrayIndex j = 0; j < addresses[i]["usage"].size(); ++j) {
                if (lower(addresses[i]["usage"][j].asString()) == wanted) {
                    return addresses[i]["IP"].asString();
                }
            }
        }
    } catch (...) {
        return "";
    }
    return "";
}

std::string localServiceIP(File nodeList, const std::string& floatNodeId,
                           const std::string& maintenanceIP) {
    const std::string service = localIPByUsage(std::move(nodeList), "", floatNodeId, "service");
    return service != "" ? service : maintenanceIP;
}

int ipAddresses(File managerNodeList, const std::string& fieldName, const std::string& valuePrefix,
                std::list<std::string>& addresses) {
    if (!managerNodeList) {
        return -1;
    }
    try {
        Json::Value nodes = (*managerNodeList)["nodeList"];
        const std::vector<std::string> names = nodes.getMemberNames();
        for (std::size_t n = 0; n < names.size(); ++n) {
            const std::string value = nodes[names[n]][fieldName].asString();
            if (value.size() < valuePrefix.size() ||
                value.substr(0, valuePrefix.size()) != valuePrefix) {
                continue;
            }
            Json::Value entries = nodes[names[n]]["IPAddresses"];
            for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
                const std::string address = entries[i]["IP"].asString();
                if (address != "") {
                    addresses.push_back(address);
                }
            }
        }
    } catch (...) {
        return -1;
    }
    return 0;
}

int allFloatIP(File managerNodeList, const std::set<std::string>& usages,
               std::map<std::string, std::set<std::string>>& floatIPs) {
    if (!managerNodeList) {
        return -1;
    }
    try {
        Json::Value& root = *managerNodeList;
        const std::vector<std::string> names = root["nodeList"].getMemberNames();
        for (std::size_t n = 0; n < names.size(); ++n) {
            std::set<std::string> found;
            Json::Value entries = root["nodeList"][names[n]]["IPAddresses"];
            for (Json::ArrayIndex k = 0; k < entries.size(); ++k) {
                for (Json::ArrayIndex j = 0; j < entries[k]["usage"].size(); ++j) {
                    if (usages.find(lower(entries[k]["usage"][j].asString())) != usages.end()) {
                        found.insert(entries[k]["IP"].asString());
                    }
                }
            }
            floatIPs.insert(std::make_pair(names[n], found));
        }
    } catch (...) {
        return -1;
    }
    return 0;
}

void localNodeIPs(File nodeList, const std::string& floatNodeId, const std::string& usagePrefix,
                  std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                  std::string& service2IP) {
    if (!nodeList) {
        return;
    }
    try {
        Json::Value addresses = addressesOf(*nodeList, floatNodeId);
        for (Json::Value::iterator e = addresses.begin(); e != addresses.end(); ++e) {
            Json::Value entry = *e;
            const std::string ip = entry["IP"].asString();
            Json::Value usages = entry["usage"];
            for (Json::Value::iterator u = usages.begin(); u != usages.end(); ++u) {
                const std::string tag = lower((*u).asString());
                if (tag.find(usagePrefix) == std::string::npos) {
                    if (tag == "service") {
                        serviceIP = ip;
                    } else if (tag == "service2") {
                        service2IP = ip;
                    }
                    continue;
                }
                const std::string rest = tag.substr(usagePrefix.length());
                const long value = std::strtol(rest.c_str(), nullptr, 10);
                const auto low = static_cast<std::uint32_t>(static_cast<std::uint64_t>(value) %
                                                            (std::uint64_t{1} << 32));
                const auto number = static_cast<std::int32_t>(low);
                if (indexedIPs.find(number) == indexedIPs.end()) {
                    indexedIPs[number] = ip;
                }
            }
        }
    } catch (...) {
        return;
    }
}

void localNodeIPs(File nodeList, const std::string& floatNodeId,
                  std::map<std::string, std::string>& usageIPs) {
    usageIPs["southbound"] = "";
    for (int n = 2; n <= 1024; ++n) {
        usageIPs[key(n)] = "";
    }
    if (!nodeList) {
        usageIPs["service"] = "";
        return;
    }
    std::string service;
    std::string service2;
    bool familyMatched = false;
    try {
        Json::Value addresses = addressesOf(*nodeList, floatNodeId);
        for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
            Json::Value usages = addresses[i]["usage"];
            for (Json::ArrayIndex j = 0; j < usages.size(); ++j) {
                const std::string tag = lower(usages[j].asString());
                if (usageIPs.contains(tag)) {
                    usageIPs[tag] = addresses[i]["IP"].asString();
                    familyMatched = true;
                } else if (tag == "service") {
                    service = addresses[i]["IP"].asString();
                } else if (tag == "service2") {
                    service2 = addresses[i]["IP"].asString();
                }
            }
        }
    } catch (...) {
        usageIPs["service"] = service;
        return;
    }
    if (familyMatched) {
        return;
    }
    usageIPs["service"] = service;
    if (service2 != "") {
        usageIPs["service2"] = service2;
    }
}

std::string localNorthIP(File nodeList, const std::string& floatNodeId,
                         const std::string& maintenanceIP) {
    std::map<int, std::string> indexed;
    std::string service;
    std::string service2;
    localNodeIPs(std::move(nodeList), floatNodeId, "northbound", indexed, service, service2);
    if (indexed.size() == 0) {
        if (service == "") {
            return maintenanceIP;
        }
        if (service2 == "") {
            return service;
        }
        return service + ";" + service2;
    }
    std::string answer = indexed[0] + ";" + indexed[2] + ";" + indexed[3] + ";" + indexed[4] + ";";
    std::string others;
    for (std::map<int, std::string>::iterator it = indexed.begin(); it != indexed.end(); ++it) {
        if (it->first != 0 && it->first != 2 && it->first != 3 && it->first != 4) {
            others += it->second + ";";
        }
    }
    answer += others;
    return others == "" ? answer : answer.substr(0, answer.size() - 1);
}

std::string localSouthIP(File nodeList, const std::string& floatNodeId,
                         const std::string& maintenanceIP) {
    std::map<std::string, std::string> usageIPs;
    localNodeIPs(std::move(nodeList), floatNodeId, usageIPs);
    if (usageIPs.contains("service")) {
        if (usageIPs["service"] == "") {
            return maintenanceIP;
        }
        if (usageIPs["service2"] == "") {
            return usageIPs["service"];
        }
        return usageIPs["service"] + ";" + usageIPs["service2"];
    }
    std::string answer = usageIPs["southbound"] + ";";
    for (int n = 2; n <= 9; ++n) {
        answer += usageIPs[key(n)] + ";";
    }
    answer += usageIPs["southbound10"];
    for (int n = 11; n <= 1024; ++n) {
        const std::string& address = usageIPs[key(n)];
        if (address != "") {
            answer += ";" + address;
        }
    }
    return answer;
}

int pfType(const std::string& southIP) {
    bool six = false;
    bool four = false;
    std::string piece;
    std::istringstream text(southIP);
    while (std::getline(text, piece, ';')) {
        if (piece.find(':') != std::string::npos) {
            six = true;
            continue;
        }
        if (piece.find('.') != std::string::npos) {
            four = true;
        }
    }
    if (six && four) {
        return 2;
    }
    return six ? 1 : 0;
}

void sourceNodeId(File nodeList, const std::list<std::string>& hostAddresses,
                  std::string& sourceNodeId) {
    std::map<std::string, std::string> table;
    if (nodeList) {
        try {
            Json::Value& root = *nodeList;
            const std::vector<std::string> ids = root["nodeList"].getMemberNames();
            for (std::size_t n = 0; n < ids.size(); ++n) {
                if (root["nodeList"][ids[n]]["extAttr"]["hostType"].asString() == "standby") {
                    continue;
                }
                Json::Value entries = root["nodeList"][ids[n]]["IPAddresses"];
                for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
                    for (Json::ArrayIndex j = 0; j < entries[i]["usage"].size(); ++j) {
                        if (lower(entries[i]["usage"][j].asString()) == "service") {
                            table[ids[n]] = entries[i]["IP"].asString();
                            break;
                        }
                    }
                }
            }
        } catch (...) {
            // The nodes before the value of the wrong type are still compared.
        }
    }
    for (std::map<std::string, std::string>::iterator it = table.begin(); it != table.end(); ++it) {
        for (const std::string& own : hostAddresses) {
            if (it->second == own) {
                sourceNodeId = it->first;
                return;
            }
        }
    }
}

std::string internalServiceAddress(Json::Value addresses) {
    std::string fallback;
    for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
        for (Json::ArrayIndex j = 0; j < addresses[i]["usage"].size(); ++j) {
            const std::string tag = lower(addresses[i]["usage"][j].asString());
            if (tag == "internal_service") {
                return addresses[i]["IP"].asString();
            }
            if (tag == "maintenance") {
                fallback = addresses[i]["IP"].asString();
            }
        }
    }
    return fallback;
}

void masterAndStandby(Json::Value root, const std::string& tenancy, std::string& masterNodeId,
                      std::string& standbyNodeId) {
    Json::Value nodes = root["nodeList"];
    const std::vector<std::string> ids = nodes.getMemberNames();
    for (std::size_t n = 0; n < ids.size(); ++n) {
        if (nodes[ids[n]]["assignedToTenancy"].asString() != tenancy) {
            continue;
        }
        const std::string hostType = nodes[ids[n]]["extAttr"]["hostType"].asString();
        const std::string domainType = nodes[ids[n]]["extAttr"]["domain_node_type"].asString();
        if (hostType == "master" && domainType == "ACCESS_Master") {
            masterNodeId = ids[n];
        }
        if (hostType == "standby" && domainType == "ACCESS_Backup") {
            standbyNodeId = ids[n];
        }
    }
}

} // namespace naive
