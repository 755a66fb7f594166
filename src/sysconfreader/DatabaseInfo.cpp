// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "locks/ClassLock.h"

#include <new>

namespace Quarncommon {

namespace {

using Databases = std::map<std::string, Json::Value>;

/// Null if the database is unknown. An index past the end reads like an entry without fields.
const Json::Value* field(const Databases& databases, const std::string& name, unsigned int index,
                         const char* key) {
    const auto database = databases.find(name);
    return database != databases.end() ? &database->second[index][key] : nullptr;
}

/// Copying fails only if memory runs out; jsoncpp then throws something else than std::bad_alloc.
template <typename Copied>
Copied copyOf(const Copied& original) {
    try {
        return original;
    } catch (const Json::Exception&) {
        throw std::bad_alloc();
    }
}

std::string text(const Json::Value* value) {
    return value != nullptr ? value->asString() : "";
}

} // namespace

int SysConfReader::getDBInfo(const std::string& name, Json::Value& info) {
    const ReadGuard<SysConfReader> guard;
    const auto database = m_dbInfo.find(name);
    if (database == m_dbInfo.end()) {
        return -1;
    }
    info = copyOf(database->second);
    return 0;
}

int SysConfReader::getAllDBInfo(std::map<std::string, Json::Value>& all) {
    const ReadGuard<SysConfReader> guard;
    Databases copy = copyOf(m_dbInfo);
    all.swap(copy);
    return 0;
}

int SysConfReader::getDBAccessPort(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    const Json::Value* port = field(m_dbInfo, name, index, "accessPort");
    return port != nullptr ? port->asInt() : -1;
}

std::string SysConfReader::getDBType(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    return text(field(m_dbInfo, name, index, "type"));
}

std::string SysConfReader::getDBUserName(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    return text(field(m_dbInfo, name, index, "user"));
}

std::string SysConfReader::getDBServiceName(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    return text(field(m_dbInfo, name, index, "serviceName"));
}

std::string SysConfReader::getDBPassword(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    return text(field(m_dbInfo, name, index, "passwd"));
}

std::string SysConfReader::getDBServerName(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    return text(field(m_dbInfo, name, index, "serverName"));
}

std::string SysConfReader::getDBAccessHost(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    return text(field(m_dbInfo, name, index, "accessHost"));
}

std::string SysConfReader::getDBLib(const std::string& name, unsigned int index) {
    const ReadGuard<SysConfReader> guard;
    const Json::Value* extension = field(m_dbInfo, name, index, "instanceExt");
    return text(extension != nullptr ? &(*extension)["lib"] : nullptr);
}

} // namespace Quarncommon
