// SPDX-License-Identifier: Apache-2.0
#include "deployment/TypeMismatches.h"

#include "deployment/JsonValues.h"

#include <rules/LocalIPByUsage.h>
#include <rules/NodeIPs.h>
#include <rules/RoleLoad.h>

#include <map>
#include <set>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

/// Stores each value of the wrong type once and lets the rule continue.
class Collector : public rules::Trace {
public:
    void report(const rules::TraceEvent& event) override {
        const auto* mismatch = std::get_if<TypeMismatch>(&event);
        if (mismatch != nullptr && m_paths.insert(mismatch->path).second) {
            mismatches.push_back(*mismatch);
        }
    }
    bool resumesAfter(const TypeMismatch& /*mismatch*/) override { return true; }

    std::vector<TypeMismatch> mismatches;

private:
    std::set<rules::Path> m_paths;
};

void readNodeList(const rules::TracedNode& list, Values& values) {
    rules::loadNodeList(
        list, [](std::string& /*nodeId*/) {}, values.ofReader());
}

void readRoles(const rules::TracedNode& list, Values& values) {
    rules::loadLocalIp(list, values.roleNodeId, values.localInternalIp);
    rules::loadTenancy(list, values.roleNodeId, values.tenancy);
}

void readAddresses(const rules::TracedNode& list, const std::string& nodeId) {
    std::map<int, std::string> byNumber;
    std::string service;
    rules::collectByNumber(rules::addressEntries(rules::nodeEntry(list, nodeId)), "", byNumber,
                           service, service);
    rules::TagWalk seen;
    rules::collectByTag(
        rules::addressEntries(rules::nodeEntry(list, nodeId)),
        [](const std::string& /*tag*/) -> std::string* { return nullptr; }, seen);
}

} // namespace

const char* expectedText(TypeMismatch::Expected expected) {
    switch (expected) {
    case TypeMismatch::Expected::Object:
        return "an object";
    case TypeMismatch::Expected::Array:
        return "an array";
    case TypeMismatch::Expected::Text:
        return "a text";
    case TypeMismatch::Expected::Int:
        break;
    }
    return "a 32-bit whole number";
}

std::string describe(const TypeMismatch& mismatch, const Json::Value& root) {
    return "is " + kindOf(valueAt(root, mismatch.path)) + " where " +
           expectedText(mismatch.expected) + " is read";
}

std::vector<TypeMismatch> appConfigMismatches(const Json::Value& root,
                                              const std::string& instanceId) {
    Collector collector;
    Values values;
    rules::loadAppConfig(rules::TracedNode(root, collector), instanceId, values.ofReader());
    return std::move(collector.mismatches);
}

std::vector<TypeMismatch> nodeListMismatches(const Json::Value& root) {
    Collector collector;
    const rules::TracedNode list(root, collector);
    for (const auto& [id, node] : list["nodeList"].members()) {
        Values values;
        values.nodeId = values.floatNodeId = values.roleNodeId = id;
        readNodeList(list, values);
        readRoles(list, values);
        rules::roleOf(node);
        readAddresses(list, id);
    }
    return std::move(collector.mismatches);
}

std::vector<TypeMismatch> ownMismatches(const Json::Value& root, const Values& values) {
    Collector collector;
    const rules::TracedNode list(root, collector);
    Values scratch = values;
    readNodeList(list, scratch);
    readRoles(list, scratch);
    rules::addressByTag(rules::addressEntries(rules::nodeEntry(list, values.nodeId)),
                        std::string(rules::kMaintenanceTag));
    readAddresses(list, values.floatNodeId);
    return std::move(collector.mismatches);
}

} // namespace sysconfctl
