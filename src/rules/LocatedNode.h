// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/Trace.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace Quarncommon::rules {

/// A node that knows its path, for a rule that runs again after a value of the wrong type has ended
/// it, to store the path of that value. Unlike a TracedNode it builds no trees and no lists. Nodes
/// share the steps of their path: a copy for each child would take quadratic time for a long id.
class LocatedNode {
    struct Step {
        std::shared_ptr<const Step> parent;
        std::string name;
    };
    using LastStep = std::shared_ptr<const Step>;

    // First, because its return type is deduced.
    template <typename Access>
    auto located(Access access) const {
        try {
            return access();
        } catch (const Json::LogicError&) {
            *m_failure = pathTo(m_step);
            throw;
        }
    }

public:
    LocatedNode(const Node& root, Path& failure) : LocatedNode(root, failure, nullptr) {}

    LocatedNode operator[](const std::string& name) const {
        return at(name, located([&] { return m_node[name]; }));
    }

    auto members() const {
        // By value, here and below: a rule may take the members of a temporary node.
        const auto locate = [self = *this](const auto& member, std::size_t /*index*/) {
            const auto& [name, node] = member;
            return std::pair<std::string, LocatedNode>(name, self.at(name, node));
        };
        return Mapped{located([&] { return m_node.members(); }), locate};
    }

    auto elements() const {
        const auto locate = [self = *this](const Node& node, std::size_t index) {
            return self.at(std::to_string(index), node);
        };
        return Mapped{located([&] { return m_node.elements(); }), locate};
    }

    std::string asString() const {
        return located([&] { return m_node.asString(); });
    }
    int asInt() const {
        return located([&] { return m_node.asInt(); });
    }
    Json::Value value() const { return m_node.value(); }

private:
    template <typename Range, typename Convert>
    class Mapped {
    public:
        class Iterator {
        public:
            auto operator*() const { return m_range->m_convert(*m_at, m_index); }
            Iterator& operator++() {
                ++m_at;
                ++m_index;
                return *this;
            }
            bool operator!=(const Iterator& other) const { return m_at != other.m_at; }

        private:
            friend class Mapped;
            using At = decltype(std::declval<const Range&>().begin());
            Iterator(const Mapped* range, At at) : m_range(range), m_at(std::move(at)) {}

            const Mapped* m_range;
            At m_at;
            std::size_t m_index = 0;
        };

        Mapped(Range range, Convert convert)
            : m_elements(std::move(range)), m_convert(std::move(convert)) {}

        Iterator begin() const { return {this, m_elements.begin()}; }
        Iterator end() const { return {this, m_elements.end()}; }

    private:
        Range m_elements;
        Convert m_convert;
    };

    LocatedNode(const Node& node, Path& failure, LastStep step)
        : m_node(node), m_failure(&failure), m_step(std::move(step)) {}

    LocatedNode at(const std::string& name, const Node& node) const {
        return {node, *m_failure, std::make_shared<const Step>(Step{m_step, name})};
    }

    static Path pathTo(const LastStep& last) {
        Path path;
        for (const Step* step = last.get(); step != nullptr; step = step->parent.get()) {
            path.push_back(step->name);
        }
        std::reverse(path.begin(), path.end());
        return path;
    }

    Node m_node;
    Path* m_failure;
    LastStep m_step; // null at the root
};

template <typename MakeEvent>
void report(const LocatedNode& /*node*/, MakeEvent /*event*/) {}

} // namespace Quarncommon::rules
