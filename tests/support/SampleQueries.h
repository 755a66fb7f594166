// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SysConfReader.h"
#include "support/Queries.h"

#include <cstddef>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// Every value of the files except the ports contains a mark.
namespace queries {

using ReaderQuery = Query<Quarncommon::SysConfReader>;

inline const std::vector<ReaderQuery>& ofReader() {
    return all<Quarncommon::SysConfReader>();
}
std::vector<ReaderQuery> reading(Reads reads);

/// The outputs are "old" before the call.
std::string ask(const ReaderQuery& query);

/// Process "p1" on "n1", and `furtherNodes` more. The node list also serves as the manager's.
std::string appConfig(const std::string& mark);
std::string nodeList(const std::string& mark, std::size_t furtherNodes = 0);

void write(support::Deployment& files, const std::string& mark);

} // namespace queries
