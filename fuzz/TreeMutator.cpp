// SPDX-License-Identifier: Apache-2.0
// Mutates JSON texts: in half of the cases it replaces, moves, renames, removes or creates values
// of the tree, with the vocabulary of the configuration files; otherwise the fuzzer mutates bytes.

#include "Parts.h"

#include "comparison/RandomLists.h"

#include <JsonReader.h>

#include <json/writer.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

const char* const kNames[] = {"nodeList",
                              "IPAddresses",
                              "IP",
                              "usage",
                              "extAttr",
                              "hostType",
                              "HOSTID",
                              "kind",
                              "databases",
                              "processes",
                              "domain_node_type",
                              "nodeId",
                              "local",
                              "ip",
                              "port",
                              "wss",
                              "assignedToTenancy",
                              "CORBA",
                              "CORBA_SSL",
                              "IR",
                              "accessPort",
                              "instanceExt",
                              "accessHost",
                              "lib",
                              "serviceName",
                              "passwd",
                              "serverName",
                              "type",
                              "user",
                              "db",
                              "p1",
                              "n1",
                              "n2",
                              "n3",
                              "db2",
                              ""};
const char* const kTexts[] = {
    "master",   "standby", "ACCESS_Master", "ACCESS_Backup",    "t1",        "t12",
    "n1",       "n2",      "10.0.0.7",      "fe80::7",          "service",   "service2",
    "10.0.0.1", "",        "maintenance",   "internal_service", "northbound"};

class Mutation {
public:
    Mutation(Json::Value& root, unsigned int seed) : m_random(seed) { collect(root); }

    void apply() {
        Json::Value& place = anyPlace();
        switch (m_random.below(6)) {
        case 0:
            place = madeUp();
            break;
        case 1:
            replace(place, anyPlace());
            break;
        case 2:
            add(place);
            break;
        case 3:
            remove(place);
            break;
        case 4:
            rename(place);
            break;
        default:
            touch(place);
        }
    }

private:
    void collect(Json::Value& value) {
        m_places.push_back(&value);
        for (Json::Value& child : value) {
            collect(child);
        }
    }

    Json::Value& anyPlace() { return *m_places[m_random.below(m_places.size())]; }

    template <typename Choices>
    auto anyOf(const Choices& choices) {
        return choices[m_random.below(std::size(choices))];
    }

    std::string name() { return m_random.oneIn(4) ? m_random.nodeId() : anyOf(kNames); }

    Json::Value number() {
        const Json::Value numbers[] = {0,          1,
                                       -1,         31000,
                                       2147483647, Json::Value::Int64(2147483648),
                                       1.5,        -2147483648.5,
                                       1e300,      Json::Value::maxUInt64};
        return anyOf(numbers);
    }

    Json::Value madeUp() {
        switch (m_random.below(10)) {
        case 0:
            return {};
        case 1:
            return m_random.oneIn(2);
        case 2:
            return number();
        case 3:
            return Json::Value(m_random.oneIn(2) ? Json::arrayValue : Json::objectValue);
        case 4:
            return m_random.addresses();
        case 5:
            return m_random.list();
        case 6:
            return m_random.address();
        case 7:
            return anyOf(kTexts);
        default:
            return m_random.tag();
        }
    }

    /// Copies first, because one value may be inside the other.
    static void replace(Json::Value& place, const Json::Value& other) {
        Json::Value copy = other;
        place.swap(copy);
    }

    void add(Json::Value& place) {
        Json::Value added = m_random.oneIn(2) ? madeUp() : anyPlace();
        if (place.isArray()) {
            place.append(std::move(added));
        } else if (place.isObject()) {
            place[name()] = std::move(added);
        } else {
            Json::Value array(Json::arrayValue);
            array.append(place);
            array.append(std::move(added));
            place = std::move(array);
        }
    }

    void remove(Json::Value& place) {
        if (place.isArray() && !place.empty()) {
            Json::Value removed;
            place.removeIndex(static_cast<Json::ArrayIndex>(m_random.below(place.size())),
                              &removed);
        } else if (place.isObject() && !place.empty()) {
            place.removeMember(anyOf(place.getMemberNames()));
        } else {
            place = Json::Value();
        }
    }

    void rename(Json::Value& place) {
        if (place.isObject() && !place.empty()) {
            Json::Value moved;
            place.removeMember(anyOf(place.getMemberNames()), &moved);
            place[name()] = std::move(moved);
        }
    }

    void touch(Json::Value& place) {
        if (!place.isString()) {
            place = place.isNumeric() ? number() : madeUp();
            return;
        }
        std::string text = place.asString();
        const std::size_t at = m_random.below(text.size() + 1);
        if (m_random.oneIn(2) && at < text.size()) {
            text[at] = static_cast<char>(text[at] ^ 0x20);
        } else {
            text.insert(at, std::to_string(m_random.below(1030)));
        }
        place = text;
    }

    RandomLists m_random;
    std::vector<Json::Value*> m_places;
};

/// Changes a few values of the text. Returns false if it is malformed or becomes too long.
bool mutateTree(std::string& text, std::size_t maxSize, unsigned int seed) {
    Json::Value root;
    if (!JsonReader(false).parse(text, root)) {
        return false;
    }
    for (unsigned int n = 0; n <= seed % 3; ++n) {
        Mutation(root, seed + n).apply();
    }
    std::string mutated = textOf(root);
    if (mutated.size() > maxSize) {
        return false;
    }
    text = std::move(mutated);
    return true;
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    if (seed % 2 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    std::vector<std::string> parts = splitIntoParts({reinterpret_cast<const char*>(data), size});
    std::string& part = parts[seed / 2 % parts.size()];
    if (!mutateTree(part, maxSize - (size - part.size()), seed)) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    const std::string mutated = joinedParts(parts);
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): an input has a size and no end mark
    std::memcpy(data, mutated.data(), mutated.size());
    return mutated.size();
}
