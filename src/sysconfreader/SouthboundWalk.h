#pragma once

#include "rules/NodeIPs.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

namespace Quarncommon {

/// Reads the node list and collects a node's addresses by tag (see rules::collectByTag), after
/// `prepare` has run. The answer's `matched` tells that the family has an address and no service
/// address is to be told. Whatever is thrown ends the walk: the first service address seen so far
/// is then told in any case, the second one not.
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
