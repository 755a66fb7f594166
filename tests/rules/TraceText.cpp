// SPDX-License-Identifier: Apache-2.0
#include "rules/TraceText.h"

namespace {

using namespace Quarncommon::rules;

std::string pointer(const Path& path) {
    std::string text;
    for (const std::string& step : path) {
        text += '/' + step;
    }
    return text.empty() ? "the root" : text;
}

struct Writer {
    std::string operator()(const ValueRead& event) const {
        return "read " + pointer(event.path) + " = " + event.text;
    }
    std::string operator()(const NodeLookup& event) const {
        return "lookup " + pointer(event.path) + (event.found ? " found" : " absent");
    }
    std::string operator()(const EntryVisited& event) const {
        return "entry " + pointer(event.path);
    }
    std::string operator()(const TagCompared& event) const {
        return "tag " + event.tag + " at " + pointer(event.path);
    }
    std::string operator()(const SlotFilled& event) const {
        return event.slot + " filled by " + pointer(event.path) + " = " + event.value;
    }
    std::string operator()(const SlotKept& event) const {
        return event.slot + " kept, not " + pointer(event.path);
    }
    std::string operator()(const SlotNotNeeded& event) const { return event.slot + " not needed"; }
    std::string operator()(const SlotPlaced& event) const {
        return event.slot + " placed " + std::to_string(event.position) + " = " + event.value;
    }
    std::string operator()(const FallbackUsed& event) const {
        const bool service = event.to == FallbackUsed::To::Service;
        return std::string("fallback to ") + (service ? "service" : "maintenance") + " = " +
               event.value;
    }
    std::string operator()(const Collected& event) const {
        return "collected " + pointer(event.path) + " = " + event.value;
    }
    std::string operator()(const NodeFinished& event) const {
        return "finished " + pointer(event.path);
    }
    std::string operator()(const Skipped& event) const {
        constexpr const char* kReasons[] = {"standby",     "other tenancy", "other role",
                                            "other field", "no address",    "already in answer"};
        return "skipped " + pointer(event.path) + ": " + kReasons[static_cast<int>(event.why)];
    }
    std::string operator()(const RoleCompared& event) const {
        return "role " + event.role + " at " + pointer(event.path) + ", of " + event.hostType +
               " and " + event.domainType;
    }
    std::string operator()(const SourceCompared& event) const {
        return event.nodeId + " has " + event.address + (event.carried ? ", carried" : "");
    }
    std::string operator()(const TypeMismatch& event) const {
        constexpr const char* kExpected[] = {"object", "array", "text", "int"};
        return "mismatch at " + pointer(event.path) + ": expected " +
               kExpected[static_cast<int>(event.expected)] + ", found type " +
               std::to_string(event.found);
    }
};

} // namespace

void TraceText::report(const TraceEvent& event) {
    lines.push_back(std::visit(Writer(), event));
}
