#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// Every query of the reader in one table, for what all of them have in common: locks, faults of
/// the files, files in motion.
namespace queries {

/// The file that a query reads while it runs.
enum class Reads { Nothing, NodeList, ManagerNodeList };

struct Query {
    const char* name;
    Reads reads;
    /// How often it takes the read lock of its class, with a list that answers it.
    std::size_t readLocks;
    /// The answer of SysConfReader::Instance() as text, outputs included (they hold nothing, or
    /// "old", before the call).
    std::function<std::string()> ask;
};

const std::vector<Query>& all();
/// Those that read that file.
std::vector<Query> reading(Reads reads);

/// The texts of three files that answer every query with something in which `mark` stands (ports
/// apart), for the process "p1" on node "n1". The lists have that many further nodes, in each of
/// which `mark` stands too, and the number of nodes depends on the mark's length.
std::string appConfig(const std::string& mark);
std::string nodeList(const std::string& mark, std::size_t furtherNodes = 0);
std::string managerNodeList(const std::string& mark, std::size_t furtherNodes = 0);

/// Writes all three.
void write(support::Deployment& files, const std::string& mark);

} // namespace queries
