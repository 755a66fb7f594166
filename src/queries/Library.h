// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "queries/Answer.h"

#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <cstddef>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// The library's operations, each from arguments to an answer. Exceptions are passed on.
namespace Quarncommon::queries::library {

using Arguments = std::vector<std::string>;

/// Its destructor destroys the instances, so that the subscription ends before the process.
struct Session {
    Session() = default;
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
};

inline Quarncommon::SysConfReader& reader() {
    return *Quarncommon::SysConfReader::Instance();
}

template <auto Operation>
Answer text(const Arguments& /*none*/) {
    return textAnswer((reader().*Operation)());
}

template <auto Operation>
Answer number(const Arguments& /*none*/) {
    return numberAnswer((reader().*Operation)());
}

template <auto Operation>
Answer role(const Arguments& /*none*/) {
    return textAnswer((Quarncommon::SysConfReader_i::Instance()->*Operation)());
}

struct BadIndex : std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};

/// @throws BadIndex unless the text is a decimal number in the range of the type.
unsigned int parseIndex(const std::string& text);

/// Arguments: database name, index of its entry.
template <auto Operation>
Answer databaseText(const Arguments& arguments) {
    const unsigned int index = parseIndex(arguments[1]);
    return textAnswer((reader().*Operation)(arguments[0], index));
}

Answer databasePort(const Arguments& arguments);
Answer database(const Arguments& arguments);
Answer allDatabases(const Arguments& arguments);

Answer sourceNodeId(const Arguments& arguments);
Answer localIpByUsage(const Arguments& arguments);
/// Arguments: prefix. Numbers in ascending order, then "service" and "service2" if not empty.
Answer localNodeIps(const Arguments& arguments);
/// Arguments: additional tags. Southbound tags without an address are left out.
Answer localNodeIpsByTag(const Arguments& arguments);
Answer ipAddresses(const Arguments& arguments);
Answer allFloatIp(const Arguments& arguments);

Answer numberedAnswer(const std::map<int, std::string>& numbered, const std::string& service,
                      const std::string& service2);
Answer taggedAnswer(const std::map<std::string, std::string>& tags, const Arguments& arguments);
Answer groupedAnswer(const std::map<std::string, std::set<std::string>>& nodes);

/// A database and the number of entries to ask for, at least 1.
struct DatabaseEntries {
    std::string name;
    std::size_t entries;
};
std::vector<DatabaseEntries> databaseEntries();
std::vector<DatabaseEntries> entriesOf(const std::map<std::string, Json::Value>& databases);

} // namespace Quarncommon::queries::library
