// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/Node.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// Reports of what a rule reads and decides (docs/decisions/0008-rules-that-report.md).
namespace Quarncommon::rules {

/// From the root inwards: names of members and decimal indexes, the steps of a JSON pointer.
using Path = std::vector<std::string>;

/// A scalar was read; an absent one reads as null.
struct ValueRead {
    Path path;
    std::string text;
};

struct NodeLookup {
    Path path;
    bool found = false;
};

struct EntryVisited {
    Path path;
};

/// A tag was compared with the wanted ones; `tag` is lower-cased.
struct TagCompared {
    Path path;
    std::string tag;
};

/// A value was taken for a slot of the answer. It overrides the value that the slot had.
struct SlotFilled {
    std::string slot;
    Path path;
    std::string value;
};

/// A value was not taken for a slot, which keeps its value.
struct SlotKept {
    std::string slot;
    Path path;
};

struct SlotNotNeeded {
    std::string slot;
};

/// A slot's place in the text that is the answer, from 1 on.
struct SlotPlaced {
    std::size_t position = 0;
    std::string slot;
    std::string value;
};

/// The wanted slots are empty; others are the answer.
struct FallbackUsed {
    enum class To { Service, Maintenance } to = To::Service;
    std::string value;
};

/// An address was added to an answer that has no slots.
struct Collected {
    Path path;
    std::string value;
};

struct NodeFinished {
    Path path;
};

struct Skipped {
    enum class Why {
        Standby,
        OtherTenancy,
        OtherRole,
        OtherField,
        NoAddress,
        AlreadyInAnswer
    } why = Why::Standby;
    Path path;
};

/// A role was decided from two texts; "" if they name none.
struct RoleCompared {
    Path path;
    std::string hostType;
    std::string domainType;
    std::string role;
};

/// A node's service address was looked for among the host's addresses.
struct SourceCompared {
    std::string nodeId;
    std::string address;
    bool carried = false;
};

struct TypeMismatch {
    enum class Expected { Object, Array, Text, Int } expected = Expected::Object;
    Path path;
    Json::ValueType found = Json::nullValue;
};

using TraceEvent = std::variant<ValueRead, NodeLookup, EntryVisited, TagCompared, SlotFilled,
                                SlotKept, SlotNotNeeded, SlotPlaced, FallbackUsed, Collected,
                                NodeFinished, Skipped, RoleCompared, SourceCompared, TypeMismatch>;

inline std::string slotName(const std::string& tag) {
    return tag;
}
inline std::string slotName(int number) {
    return std::to_string(number);
}

class Trace {
public:
    Trace() = default;
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;
    virtual ~Trace() = default;

    virtual void report(const TraceEvent& event) = 0;

    /// Whether the rule continues after a value of the wrong type, which then reads as null. By
    /// default it throws, as without a trace.
    virtual bool resumesAfter(const TypeMismatch& /*mismatch*/) { return false; }
};

class TracedNode {
public:
    TracedNode(const Node& node, Trace& trace, Path path = {})
        : m_node(node), m_trace(&trace), m_path(std::move(path)) {}

    const Path& path() const { return m_path; }
    Trace& trace() const { return *m_trace; }

    TracedNode operator[](const std::string& name) const {
        return at(name, tried<Node>(TypeMismatch::Expected::Object, null(),
                                    [&] { return m_node[name]; }));
    }

    std::vector<std::pair<std::string, TracedNode>> members() const {
        std::vector<std::pair<std::string, TracedNode>> traced;
        using Members = std::vector<std::pair<std::string, Node>>;
        for (const auto& [name, member] :
             tried<Members>(TypeMismatch::Expected::Object, {}, [&] { return m_node.members(); })) {
            traced.emplace_back(name, at(name, member));
        }
        return traced;
    }

    std::vector<TracedNode> elements() const {
        return byIndex(tried<std::vector<Node>>(TypeMismatch::Expected::Array, {},
                                                [&] { return listOf(m_node.elements()); }));
    }

    std::vector<TracedNode> children() const {
        std::optional<std::vector<Node>> elements;
        try {
            elements = listOf(m_node.elements());
        } catch (const Json::Exception&) {
            elements.reset(); // an object with members
        }
        if (elements) {
            return byIndex(*elements);
        }
        std::vector<TracedNode> traced;
        for (const auto& [name, member] : m_node.members()) {
            traced.push_back(at(name, member));
        }
        return traced;
    }

    std::string asString() const {
        auto text =
            tried<std::string>(TypeMismatch::Expected::Text, {}, [&] { return m_node.asString(); });
        m_trace->report(ValueRead{m_path, text});
        return text;
    }

    int asInt() const {
        const int number =
            tried<int>(TypeMismatch::Expected::Int, 0, [&] { return m_node.asInt(); });
        m_trace->report(ValueRead{m_path, std::to_string(number)});
        return number;
    }

    Json::Value value() const { return m_node.value(); }

private:
    template <typename Range>
    static std::vector<Node> listOf(const Range& range) {
        std::vector<Node> nodes;
        for (const Node& node : range) {
            nodes.push_back(node);
        }
        return nodes;
    }

    static Node null() { return Json::Value::nullSingleton(); }

    TracedNode at(const std::string& step, const Node& node) const {
        Path path = m_path;
        path.push_back(step);
        return {node, *m_trace, std::move(path)};
    }

    std::vector<TracedNode> byIndex(const std::vector<Node>& nodes) const {
        std::vector<TracedNode> traced;
        traced.reserve(nodes.size());
        for (const Node& node : nodes) {
            traced.push_back(at(std::to_string(traced.size()), node));
        }
        return traced;
    }

    template <typename Result, typename Read>
    Result tried(TypeMismatch::Expected expected, Result instead, Read read) const {
        try {
            return read();
        } catch (const Json::Exception&) {
            const TypeMismatch mismatch{expected, m_path, m_node.value().type()};
            m_trace->report(mismatch);
            if (!m_trace->resumesAfter(mismatch)) {
                throw;
            }
            return instead;
        }
    }

    Node m_node;
    Trace* m_trace;
    Path m_path;
};

/// Reports `event(path)` to the trace of a traced node; nothing happens for any other.
template <typename MakeEvent>
void report(const Node& /*node*/, MakeEvent /*event*/) {}
template <typename MakeEvent>
void report(const TracedNode& node, MakeEvent event) {
    node.trace().report(event(node.path()));
}

template <typename AnyNode>
void reportSkipped(const AnyNode& node, Skipped::Why why) {
    report(node, [&](const Path& path) { return Skipped{why, path}; });
}

} // namespace Quarncommon::rules
