#include "rules/SourceNodeId.h"

#include "SysConfReader.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

#include <QuarnCommonUtils_i.h>

namespace Quarncommon {

void SysConfReader::getSourceNodeId(std::string& sourceNodeId) {
    std::map<std::string, std::string> serviceAddresses;
    completes([&] {
        config::Document list;
        if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            rules::collectServiceAddresses(list.root(), serviceAddresses);
        }
    });
    std::list<std::string> hostAddresses;
    QuarnCommonUtils_i::getAllIPAddr(hostAddresses);
    if (const std::string* source = rules::sourceNode(serviceAddresses, hostAddresses)) {
        sourceNodeId = *source;
    }
}

} // namespace Quarncommon
