// SPDX-License-Identifier: Apache-2.0
#include "deployment/NodeFilter.h"

#include "cli/Suggestion.h"
#include "render/Text.h"

#include <rules/NodeList.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <set>
#include <utility>

namespace sysconfctl {
namespace {

using Quarncommon::rules::lowerCased;

using Texts = std::set<std::string>;

Texts tenancyOf(const ClusterNode& node) {
    return {node.listing().tenancy};
}

Texts rolesOf(const ClusterNode& node) {
    return {lowerCased(node.listing().role), lowerCased(node.listing().domainType)};
}

Texts tagsOf(const ClusterNode& node) {
    Texts tags;
    for (const Address& address : node.listing().addresses) {
        tags.insert(address.tags.begin(), address.tags.end());
    }
    return tags;
}

Texts lowerCasedAll(const std::vector<std::string>& texts) {
    Texts lower;
    for (const std::string& text : texts) {
        lower.insert(lowerCased(text));
    }
    return lower;
}

std::size_t countOfShared(const Texts& left, const Texts& right) {
    return static_cast<std::size_t>(std::count_if(
        left.begin(), left.end(), [&](const std::string& text) { return right.contains(text); }));
}

bool accepts(const NodeFilter& filter, const ClusterNode& node) {
    const Texts tenancies(filter.tenancies.begin(), filter.tenancies.end());
    const Texts roles = lowerCasedAll(filter.roles);
    const Texts wanted = lowerCasedAll(filter.tags);
    const Texts tags = tagsOf(node);
    return (tenancies.empty() || countOfShared(tenancies, tenancyOf(node)) > 0) &&
           (roles.empty() || countOfShared(roles, rolesOf(node)) > 0) &&
           countOfShared(wanted, tags) == wanted.size() &&
           countOfShared(lowerCasedAll(filter.missingTags), tags) == 0;
}

void appendUnknown(std::vector<std::string>& sentences, const Cluster& cluster,
                   const std::vector<std::string>& wanted, std::string_view kind, bool lower,
                   Texts (*valuesOf)(const ClusterNode&)) {
    Texts known;
    for (const ClusterNode& node : cluster.nodes) {
        known.merge(valuesOf(node));
    }
    known.erase("");
    const std::vector<std::string_view> candidates(known.begin(), known.end());
    for (const std::string& value : wanted) {
        const std::string compared = lower ? lowerCased(value) : value;
        if (!known.contains(compared) && !compared.empty()) {
            sentences.push_back(fmt::format("no node has the {} {}{}", kind, shellWord(value),
                                            didYouMean(compared, candidates)));
        }
    }
}

bool comesBefore(std::string_view left, std::string_view right) {
    const auto takeNumber = [](std::string_view& text) {
        const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
        std::string_view digits = text.substr(0, end);
        text.remove_prefix(end);
        digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
        return std::pair(digits.size(), digits);
    };
    while (!left.empty() && !right.empty()) {
        const bool digits = std::isdigit(static_cast<unsigned char>(left.front())) != 0 &&
                            std::isdigit(static_cast<unsigned char>(right.front())) != 0;
        if (digits) {
            const auto one = takeNumber(left);
            const auto other = takeNumber(right);
            if (one != other) {
                return one < other;
            }
        } else if (left.front() != right.front()) {
            return left.front() < right.front();
        } else {
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
    }
    return left.size() < right.size();
}

struct SortField {
    std::string_view name;
    const std::string& (*value)(const ClusterNode&);
};

template <std::string Listed::*Field>
const std::string& listed(const ClusterNode& node) {
    return node.listing().*Field;
}

constexpr std::array<SortField, 7> kSortFields = {{
    {"node", [](const ClusterNode& node) -> const std::string& { return node.id; }},
    {"role", listed<&Listed::role>},
    {"tenancy", listed<&Listed::tenancy>},
    {"host-tag", listed<&Listed::hostTag>},
    {"maintenance", listed<&Listed::maintenance>},
    {"service", listed<&Listed::service>},
    {"internal", listed<&Listed::internalService>},
}};

} // namespace

std::vector<std::string> unknownValues(const Cluster& cluster, const NodeFilter& filter) {
    std::vector<std::string> sentences;
    appendUnknown(sentences, cluster, filter.tenancies, "tenancy", false, tenancyOf);
    appendUnknown(sentences, cluster, filter.roles, "role", true, rolesOf);
    appendUnknown(sentences, cluster, filter.tags, "tag", true, tagsOf);
    return sentences;
}

std::vector<std::string> unknownMissingTags(const Cluster& cluster, const NodeFilter& filter) {
    std::vector<std::string> sentences;
    appendUnknown(sentences, cluster, filter.missingTags, "tag", true, tagsOf);
    return sentences;
}

void keepAccepted(Cluster& cluster, const NodeFilter& filter) {
    std::erase_if(cluster.nodes, [&](const ClusterNode& node) { return !accepts(filter, node); });
}

std::vector<std::string_view> sortFields() {
    std::vector<std::string_view> names;
    names.reserve(kSortFields.size());
    for (const SortField& field : kSortFields) {
        names.push_back(field.name);
    }
    return names;
}

void sortNodes(Cluster& cluster, std::string_view field) {
    const auto* const found = std::find_if(kSortFields.begin(), kSortFields.end(),
                                           [&](const SortField& one) { return one.name == field; });
    if (found == kSortFields.end()) {
        return;
    }
    std::stable_sort(cluster.nodes.begin(), cluster.nodes.end(),
                     [&](const ClusterNode& left, const ClusterNode& right) {
                         const std::string& one = found->value(left);
                         const std::string& other = found->value(right);
                         return one.empty() || other.empty() ? !one.empty() && other.empty()
                                                             : comesBefore(one, other);
                     });
}

} // namespace sysconfctl
