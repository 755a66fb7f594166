// The queries that look at every node.

#include "baseline/Files.h"
#include "baseline/SysConfReader.h"

#include <QuarnCommonUtils_i.h>
#include <ace/Guard_T.h>

#include <cstdlib>

namespace baseline {

int SysConfReader::getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                                  std::list<std::string>& addresses) {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    const char* root = std::getenv("TOLM_ROOT");
    if (root == nullptr) {
        return -1;
    }
    try {
        Json::Value document;
        if (!readJsonFile(std::string(root) + "/etc/sysconf/nodelists.json", document)) {
            return -1;
        }
        Json::Value nodeList = document["nodeList"];
        for (const std::string& name : nodeList.getMemberNames()) {
            const std::string value = nodeList[name][fieldName].asString();
            if (value.compare(0, valuePrefix.size(), valuePrefix) != 0) {
                continue;
            }
            Json::Value entries = nodeList[name]["IPAddresses"];
            for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
                const std::string address = entries[i]["IP"].asString();
                if (!address.empty()) {
                    addresses.push_back(address);
                }
            }
        }
    } catch (...) {
        return -1;
    }
    return 0;
}

int SysConfReader::getAllFloatIP(std::set<std::string> usages,
                                 std::map<std::string, std::set<std::string>>& floatIPs) {
    const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(m_pMutex);
    const char* root = std::getenv("TOLM_ROOT");
    if (root == nullptr) {
        return -1;
    }
    try {
        Json::Value document;
        if (!readJsonFile(std::string(root) + "/etc/sysconf/nodelists.json", document)) {
            return -1;
        }
        for (const std::string& name : document["nodeList"].getMemberNames()) {
            std::set<std::string> addresses;
            Json::Value entries = document["nodeList"][name]["IPAddresses"];
            for (Json::ArrayIndex k = 0; k < entries.size(); ++k) {
                Json::Value tags = entries[k]["usage"];
                for (Json::ArrayIndex j = 0; j < tags.size(); ++j) {
                    if (usages.find(lowerCased(tags[j].asString())) != usages.end()) {
                        addresses.insert(entries[k]["IP"].asString());
                    }
                }
            }
            floatIPs.insert(std::make_pair(name, addresses));
        }
    } catch (...) {
        return -1;
    }
    return 0;
}

void SysConfReader::getSourceNodeId(std::string& sourceNodeId) {
    std::map<std::string, std::string> serviceAddresses;
    try {
        Json::Value document;
        if (readJsonFile(variable("APP_ROOT") + "/etc/sysconf/nodelist.json", document)) {
            for (const std::string& id : document["nodeList"].getMemberNames()) {
                if (document["nodeList"][id]["extAttr"]["hostType"].asString() == "standby") {
                    continue;
                }
                Json::Value entries = document["nodeList"][id]["IPAddresses"];
                for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
                    Json::Value tags = entries[i]["usage"];
                    for (Json::ArrayIndex j = 0; j < tags.size(); ++j) {
                        if (lowerCased(tags[j].asString()) == "service") {
                            serviceAddresses[id] = entries[i]["IP"].asString();
                            break;
                        }
                    }
                }
            }
        }
    } catch (...) {
        // The nodes collected before the error are still compared.
    }
    std::list<std::string> hostAddresses;
    QuarnCommonUtils_i::getAllIPAddr(hostAddresses);
    for (const auto& [id, address] : serviceAddresses) {
        for (const std::string& own : hostAddresses) {
            if (address == own) {
                sourceNodeId = id;
                return;
            }
        }
    }
}

} // namespace baseline
