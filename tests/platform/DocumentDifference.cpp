// SPDX-License-Identifier: Apache-2.0
#include "DocumentDifference.h"

#include "JsonDocument.h"
#include "JsonReader.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace {

using Node = JsonDocument::Node;

/// Nothing if the question throws.
template <typename Question>
auto answer(Question question) -> std::optional<decltype(question())> {
    try {
        return question();
    } catch (const Json::Exception&) {
        return std::nullopt;
    }
}

std::vector<Node> listed(const Node::Range& range) {
    return {range.begin(), range.end()};
}

/// Compares also the types, and all bits of a double.
bool same(const Json::Value& one, const Json::Value& other) {
    if (one.type() != other.type()) {
        return false;
    }
    if (one.isDouble() && one.type() == Json::realValue) {
        const double numbers[] = {one.asDouble(), other.asDouble()};
        return std::memcmp(&numbers[0], &numbers[1], sizeof(double)) == 0;
    }
    return one == other;
}

class Comparison {
public:
    std::string compare(const Json::Value& tree, const Node& node) {
        check("value", sameValue(tree, node));
        check("asString",
              answer([&] { return tree.asString(); }) == answer([&] { return node.asString(); }));
        check("asInt",
              answer([&] { return tree.asInt(); }) == answer([&] { return node.asInt(); }));
        const auto absent = answer([&] { return tree["\x01 absent"].type(); });
        check("absent member",
              absent == answer([&] { return node["\x01 absent"].value().type(); }));
        compareMembers(tree, node);
        compareElements(tree, node);
        compareChildren(tree, node);
        return m_difference;
    }

private:
    void check(const std::string& what, bool equal) {
        if (!equal && m_difference.empty()) {
            m_difference = what + " differs at " + (m_path.empty() ? "the root" : m_path);
        }
    }

    /// Far from the root, arrays and objects are compared by what is in them only: comparing the
    /// whole value at each level would take quadratic time.
    bool sameValue(const Json::Value& tree, const Node& node) const {
        constexpr std::size_t kFar = 100;
        const bool isContainer =
            tree.type() == Json::arrayValue || tree.type() == Json::objectValue;
        return (isContainer && m_path.size() > kFar) || same(tree, node.value());
    }

    void descend(const std::string& step, const Json::Value& tree, const Node& node) {
        if (!m_difference.empty()) {
            return;
        }
        const std::size_t length = m_path.size();
        m_path += "/" + step;
        compare(tree, node);
        m_path.resize(length);
    }

    void compareMembers(const Json::Value& tree, const Node& node) {
        const auto names = answer([&] { return tree.getMemberNames(); });
        const auto members = answer([&] { return node.members(); });
        check("throwing of members", names.has_value() == members.has_value());
        if (!names || !members) {
            return;
        }
        check("number of members", names->size() == members->size());
        for (std::size_t i = 0; i < names->size() && m_difference.empty(); ++i) {
            const std::string& name = (*names)[i];
            const auto& [ownName, member] = (*members)[i];
            check("name of member " + name, name == ownName);
            check("member " + name, sameValue(tree[name], node[name]));
            descend(name, tree[name], member);
        }
    }

    void compareElements(const Json::Value& tree, const Node& node) {
        const auto indexed = answer([&] {
            std::vector<Node> elements;
            for (Json::ArrayIndex i = 0; i < tree.size(); ++i) {
                elements.emplace_back(tree[i]);
            }
            return elements;
        });
        const auto elements = answer([&] { return listed(node.elements()); });
        check("throwing of elements", indexed.has_value() == elements.has_value());
        if (!indexed || !elements) {
            return;
        }
        check("number of elements", indexed->size() == elements->size());
        for (std::size_t i = 0; i < elements->size() && m_difference.empty(); ++i) {
            descend(std::to_string(i), tree[static_cast<Json::ArrayIndex>(i)], (*elements)[i]);
        }
    }

    void compareChildren(const Json::Value& tree, const Node& node) {
        const std::vector<Node> children = listed(node.children());
        std::size_t index = 0;
        for (const Json::Value& child : tree) {
            if (index < children.size()) {
                check("child", sameValue(child, children[index]));
            }
            ++index;
        }
        check("number of children", index == children.size());
    }

    std::string m_path;
    std::string m_difference;
};

} // namespace

std::string documentDifference(std::string_view text) {
    Json::Value tree;
    const bool accepted = JsonReader(false).parse(std::string(text), tree);
    std::string padded(text);
    // Closing brackets after the text would change the result if they were read.
    padded.append(JsonDocument::kPadding, ']');
    JsonDocument document;
    if (document.read(padded.data(), text.size()) != accepted) {
        return accepted ? "refused by the document only" : "accepted by the document only";
    }
    if (std::string difference = Comparison().compare(tree, document.root());
        !difference.empty() || !accepted) {
        return difference;
    }
    JsonDocument packed;
    if (!packed.pack(document, padded.data(), text.size(), SIZE_MAX)) {
        return "not packed";
    }
    const std::string difference = Comparison().compare(tree, packed.root());
    return difference.empty() ? "" : "packed: " + difference;
}
