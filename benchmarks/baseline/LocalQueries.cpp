// The queries of the local node list, except getSourceNodeId.

#include "baseline/Files.h"
#include "baseline/SysConfReader.h"

#include <ace/Guard_T.h>

#include <cstdlib>

namespace baseline {

namespace {

std::string nodeListPath() {
    return variable("APP_ROOT") + "/etc/sysconf/nodelist.json";
}

} // namespace

std::string SysConfReader::getLocalIPByUsage(const std::string& usage) {
    const std::string wanted = lowerCased(usage);
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    try {
        Json::Value root;
        if (!readJsonFile(nodeListPath(), root)) {
            return "";
        }
        const std::string nodeId = wanted == "maintenance" ? m_nodeId : m_floatNodeId;
        Json::Value addresses = root["nodeList"][nodeId]["IPAddresses"];
        for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
            Json::Value usages = addresses[i]["usage"];
            for (Json::ArrayIndex j = 0; j < usages.size(); ++j) {
                if (lowerCased(usages[j].asString()) == wanted) {
                    return addresses[i]["IP"].asString();
                }
            }
        }
    } catch (...) {
        return "";
    }
    return "";
}

std::string SysConfReader::getLocalMaintenanceIP() {
    return getLocalIPByUsage("maintenance");
}

std::string SysConfReader::getLocalServiceIP() {
    const std::string address = getLocalIPByUsage("service");
    if (!address.empty()) {
        return address;
    }
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    return m_maintenanceIP;
}

std::string SysConfReader::getLocalService2IP() {
    return getLocalIPByUsage("service2");
}

void SysConfReader::getLocalNodeIPs(const std::string& usagePrefix,
                                    std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                    std::string& service2IP) {
    try {
        Json::Value root;
        if (!readJsonFile(nodeListPath(), root)) {
            return;
        }
        Json::Value addresses = root["nodeList"][m_floatNodeId]["IPAddresses"];
        for (Json::Value& entry : addresses) {
            const std::string address = entry["IP"].asString();
            Json::Value usages = entry["usage"];
            for (Json::Value& usage : usages) {
                const std::string tag = lowerCased(usage.asString());
                if (tag.find(usagePrefix) != std::string::npos) {
                    const std::string rest = tag.substr(usagePrefix.size());
                    const long number = std::strtol(rest.c_str(), nullptr, 10);
                    const int key = static_cast<int>(static_cast<unsigned int>(number));
                    indexedIPs.insert(std::make_pair(key, address));
                } else if (tag == "service") {
                    serviceIP = address;
                } else if (tag == "service2") {
                    service2IP = address;
                }
            }
        }
    } catch (...) {
        return;
    }
}

void SysConfReader::getLocalNodeIPs(std::map<std::string, std::string>& usageIPs) {
    std::string service;
    try {
        usageIPs["southbound"] = "";
        for (int n = 2; n <= 1024; ++n) {
            usageIPs["southbound" + std::to_string(n)] = "";
        }
        Json::Value root;
        if (!readJsonFile(nodeListPath(), root)) {
            usageIPs["service"] = "";
            return;
        }
        std::string service2;
        bool matched = false;
        Json::Value addresses = root["nodeList"][m_floatNodeId]["IPAddresses"];
        for (Json::ArrayIndex i = 0; i < addresses.size(); ++i) {
            Json::Value usages = addresses[i]["usage"];
            for (Json::ArrayIndex j = 0; j < usages.size(); ++j) {
                const std::string tag = lowerCased(usages[j].asString());
                if (usageIPs.find(tag) != usageIPs.end()) {
                    usageIPs[tag] = addresses[i]["IP"].asString();
                    matched = true;
                } else if (tag == "service") {
                    service = addresses[i]["IP"].asString();
                } else if (tag == "service2") {
                    service2 = addresses[i]["IP"].asString();
                }
            }
        }
        if (!matched) {
            usageIPs["service"] = service;
            if (!service2.empty()) {
                usageIPs["service2"] = service2;
            }
        }
    } catch (...) {
        usageIPs["service"] = service;
    }
}

std::string SysConfReader::getLocalNorthIP() {
    std::map<int, std::string> indexedIPs;
    std::string serviceIP;
    std::string service2IP;
    getLocalNodeIPs("northbound", indexedIPs, serviceIP, service2IP);
    if (indexedIPs.empty()) {
        if (serviceIP.empty()) {
            return m_maintenanceIP;
        }
        return service2IP.empty() ? serviceIP : serviceIP + ";" + service2IP;
    }
    std::string answer;
    for (const int ordinal : {0, 2, 3, 4}) {
        if (indexedIPs.find(ordinal) != indexedIPs.end()) {
            answer += indexedIPs[ordinal];
            indexedIPs.erase(ordinal);
        }
        answer += ";";
    }
    for (const auto& [ordinal, address] : indexedIPs) {
        answer += address + ";";
    }
    return indexedIPs.empty() ? answer : answer.substr(0, answer.size() - 1);
}

std::string SysConfReader::getLocalSouthIP() {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    std::map<std::string, std::string> usageIPs;
    getLocalNodeIPs(usageIPs);
    if (usageIPs.find("service") != usageIPs.end()) {
        if (usageIPs["service"].empty()) {
            return m_maintenanceIP;
        }
        return usageIPs["service2"].empty() ? usageIPs["service"]
                                            : usageIPs["service"] + ";" + usageIPs["service2"];
    }
    std::string answer = usageIPs["southbound"] + ";";
    for (int n = 2; n <= 9; ++n) {
        answer += usageIPs["southbound" + std::to_string(n)] + ";";
    }
    answer += usageIPs["southbound10"];
    for (int n = 11; n <= 1024; ++n) {
        const std::string address = usageIPs["southbound" + std::to_string(n)];
        if (!address.empty()) {
            answer += ";" + address;
        }
    }
    return answer;
}

} // namespace baseline
