#pragma once

#include "query/Answer.h"

#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

/// The library's operations, each as a function from a query's arguments to an answer. What an
/// operation throws passes through.
namespace sysconfctl::library {

using Arguments = std::vector<std::string>;

/// While one exists the library is in use; at its end the library is left in order: the
/// subscription to change events ends before the process does.
struct Use {
    Use() = default;
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
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

/// An index as an operation takes it.
/// @throws UsageError unless the text is a decimal number that fits.
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
/// Arguments: prefix. Numbers in ascending order, then "service" and "service2" if there is one.
Answer localNodeIps(const Arguments& arguments);
/// Arguments: further tags to look for. Southbound tags without an address are left out.
Answer localNodeIpsByTag(const Arguments& arguments);
Answer ipAddresses(const Arguments& arguments);
Answer allFloatIp(const Arguments& arguments);

/// What the outputs of an operation say, as an answer.
Answer numberedAnswer(const std::map<int, std::string>& numbered, const std::string& service,
                      const std::string& service2);
Answer taggedAnswer(const std::map<std::string, std::string>& tags, const Arguments& arguments);
Answer groupedAnswer(const std::map<std::string, std::set<std::string>>& nodes);

/// A database's name and how many entries it has, as far as they can be asked for: at least one.
struct DatabaseEntries {
    std::string name;
    std::size_t count;
};
std::vector<DatabaseEntries> databaseEntries();

} // namespace sysconfctl::library
