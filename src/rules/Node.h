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

/// A value as rules see it: a place in a text or in a tree, whichever was read.
using Node = JsonDocument::Node;

#else

/// A value as rules see it: a place in a tree, with the questions that JsonDocument::Node answers
/// where the platform's JSON library has it. The tree must outlive the node.
class Node {
public:
    Node(const Json::Value& value) : m_value(&value) {} // NOLINT(google-explicit-constructor)

    /// The member of that name, null when absent.
    Node operator[](const std::string& name) const { return (*m_value)[name]; }

    /// The members in ascending order of their names.
    std::vector<std::pair<std::string, Node>> members() const {
        std::vector<std::pair<std::string, Node>> members;
        for (const std::string& name : m_value->getMemberNames()) {
            members.emplace_back(name, (*m_value)[name]);
        }
        return members;
    }

    /// What the indexes below size() lead to; an object has a size, too, but no indexes, and
    /// throws.
    std::vector<Node> elements() const {
        std::vector<Node> elements;
        // NOLINTNEXTLINE(modernize-loop-convert): an object's members would be walked, too
        for (Json::ArrayIndex i = 0; i < m_value->size(); ++i) {
            elements.emplace_back((*m_value)[i]);
        }
        return elements;
    }

    /// What an iteration comes by, an object's members included.
    std::vector<Node> children() const { return {m_value->begin(), m_value->end()}; }

    std::string asString() const { return m_value->asString(); }
    Json::Value value() const { return *m_value; }

private:
    const Json::Value* m_value;
};

#endif

} // namespace Quarncommon::rules
