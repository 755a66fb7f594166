// SPDX-License-Identifier: Apache-2.0

#include "SysConfReader.h"

#include "SysConfReaderImpl.h"
#include "base/ForkCheck.h"
#include "config/ConfigFiles.h"
#include "config/Lists.h"
#include "config/Shortages.h"
#include "rules/ReaderLoad.h"
#include "rules/SourceNodeId.h"
#include "status/LoadRecord.h"
#include "sysconfreaderimpl/ChangeEvents.h"

#include <QuarnCommonUtils_i.h>

#include <cerrno>
#include <utility>

namespace Quarncommon {

namespace {

/// An empty list with an error number of a used-up resource is a shortage.
std::list<std::string> hostAddresses() {
    std::list<std::string> addresses;
    const int errnoBefore = errno;
    errno = 0;
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    const int error = errno;
    const bool usedUp = error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
    t_shortageCount += addresses.empty() && usedUp ? 1 : 0;
    errno = error != 0 ? error : errnoBefore;
    return addresses;
}

config::ReadResult readLocalNodeList(config::List& list, config::TextPlace* fault) {
    return config::readNodeList(list, fault);
}

} // namespace

void SysConfReader::init_i() {
    SysConfReaderImpl::ensureSubscribed();
    missedEvent<SysConfReader> = false;
    const std::string appConfigPath = config::pathOf(config::kAppConfig);
    const std::string instanceId = config::environment(config::kInstanceIdVariable);
    status::recordLoad<SysConfReader>(&SysConfReaderStatus::reader, [&] {
        loadStep([&] { loadFiles(appConfigPath, instanceId); });
    });
}

/// The load works on copies and swaps them in when it ends, also by an exception.
class SysConfReader::IdentityUpdate {
public:
    explicit IdentityUpdate(SysConfReader& reader) : loaded(reader.identity()), m_reader(reader) {}
    IdentityUpdate(const IdentityUpdate&) = delete;
    IdentityUpdate& operator=(const IdentityUpdate&) = delete;
    ~IdentityUpdate() {
        const std::lock_guard<std::mutex> guard(m_reader.m_identityMutex);
        m_reader.m_floatNodeId.swap(loaded.floatNodeId);
        m_reader.m_maintenanceIP.swap(loaded.maintenanceIP);
    }

    Identity loaded;

private:
    SysConfReader& m_reader;
};

void SysConfReader::loadFiles(const std::string& appConfigPath, const std::string& instanceId) {
    IdentityUpdate identity(*this);
    const rules::ReaderValues values{.databases = m_dbInfo,
                                     .maintenanceIP = identity.loaded.maintenanceIP,
                                     .localhostIP = m_localhostIP,
                                     .wssIP = m_wssIP,
                                     .wssPort = m_wssPort,
                                     .localPort = m_localPort,
                                     .corbaPort = m_corbaPort,
                                     .corbaSSLPort = m_corbaSSLPort,
                                     .nodeId = m_nodeId,
                                     .hostType = m_hostType,
                                     .floatNodeId = identity.loaded.floatNodeId,
                                     .hostTagName = m_hostTagName};
    status::loadFile<config::Document>(
        &status::Load::appConfig,
        [&](config::Document& document, config::TextPlace* fault) {
            return config::readJsonFile(appConfigPath, document, fault);
        },
        [&](const auto& root) { rules::loadAppConfig(root, instanceId, values); });
    bool replaced = false;
    const auto replaceBySource = [&](std::string& nodeId) {
        if (!std::exchange(replaced, true)) {
            getSourceNodeId(nodeId);
        }
    };
    status::loadFile<config::List>(
        &status::Load::nodeList, &readLocalNodeList,
        [&](const auto& root) { rules::loadNodeList(root, replaceBySource, values); });
}

SysConfReader::Identity SysConfReader::identity() {
    noticeFork();
    for (Identity copy;;) {
        std::size_t nodeIdLength = 0;
        std::size_t addressLength = 0;
        {
            const std::lock_guard<std::mutex> guard(m_identityMutex);
            nodeIdLength = m_floatNodeId.length();
            addressLength = m_maintenanceIP.length();
            if (nodeIdLength <= copy.floatNodeId.capacity() &&
                addressLength <= copy.maintenanceIP.capacity()) {
                copy.floatNodeId = m_floatNodeId;
                copy.maintenanceIP = m_maintenanceIP;
                return copy;
            }
        }
        // Without the mutex: a new_handler may call exit(), and a static destructor may query.
        copy.floatNodeId.reserve(nodeIdLength);
        copy.maintenanceIP.reserve(addressLength);
    }
}

void SysConfReader::getSourceNodeId(std::string& sourceNodeId) {
    std::map<std::string, std::string> serviceAddresses;
    loadStep([&] {
        status::loadFile<config::List>(
            &status::Load::nodeList, &readLocalNodeList,
            [&](const auto& root) { rules::collectServiceAddresses(root, serviceAddresses); });
    });
    if (const std::string* source = rules::sourceNode(serviceAddresses, hostAddresses())) {
        sourceNodeId = *source;
    }
}

} // namespace Quarncommon
