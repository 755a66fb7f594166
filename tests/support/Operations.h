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

/// Every exported operation of the library, for tests of what all of them guarantee.
namespace operations {

using queries::Outputs;
using queries::Shortage;

enum class Effect { Answers, Changes };

/// Once or more often.
enum class Locks { None, Read, Write };

struct Operation {
    /// The exported name without the namespace, followed by the case in brackets.
    std::string name;
    Effect effect;
    Locks locks;
    Shortage shortage;
    /// Allocates nothing except through the library.
    std::function<void(Outputs&)> call;
    /// Runs when both readers and the facade exist.
    void (*prepare)() = nullptr;

    std::string symbol() const { return name.substr(0, name.find(' ')); }
};

const std::vector<Operation>& all();

const queries::Arguments& arguments();
Outputs outputs();

/// All that change nothing. An exception is an answer too.
using Answers = std::map<std::string, std::string>;
Answers answers();
/// Without those that show the directory of the process.
Answers answersFromFiles();

/// "" if there is none.
std::string differences(const Answers& some, const Answers& others);

void createAll();
/// Does what a change event does.
void reloadAll();
void destroyAll();
/// Calls `createAll` first.
void prepare(const Operation& operation);

/// Every operation's answer, except ports, contains `mark`. The process "p1" runs on
/// "node-of-this-process-<mark>". With the mark "standby" that is a standby node, whose source node
/// needs the host's address `kSourceAddress`.
std::string appConfig(const std::string& mark);
std::string nodeList(const std::string& mark);
std::string managerNodeList(const std::string& mark);
inline constexpr const char* kSourceAddress = "192.0.2.77";

void writeFiles(support::Deployment& files, const std::string& mark);

std::vector<std::filesystem::path> paths(const support::Deployment& files);

} // namespace operations
