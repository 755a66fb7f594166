#pragma once

#include <json/value.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Quarncommon::rules {

/// A value of a tree, with the questions that a JsonDocument::Node answers. Rules ask a node list
/// through these alone, so that they work on a full tree and on a document of which next to
/// nothing is built.
class JsonTreeNode {
public:
    explicit JsonTreeNode(const Json::Value& value) : m_value(&value) {}

    JsonTreeNode operator[](const std::string& name) const {
        return JsonTreeNode((*m_value)[name]);
    }

    std::vector<std::pair<std::string, JsonTreeNode>> members() const {
        std::vector<std::pair<std::string, JsonTreeNode>> members;
        for (const std::string& name : m_value->getMemberNames()) {
            members.emplace_back(name, (*this)[name]);
        }
        return members;
    }

    const Json::Value& value() const { return *m_value; }

    /// Whole: what a rule does not read does no harm.
    const Json::Value& value(std::initializer_list<std::string_view> /*membersOfElements*/) const {
        return *m_value;
    }

private:
    const Json::Value* m_value;
};

} // namespace Quarncommon::rules
