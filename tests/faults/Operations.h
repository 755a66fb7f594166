#pragma once

#include <json/value.h>

#include <filesystem>
#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace support {
class Deployment;
}

/// Every public operation of the library in one table, for what all of them promise alike whatever
/// goes wrong around them.
namespace faults {

/// Everything that a call gives back, whatever its form.
struct Outputs {
    Outputs();

    int number = 0;
    std::string text;
    std::string text2;
    std::list<std::string> list;
    std::map<int, std::string> byNumber;
    std::map<std::string, std::string> byName;
    std::map<std::string, std::set<std::string>> sets;
    Json::Value tree;
    std::map<std::string, Json::Value> trees;
    /// An argument that is taken by value: the copy is the caller's own, so it is made before.
    std::set<std::string> tags;

    /// All of it in one text.
    std::string told() const;
};

/// What an operation does to the instances.
enum class Effect { Answers, Changes };

/// What may come out of it when memory runs out: nothing at all, or std::bad_alloc.
enum class Shortage { NeverThrows, MayThrow };

struct Operation {
    /// As the library exports it, without the namespace.
    const char* symbol;
    Effect effect;
    Shortage shortage;
    /// Takes no memory that the library does not take.
    void (*call)(Outputs&);
    /// What is done before, with both readers and the facade existing; null for nothing.
    void (*prepare)() = nullptr;
};

const std::vector<Operation>& operations();

/// All answers of the operations that change nothing, by symbol; what is thrown counts as one.
using Answers = std::map<std::string, std::string>;
Answers answers();

/// Those in which the two differ, both told; "" when there are none.
std::string differences(const Answers& some, const Answers& others);

/// Creates what does not exist.
void createAll();
/// What a change event does.
void reloadAll();
void destroyAll();

/// Texts of files to which every operation has an answer with `mark` in it (ports apart). They
/// are of the process "p1" on "node-of-this-process-<mark>", which is a standby node while the host
/// has the address of `kSourceAddress` and the mark is "standby".
std::string appConfig(const std::string& mark);
std::string nodeList(const std::string& mark);
std::string managerNodeList(const std::string& mark);
inline constexpr const char* kSourceAddress = "192.0.2.77";

/// Writes all three.
void writeFiles(support::Deployment& files, const std::string& mark);

/// The paths of the three files of a deployment.
std::vector<std::filesystem::path> paths(const support::Deployment& files);

} // namespace faults
