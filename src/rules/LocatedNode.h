// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/Trace.h"

#include <cstddef>
#include <string>
#include <utility>

namespace Quarncommon::rules {

/// A node that knows its path, for a rule that runs again after a value of the wrong type has ended
/// it, to store the path of that value. Unlike a TracedNode it builds no trees and no lists.
class LocatedNode {
    // First, because its return type is deduced.
    template <typename Access>
    auto located(Access access) const {
        try {
            return access();
        } catch (const Json::LogicError&) {
            *m_failure = m_path;
            throw;
        }
    }

public:
    LocatedNode(const Node& node, Path& failure, Path path = {})
        : m_node(node), m_failure(&failure), m_path(std::move(path)) {}

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

    LocatedNode at(const std::string& step, const Node& node) const {
        Path path = m_path;
        path.push_back(step);
        return {node, *m_failure, std::move(path)};
    }

    Node m_node;
    Path* m_failure;
    Path m_path;
};

template <typename MakeEvent>
void report(const LocatedNode& /*node*/, MakeEvent /*event*/) {}

} // namespace Quarncommon::rules
