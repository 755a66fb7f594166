#include "rules/SourceNodeId.h"

#include "SysConfReader.h"
#include "sysconfreader/Loads.h"

#include <QuarnCommonUtils_i.h>

#include <cerrno>

namespace Quarncommon {

namespace {

/// The addresses of this host. The platform's operation cannot report a failure: an empty list with
/// an error number of a used-up resource is a shortage.
std::list<std::string> hostAddresses() {
    std::list<std::string> addresses;
    const int errnoBefore = errno;
    errno = 0;
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    const int error = errno;
    const bool usedUp = error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
    t_shortages += addresses.empty() && usedUp ? 1 : 0;
    errno = error != 0 ? error : errnoBefore;
    return addresses;
}

} // namespace

void SysConfReader::getSourceNodeId(std::string& sourceNodeId) {
    std::map<std::string, std::string> serviceAddresses;
    loadStep([&] {
        config::Document list;
        if (readForLoad(config::pathOf(config::kNodeList), list)) {
            rules::collectServiceAddresses(list.root(), serviceAddresses);
        }
    });
    if (const std::string* source = rules::sourceNode(serviceAddresses, hostAddresses())) {
        sourceNodeId = *source;
    }
}

} // namespace Quarncommon
