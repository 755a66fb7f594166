#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// A table of all queries, for tests that run every query.
namespace queries {

/// The file that a query reads on each call.
enum class Reads { Nothing, NodeList, ManagerNodeList };

struct Query {
    const char* name;
    Reads reads;
    /// How often it takes the read lock of its class if the list has an answer.
    std::size_t readLocks;
    /// Returns the answer as text, including outputs, which are empty or "old" before the call.
    std::function<std::string()> ask;
};

const std::vector<Query>& all();
std::vector<Query> reading(Reads reads);

/// The three files for process "p1" on node "n1". Every answer except ports contains `mark`. The
/// lists have that many further nodes, which contain `mark` too.
std::string appConfig(const std::string& mark);
std::string nodeList(const std::string& mark, std::size_t furtherNodes = 0);
std::string managerNodeList(const std::string& mark, std::size_t furtherNodes = 0);

void write(support::Deployment& files, const std::string& mark);

} // namespace queries
