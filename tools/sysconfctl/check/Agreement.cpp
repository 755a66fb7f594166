// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "deployment/JsonValues.h"

#include <rules/NodeList.h>

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

/// An earlier finding about one of the places becomes an error and refers to the other place.
void report(Checker& checker, const SourceFile& odd, Path path, const SourceFile& other,
            const Path& otherPath, std::string_view name, const std::string& sentence) {
    // An absent object is reported once, not once for each of its members.
    while (path.size() > 3 && odd.document.find({path.begin(), path.end() - 1}) == nullptr) {
        path.pop_back();
    }
    Finding* finding = checker.cause(odd, path);
    finding = finding != nullptr ? finding : checker.cause(other, otherPath);
    if (finding != nullptr) {
        finding->severity = Severity::Error;
    } else {
        finding = &checker.at(odd, path, Severity::Error, name, sentence,
                              "correct the one that is wrong");
    }
    const bool isThere = finding->file == &odd;
    const SourceFile& related = isThere ? other : odd;
    Checker::relate(*finding, related, isThere ? otherPath : path,
                    fmt::format("the {} differs", related.title));
}

/// In a tie, the value of the manager node list, which is the last, is preferred.
struct Votes {
    const SourceFile* reference = nullptr;
    std::vector<const SourceFile*> odd;
};

template <typename Value>
Votes votes(const std::vector<const SourceFile*>& lists, const std::vector<Value>& values) {
    std::size_t best = 0;
    std::size_t reference = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto same = static_cast<std::size_t>(
            std::count_if(values.begin(), values.end(),
                          [&](const Value& value) { return *value == *values[i]; }));
        if (same >= best) {
            best = same;
            reference = i;
        }
    }
    Votes result{lists[reference], {}};
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (*values[i] != *values[reference]) {
            result.odd.push_back(lists[i]);
        }
    }
    return result;
}

class Agreement {
public:
    Agreement(Checker& checker, const ListGroup& group) : m_checker(checker), m_group(group) {
        for (const SourceFile* list : group.lists()) {
            const Json::Value& nodes = nodesOf(*list);
            for (auto node = nodes.begin(); node != nodes.end(); ++node) {
                m_lists[node.name()].push_back(list);
                if (node->isObject()) {
                    ++m_tenancies[textAt(*node, {"assignedToTenancy"})];
                }
            }
        }
        for (const View& view : checker.inventory.views) {
            if (view.appConfig != nullptr && view.appConfig->loads) {
                collectProcessAddresses(valueAt(view.appConfig->tree(), {"processes"}));
            }
        }
    }

    void run() {
        for (const auto& [id, lists] : m_lists) {
            const SourceFile* const manager = m_group.managerNodeList;
            if (manager != nullptr && lists.back() != manager) {
                checkUnknownToManager(id, *lists.front());
            } else if (lists.size() > 1) {
                checkNode(id, lists);
            }
        }
    }

private:
    void collectProcessAddresses(const Json::Value& processes) {
        for (const Json::Value& process : processes) {
            for (const char* group : {"IR", "wss"}) {
                m_processAddresses.insert(textAt(process, {group, "ip"}));
            }
        }
    }

    void checkUnknownToManager(const std::string& id, const SourceFile& list) {
        const SourceFile& manager = *m_group.managerNodeList;
        const Path path = {"nodeList", id};
        if (nodesOf(manager).empty()) {
            return;
        }
        const std::string near = sameNode(id, list);
        const bool isOwn = ownNodes(m_checker.inventory, list).contains(id);
        if (!near.empty() && isOwn) {
            named(manager, {"nodeList", near}, list, path,
                  fmt::format("node \"{}\" of the manager node list is \"{}\" in the node list",
                              near, id));
        } else if (!near.empty()) {
            named(list, path, manager, {"nodeList", near},
                  fmt::format("node \"{}\" is \"{}\" in the manager node list", id, near));
        } else if (m_checker.cause(list, path) == nullptr) {
            Finding& finding = m_checker.at(
                manager, path, Severity::Error, "not-in-manager-list",
                fmt::format("node \"{}\" of the node list is not in the manager node list", id),
                "add it, or remove it from the node list");
            m_checker.explains(finding, list, path);
            finding.consequences.emplace_back(
                "it is neither master nor standby of its tenancy, and queries over all nodes lack "
                "it");
            Checker::relate(finding, list, path, "the node");
        }
    }

    void named(const SourceFile& odd, const Path& path, const SourceFile& other,
               const Path& otherPath, const std::string& sentence) {
        Finding& finding = m_checker.member(odd, path, Severity::Error, "not-in-manager-list",
                                            sentence, "write the same id in both lists");
        Checker::relate(finding, other, otherPath, "the other id");
        m_checker.explains(finding, other, otherPath);
        m_checker.explains(finding, odd, otherPath);
    }

    /// A node that is in no other list and shares an address with it; "" if there is none.
    std::string sameNode(const std::string& id, const SourceFile& list) {
        const SourceFile& manager = *m_group.managerNodeList;
        if (!m_onlyManager) {
            m_onlyManager.emplace();
            for (const auto& [other, lists] : m_lists) {
                if (lists.size() == 1 && lists.front() == &manager) {
                    for (const Entry& entry : entriesOf(manager, other)) {
                        m_onlyManager->emplace(entry.address, other);
                    }
                }
            }
        }
        for (const Entry& entry : entriesOf(list, id)) {
            const auto found = m_onlyManager->find(entry.address);
            if (found != m_onlyManager->end() && !entry.address.empty()) {
                return found->second;
            }
        }
        return {};
    }

    void checkNode(const std::string& id, const std::vector<const SourceFile*>& lists) {
        for (const Path& rest : {Path{"assignedToTenancy"}, Path{"extAttr", "hostType"},
                                 Path{"extAttr", "domain_node_type"}, Path{"extAttr", "HOSTID"}}) {
            checkText(id, lists, rest);
        }
        std::vector<const Json::Value*> values;
        values.reserve(lists.size());
        for (const SourceFile* list : lists) {
            values.push_back(&valueAt(nodesOf(*list)[id], {"IPAddresses"}));
        }
        const Votes result = votes(lists, values);
        for (const SourceFile* odd : result.odd) {
            checkAddresses(id, *odd, *result.reference);
        }
    }

    void checkText(const std::string& id, const std::vector<const SourceFile*>& lists,
                   const Path& rest) {
        std::vector<std::string> texts;
        texts.reserve(lists.size());
        for (const SourceFile* list : lists) {
            texts.push_back(textAt(nodesOf(*list)[id], rest));
        }
        if (std::equal(texts.begin() + 1, texts.end(), texts.begin())) {
            return;
        }
        std::vector<const std::string*> values;
        values.reserve(texts.size());
        for (const std::string& text : texts) {
            values.push_back(&text);
        }
        Votes result = votes(lists, values);
        const bool tenancy = rest.front() == "assignedToTenancy";
        // If there are only two lists, the list with the rarer tenancy is wrong.
        if (lists.size() == 2 &&
            (tenancy ? m_tenancies[texts[0]] > m_tenancies[texts[1]] : texts[1].empty())) {
            result = {lists[0], {lists[1]}};
        }
        const Path path = with({"nodeList", id}, rest);
        for (const SourceFile* odd : result.odd) {
            const std::string here = textAt(odd->tree(), path);
            const std::string there = textAt(result.reference->tree(), path);
            report(m_checker, *odd, path, *result.reference, path,
                   tenancy ? "tenancy-mismatch" : "list-mismatch",
                   fmt::format("\"{}\" of node \"{}\" is \"{}\" in the {}, but \"{}\" in the {}",
                               rest.back(), id, here, odd->title, there, result.reference->title));
        }
    }

    struct Entry {
        std::string address;
        std::vector<std::string> tags;
        Path path;
    };

    static std::vector<Entry> entriesOf(const SourceFile& list, const std::string& id) {
        std::vector<Entry> entries;
        const Path path = {"nodeList", id, "IPAddresses"};
        const Json::Value& values = valueAt(list.tree(), path);
        for (Json::ArrayIndex i = 0; values.isArray() && i < values.size(); ++i) {
            Entry entry{textAt(values[i], {"IP"}), {}, with(path, {std::to_string(i)})};
            const Path tags = {"usage"};
            const Json::Value& usage = valueAt(values[i], tags);
            for (Json::ArrayIndex j = 0; usage.isArray() && j < usage.size(); ++j) {
                entry.tags.push_back(usage[j].isString() ? rules::lowerCased(usage[j].asString())
                                                         : "");
            }
            entries.push_back(std::move(entry));
        }
        return entries;
    }

    using Same = std::function<bool(const Entry&, const Entry&)>;

    static std::vector<std::pair<Entry, Entry>>
    takePairs(std::vector<Entry>& left, std::vector<Entry>& right, const Same& same) {
        std::vector<std::pair<Entry, Entry>> pairs;
        std::erase_if(left, [&](const Entry& one) {
            const auto other = std::find_if(right.begin(), right.end(),
                                            [&](const Entry& each) { return same(one, each); });
            if (other == right.end()) {
                return false;
            }
            pairs.emplace_back(one, *other);
            right.erase(other);
            return true;
        });
        return pairs;
    }

    void checkAddresses(const std::string& id, const SourceFile& odd, const SourceFile& reference) {
        std::vector<Entry> left = entriesOf(odd, id);
        std::vector<Entry> right = entriesOf(reference, id);
        const auto equal = [](const Entry& one, const Entry& other) {
            return one.address == other.address && one.tags == other.tags;
        };
        // Most entries are equal and in the same order.
        const auto [leftEnd, rightEnd] =
            std::mismatch(left.begin(), left.end(), right.begin(), right.end(), equal);
        left.erase(left.begin(), leftEnd);
        right.erase(right.begin(), rightEnd);
        while (!left.empty() && !right.empty() && equal(left.back(), right.back())) {
            left.pop_back();
            right.pop_back();
        }
        takePairs(left, right, equal);
        for (const auto& [one, other] :
             takePairs(left, right, [](const Entry&each, const Entry&counterpart) {
                 return each.address == counterpart.address && !each.address.empty();
             })) {
            reportTags(id, odd, one, reference, other);
        }
        for (const auto& [one, other] :
             takePairs(left, right, [](const Entry&each, const Entry&counterpart) {
                 return each.tags == counterpart.tags;
             })) {
            reportAddress(id, odd, one, reference, other);
        }
        reportMissing(id, reference, left, odd);
        reportMissing(id, odd, right, reference);
    }

    void reportTags(const std::string& id, const SourceFile& odd, const Entry& one,
                    const SourceFile& reference, const Entry& other) {
        const auto shared =
            std::mismatch(one.tags.begin(), one.tags.end(), other.tags.begin(), other.tags.end());
        const auto place = [](const Entry& entry, std::vector<std::string>::const_iterator tag) {
            const Path usage = with(entry.path, {"usage"});
            return tag == entry.tags.end()
                       ? usage
                       : with(usage, {std::to_string(tag - entry.tags.begin())});
        };
        const SourceFile* wrong = &odd;
        Path wrongPath = place(one, shared.first);
        const SourceFile* right = &reference;
        Path rightPath = place(other, shared.second);
        if (one.tags.size() > other.tags.size()) { // the other entry lacks a tag
            std::swap(wrong, right);
            std::swap(wrongPath, rightPath);
        }
        report(m_checker, *wrong, wrongPath, *right, rightPath, "list-mismatch",
               fmt::format("the address {} of node \"{}\" has other tags in the {} than in the {}",
                           one.address, id, wrong->title, right->title));
    }

    void reportAddress(const std::string& id, const SourceFile& odd, const Entry& one,
                       const SourceFile& reference, const Entry& other) {
        // An address that is configured for a process is taken as the correct one.
        const bool swap =
            m_processAddresses.contains(one.address) && !m_processAddresses.contains(other.address);
        const SourceFile& wrong = swap ? reference : odd;
        const SourceFile& right = swap ? odd : reference;
        const Entry& here = swap ? other : one;
        const Entry& there = swap ? one : other;
        const std::string tag =
            here.tags.empty() ? "an address" : fmt::format("the \"{}\" address", here.tags.front());
        const auto shown = [](const Entry& entry) {
            return entry.address.empty() ? std::string("empty") : entry.address;
        };
        report(m_checker, wrong, with(here.path, {"IP"}), right, with(there.path, {"IP"}),
               "list-mismatch",
               fmt::format("{} of node \"{}\" is {} in the {}, but {} in the {}", tag, id,
                           shown(here), wrong.title, shown(there), right.title));
    }

    void reportMissing(const std::string& id, const SourceFile& incomplete,
                       const std::vector<Entry>& entries, const SourceFile& list) {
        const Path place = {"nodeList", id, "IPAddresses"};
        for (const Entry& entry : entries) {
            report(m_checker, incomplete, place, list, entry.path, "list-mismatch",
                   fmt::format("the address {} of node \"{}\" is missing in the {}", entry.address,
                               id, incomplete.title));
        }
    }

    Checker& m_checker;
    const ListGroup& m_group;
    std::map<std::string, std::vector<const SourceFile*>> m_lists;
    std::map<std::string, std::size_t> m_tenancies;
    std::set<std::string> m_processAddresses;
    /// The nodes that only the manager node list has, by address.
    std::optional<std::map<std::string, std::string>> m_onlyManager;
};

} // namespace

void checkAgreement(Checker& checker, const ListGroup& group) {
    Agreement(checker, group).run();
}

} // namespace sysconfctl
