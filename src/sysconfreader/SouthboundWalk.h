#pragma once

#include "rules/NodeIPs.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

namespace Quarncommon {

/// Runs `prepare`, reads the node list and passes a node's addresses to `collect`, which fills the
/// TagWalk (see rules::collectByTag). An exception ends the walk, which then stays incomplete.
template <typename Prepare, typename Collect>
rules::TagWalk walkTags(const std::string& nodeId, Prepare prepare, Collect collect) {
    rules::TagWalk seen;
    completes([&] {
        prepare();
        config::Document list;
        if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            collect(rules::addressEntries(rules::nodeEntry(list.root(), nodeId)), seen);
        }
    });
    return seen;
}

} // namespace Quarncommon
