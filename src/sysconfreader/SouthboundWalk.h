#pragma once

#include "rules/NodeIPs.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

namespace Quarncommon {

/// Reads the node list and collects a node's addresses by tag (see rules::collectByTag), after
/// `prepare` has run. The result's `matched` means that a tag matched, so that the service
/// addresses are not used. An exception ends the walk; the first service address seen so far is
/// then used in any case, the second one is not.
template <typename Prepare, typename SlotFor>
rules::TagWalk walkTags(const std::string& nodeId, Prepare prepare, SlotFor slotFor) {
    rules::TagWalk seen;
    const bool complete = completes([&] {
        prepare();
        config::Document list;
        if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            rules::collectByTag(rules::addressEntries(rules::nodeEntry(list.root(), nodeId)),
                                slotFor, seen);
        }
    });
    if (!complete) {
        seen.matched = false;
        seen.service2.clear();
    }
    return seen;
}

} // namespace Quarncommon
