// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#ifdef SYSCONFREADER_WITH_DOCUMENT
#include <JsonDocument.h>
#endif

#include <string>
#include <utility>
#include <vector>

namespace Quarncommon::rules {

#ifdef SYSCONFREADER_WITH_DOCUMENT

/// A JSON value, in a text or in a tree.
using Node = JsonDocument::Node;

#else

/// The JSON library has no JsonDocument: a value in a tree that must outlive the node.
class Node {
public:
    Node(const Json::Value& value) : m_value(&value) {} // NOLINT(google-explicit-constructor)

    Node operator[](const std::string& name) const { return (*m_value)[name]; }

    std::vector<std::pair<std::string, Node>> members() const {
        std::vector<std::pair<std::string, Node>> members;
        for (const std::string& name : m_value->getMemberNames()) {
            members.emplace_back(name, (*m_value)[name]);
        }
        return members;
    }

    /// Throws for an object with members, which has no indexes.
    std::vector<Node> elements() const {
        std::vector<Node> elements;
        // NOLINTNEXTLINE(modernize-loop-convert): that would visit an object's members
        for (Json::ArrayIndex i = 0; i < m_value->size(); ++i) {
            elements.emplace_back((*m_value)[i]);
        }
        return elements;
    }

    std::vector<Node> children() const { return {m_value->begin(), m_value->end()}; }

    std::string asString() const { return m_value->asString(); }
    int asInt() const { return m_value->asInt(); }
    Json::Value value() const { return *m_value; }

private:
    const Json::Value* m_value;
};

#endif

} // namespace Quarncommon::rules
