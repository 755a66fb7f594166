// SPDX-License-Identifier: Apache-2.0
#include "who/Appearances.h"

#include "cli/Address.h"
#include "cli/Suggestion.h"
#include "deployment/Cluster.h"
#include "deployment/JsonValues.h"
#include "explain/ExplanationBuilder.h"
#include "render/Masking.h"
#include "render/Text.h"

#include <rules/LocalIPByUsage.h>

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

/// Addresses are the same in every notation, tags in every letter case.
class Word {
public:
    explicit Word(std::string text)
        : m_text(std::move(text)), m_address(canonicalAddress(m_text)),
          m_tag(rules::lowerCased(m_text)) {}

    bool is(const std::string& text) const {
        return text == m_text || (m_address && canonicalAddress(text) == m_address);
    }
    bool isTag(const std::string& tag) const { return rules::lowerCased(tag) == m_tag; }

    bool isIn(const std::string& text) const {
        std::size_t begin = 0;
        while (begin <= text.size()) {
            const std::size_t end = std::min(text.find(';', begin), text.size());
            if (end > begin && is(text.substr(begin, end - begin))) {
                return true;
            }
            begin = end + 1;
        }
        return is(text);
    }

private:
    std::string m_text;
    std::optional<std::string> m_address;
    std::string m_tag;
};

/// Each name and value in the file is a candidate for a near match.
class Search {
public:
    Search(const Word& word, const SourceFile& file, const Cluster& cluster,
           std::vector<Appearance>& found, std::set<std::string>& names)
        : m_word(word), m_file(file), m_cluster(cluster), m_found(found), m_names(names) {}

    void run() { visit(m_file.tree()); }

private:
    void visit(const Json::Value& value) {
        if (value.isObject()) {
            for (auto member = value.begin(); member != value.end(); ++member) {
                if (!indicatesPassword(member.name())) {
                    m_path.push_back(member.name());
                    visitMember(*member);
                    m_path.pop_back();
                }
            }
        } else if (value.isArray()) {
            for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
                m_path.push_back(std::to_string(i));
                visit(value[i]);
                m_path.pop_back();
            }
        } else if (value.isString() && m_word.is(value.asString())) {
            add({.kind = "value", .sentence = valueName(m_path)});
        }
    }

    void visitMember(const Json::Value& value) {
        const bool owner = m_path.size() == 2;
        if (owner &&
            (m_path[0] == "nodeList" || m_path[0] == "processes" || m_path[0] == "databases")) {
            m_names.insert(m_path[1]);
            addOwner();
        }
        if (m_path.size() == 3 && m_path[0] == "nodeList" && m_path[2] == "IPAddresses" &&
            value.isArray()) {
            visitEntries(value);
        } else {
            visit(value);
        }
    }

    void addOwner() {
        if (!m_word.is(m_path[1])) {
            return;
        }
        if (m_path[0] == "nodeList") {
            const ClusterNode* const node = m_cluster.node(m_path[1]);
            const std::string marks = node != nullptr ? joined(node->marks(), ", ") : "";
            add({.kind = "node",
                 .sentence = fmt::format("the entry of {} in the {}{}", named(m_path[1]),
                                         m_file.title, marks.empty() ? "" : ": " + marks),
                 .node = m_path[1]});
        } else if (m_path[0] == "processes") {
            add({.kind = "process", .sentence = "the entry of process " + named(m_path[1])});
        } else {
            add({.kind = "database", .sentence = "database " + named(m_path[1])});
        }
    }

    void visitEntries(const Json::Value& entries) {
        for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
            m_path.push_back(std::to_string(i));
            if (entries[i].isObject()) {
                visitEntry(entries[i]);
            } else {
                visit(entries[i]);
            }
            m_path.pop_back();
        }
    }

    void visitEntry(const Json::Value& entry) {
        const Address address = addressOf(entry);
        m_names.insert(address.ip);
        m_names.insert(address.tags.begin(), address.tags.end());
        const bool tagged = std::any_of(address.tags.begin(), address.tags.end(),
                                        [&](const std::string& tag) { return m_word.isTag(tag); });
        if (tagged || m_word.is(address.ip)) {
            add({.kind = "entry",
                 .sentence = fmt::format("{}: {} [{}]", valueName(m_path),
                                         address.ip.empty() ? "no address" : address.ip,
                                         joined(address.tags, ", ")),
                 .node = m_path[1],
                 .entry = m_path.back(),
                 .address = address.ip,
                 .tags = address.tags});
        }
        for (auto member = entry.begin(); member != entry.end(); ++member) {
            if (member.name() != "IP" && member.name() != "usage" &&
                !indicatesPassword(member.name())) {
                m_path.push_back(member.name());
                visit(*member);
                m_path.pop_back();
            }
        }
    }

    void add(Appearance appearance) {
        const Step step{.kind = "value",
                        .outcome = "read",
                        .sentence = appearance.sentence,
                        .at = Spot{&m_file, m_path}};
        appearance.place = reasonPlaceOf(step);
        m_found.push_back(std::move(appearance));
    }

    const Word& m_word;
    const SourceFile& m_file;
    const Cluster& m_cluster;
    std::vector<Appearance>& m_found;
    std::set<std::string>& m_names;
    located::Path m_path;
};

bool contains(const Json::Value& value, const Word& word) {
    if (value.isObject()) {
        return std::any_of(value.begin(), value.end(),
                           [&](const Json::Value& member) { return contains(member, word); }) ||
               [&] {
                   const std::vector<std::string> names = value.getMemberNames();
                   return std::any_of(names.begin(), names.end(),
                                      [&](const std::string& name) { return word.is(name); });
               }();
    }
    if (value.isArray()) {
        return std::any_of(value.begin(), value.end(),
                           [&](const Json::Value& element) { return contains(element, word); });
    }
    return value.isString() && word.is(value.asString());
}

bool contains(const Answer& answer, const Word& word) {
    const auto anyIs = [&](const List& list) {
        return std::any_of(list.begin(), list.end(),
                           [&](const std::string& text) { return word.is(text); });
    };
    return std::visit(Overloaded{
                          [&](const std::string& text) { return word.isIn(text); },
                          [&](const List& list) { return anyIs(list); },
                          [&](const Map& map) {
                              return std::any_of(map.begin(), map.end(), [&](const auto& pair) {
                                  return word.is(pair.first) || word.is(pair.second);
                              });
                          },
                          [&](const Groups& groups) {
                              return std::any_of(
                                  groups.begin(), groups.end(), [&](const auto& group) {
                                      return word.is(group.first) || anyIs(group.second);
                                  });
                          },
                          [&](const Json::Value& value) { return contains(value, word); },
                          [](const auto& /*noneOrNumber*/) { return false; },
                      },
                      answer.value);
}

std::string partOf(const Answer& answer, const Word& word) {
    std::vector<std::string> parts;
    const auto add = [&](const std::string& key, const std::string& text) {
        if (word.is(key) || word.is(text)) {
            parts.push_back(escaped(key) + ' ' + escaped(text));
        }
    };
    std::visit(Overloaded{
                   [&](const std::string& text) { parts.push_back(escaped(text)); },
                   [&](const Map& map) {
                       for (const auto& [key, text] : map) {
                           add(key, text);
                       }
                   },
                   [&](const Groups& groups) {
                       for (const auto& [key, texts] : groups) {
                           for (const std::string& text : texts) {
                               add(key, text);
                           }
                       }
                   },
                   [](const auto& /*other*/) {},
               },
               answer.value);
    return joined(parts, ", ");
}

/// An entry with that tag was taken for the answer, or the query was asked about the word.
bool concerns(const Explanation& explanation, const Word& word) {
    const Arguments& arguments = explanation.arguments;
    return std::any_of(arguments.begin(), arguments.end(),
                       [&](const std::string& argument) { return word.is(argument); }) ||
           std::any_of(explanation.steps.begin(), explanation.steps.end(), [&](const Step& step) {
               return step.kind == "entry" && step.outcome == "taken" &&
                      std::any_of(step.facts.tags.begin(), step.facts.tags.end(),
                                  [&](const std::string& tag) { return word.isTag(tag); });
           });
}

} // namespace

Appearances appearancesOf(const std::string& word, const Prediction& prediction,
                          const Cluster& cluster, bool revealSecrets) {
    const Word searched(word);
    Appearances found{word, {}, {}, {}};
    const Sources& sources = prediction.sources();
    for (const std::string& address : sources.hostAddresses) {
        if (searched.is(address)) {
            found.places.push_back({.kind = "host", .sentence = "an address of this host"});
        }
    }
    std::set<std::string> names;
    for (const SourceFile* file :
         {&sources.nodeList, &sources.managerNodeList, &sources.appConfig}) {
        Search(searched, *file, cluster, found.places, names).run();
    }
    for (const Question& question : prediction.allQuestions()) {
        const Explanation explanation = prediction.explain(question);
        const Reply masked = evaluated(explanation, false);
        if (!masked.error && (contains(masked.answer, searched) ||
                              (masked.answer.isAnswered() && concerns(explanation, searched)))) {
            Reply reply = evaluated(explanation, revealSecrets);
            std::string part = partOf(reply.answer, searched);
            found.answers.push_back({std::move(reply), std::move(part)});
        }
    }
    if (found.none()) {
        found.near = suggestion(word, {names.begin(), names.end()});
    }
    return found;
}

} // namespace sysconfctl
