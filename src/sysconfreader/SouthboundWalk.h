#pragma once

#include "rules/NodeIPs.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

namespace Quarncommon {

/// Runs `prepare`, reads the node list and passes a node's addresses to `collect`, which fills the
/// TagWalk (see rules::collectByTag). If the result's `matched` is true, the family has an address
/// and no service address is reported. An exception ends the walk: then the first service address
/// found so far is reported in any case, the second one is not.
template <typename Prepare, typename Collect>
rules::TagWalk walkTags(const std::string& nodeId, Prepare prepare, Collect collect) {
    rules::TagWalk seen;
    const bool complete = completes([&] {
        prepare();
        config::Document list;
        if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            collect(rules::addressEntries(rules::nodeEntry(list.root(), nodeId)), seen);
        }
    });
    if (!complete) {
        seen.matched = false;
        seen.service2.clear();
    }
    return seen;
}

} // namespace Quarncommon
