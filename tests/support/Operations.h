// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Queries.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// Every exported operation of the library in one table, for tests of what all of them guarantee.
namespace operations {

using queries::Outputs;
using queries::Shortage;

enum class Effect { Answers, Changes };

/// The lock that it takes: none, or those of one side, in any number.
enum class Locks { None, Read, Write };

struct Operation {
    /// As the library exports it, without the namespace; after it, in brackets, which case it is.
    std::string name;
    Effect effect;
    Locks locks;
    Shortage shortage;
    /// Allocates nothing except through the library.
    std::function<void(Outputs&)> call;
    /// Runs before the call, when both readers and the facade exist; null for nothing.
    void (*prepare)() = nullptr;

    std::string symbol() const { return name.substr(0, name.find(' ')); }
};

const std::vector<Operation>& all();

/// The arguments and outputs with which the queries are called.
const queries::Arguments& arguments();
Outputs outputs();

/// The answers of all operations that change nothing, by name. An exception is an answer, too.
using Answers = std::map<std::string, std::string>;
Answers answers();
/// Without those that show the directory of the process.
Answers answersFromFiles();

/// Each answer that differs, both versions; "" if there is none.
std::string differences(const Answers& some, const Answers& others);

/// Creates what does not exist.
void createAll();
/// Does what a change event does.
void reloadAll();
void destroyAll();
/// Creates what does not exist and prepares the operation.
void prepare(const Operation& operation);

/// File texts for which every operation's answer contains `mark`, except ports. They belong to the
/// process "p1" on "node-of-this-process-<mark>". If the mark is "standby", that is a standby node,
/// which has a source node while the host has the address `kSourceAddress`.
std::string appConfig(const std::string& mark);
std::string nodeList(const std::string& mark);
std::string managerNodeList(const std::string& mark);
inline constexpr const char* kSourceAddress = "192.0.2.77";

/// Writes all three.
void writeFiles(support::Deployment& files, const std::string& mark);

/// The paths of the three files of a deployment.
std::vector<std::filesystem::path> paths(const support::Deployment& files);

} // namespace operations
