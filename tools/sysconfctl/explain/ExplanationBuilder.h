// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/JsonValues.h"
#include "deployment/Recorder.h"
#include "explain/EntryFates.h"
#include "explain/Explanation.h"

#include <optional>
#include <set>

namespace sysconfctl {

/// The part of an explanation that is common to all queries.
class ExplanationBuilder {
public:
    ExplanationBuilder(const Sources& found, const Loaded& load, Explanation& built)
        : sources(found), loaded(load), values(load.values()), explanation(built) {}

    const Sources& sources;
    const Loaded& loaded;
    const Values& values;
    Explanation& explanation;

    const std::string& argument(std::size_t i) const { return explanation.arguments.at(i); }

    void step(Step step) { explanation.steps.push_back(std::move(step)); }
    void deciding() { weigh(Weight::Deciding); }
    /// Marks the last step as the one that decides, unless a cause is found.
    void decisive() { weigh(Weight::Decisive); }

    void decideAt(std::size_t number);
    void decideLast() { decideAt(explanation.steps.size() - 1); }

    /// The first cause wins. `effect` is on all answers that depend on it; may be empty.
    void because(std::string_view name, std::string sentence, std::string advice,
                 std::string effect = {});
    bool hasCause() const { return m_cause.has_value(); }
    /// The cause does not affect the answer.
    void withdrawCause() { m_cause.reset(); }
    /// Sets the verdict: the cause or, if there is none, the sentence.
    /// @param effect The effect of a cause on this answer; empty: the effect that the cause states.
    void conclude(std::string_view name, std::string sentence, const std::string& effect = {},
                  std::string advice = {});
    void finish();

    void variable(const Variable& variable);
    /// Adds it with its variable, once. Returns whether the file loads.
    bool file(const SourceFile& file);
    /// Adds it as a rule reads it. Returns whether there is a value.
    bool value(const SourceFile& file, const located::Path& path, Weight weight = Weight::Decisive,
               bool secret = false);
    bool stopped(LoadStep name);
    void mismatch(const SourceFile& file, const Quarncommon::rules::TypeMismatch& mismatch,
                  std::string_view kind);
    void process();
    bool ownNode(LoadStep name);
    /// @param asked Whether the float node itself is the answer.
    void floatNode(bool asked);
    void sourceSearch(Weight weight);
    /// Adds the lookup, from the rule's trace. Returns whether the list has the node.
    bool node(const SourceFile& file, const std::string& id, const Recorder& trace);
    /// Adds the list, the node and each of its entries, from the rule's trace.
    WalkedEntries walk(const SourceFile& file, const std::string& id, const Recorder& trace,
                       SlotLabel label, const std::vector<AskedTag>& asked);

    /// Adds that no entry matches, which decides unless there is another cause.
    void notFound(const std::string& id, const std::string& what, const SourceFile& file);
    Spot processSpot(std::initializer_list<const char*> path) const;
    std::string processName() const;
    /// "node-1", or "node-1, for which node-2 stands in".
    std::string floatName() const;
    bool standsIn() const { return values.floatNodeId != values.nodeId; }

private:
    struct Cause {
        Verdict verdict;
        std::string effect;
        std::size_t step = 0;
    };

    void weigh(Weight weight);
    void unreadable(const SourceFile& file);
    void absent(const SourceFile& file, const located::Path& path);
    void entry(const SourceFile& file, const located::Path& list, const EntryFate& entry,
               WalkedEntries& found);
    void entryMistakes(const SourceFile& file, const located::Path& path, const EntryFate& entry,
                       WalkedEntries& found);
    /// Adds the role as the load reads it.
    bool isStandby(bool asked);

    std::set<const SourceFile*> m_shownFiles;
    std::optional<Cause> m_cause;
};

/// "wss.port of process alarm-1", "extAttr.hostType of node-1".
std::string valueName(const located::Path& path);

/// Either may be empty.
std::string clauses(const std::string& first, const std::string& second);

/// Each returns false for a query of another section.
bool explainProcess(ExplanationBuilder& builder);
bool explainNode(ExplanationBuilder& builder);
bool explainAddresses(ExplanationBuilder& builder);
bool explainAllNodes(ExplanationBuilder& builder);
bool explainDatabases(ExplanationBuilder& builder);

} // namespace sysconfctl
