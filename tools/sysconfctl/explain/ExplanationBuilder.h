// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/JsonValues.h"
#include "deployment/Recorder.h"
#include "explain/EntryFates.h"
#include "explain/Explanation.h"

#include <optional>
#include <set>

namespace sysconfctl {

/// Adds steps and the verdict to an explanation: the part that is common to all queries.
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
    /// Marks the last step as one of those that decide.
    void deciding() { weigh(Weight::Deciding); }
    /// Marks the last step as the one that decides, unless a cause is found.
    void decisive() { weigh(Weight::Decisive); }

    /// Marks that step as the only one that decides.
    void decideAt(std::size_t number);
    void decideLast() { decideAt(explanation.steps.size() - 1); }

    /// Records that the last step shows the cause of a wrong or missing answer. The first cause
    /// wins.
    /// @param effect The effect on all answers that depend on it; may be empty.
    void because(std::string_view name, std::string sentence, std::string advice,
                 std::string effect = {});
    bool hasCause() const { return m_cause.has_value(); }
    /// Discards the cause because it does not affect the answer.
    void withdrawCause() { m_cause.reset(); }
    /// Sets the verdict: the cause and its effect on this answer or, if there is no cause, the
    /// sentence.
    /// @param effect The effect of a cause on this answer; empty: the effect that the cause states.
    void conclude(std::string_view name, std::string sentence, const std::string& effect = {},
                  std::string advice = {});
    /// Completes the explanation.
    void finish();

    void variable(const Variable& variable);
    /// Adds the file and the variable that locates it, unless already added. Returns whether the
    /// file loads.
    bool file(const SourceFile& file);
    /// Adds the value at a path as a rule reads it, or its absence. Returns whether there is a
    /// value.
    bool value(const SourceFile& file, const located::Path& path, Weight weight = Weight::Decisive,
               bool secret = false);
    /// Adds the value that stopped a load step, if one did. Returns whether one did.
    bool stopped(LoadStep name);
    /// Adds a value of the wrong type, as a cause.
    void mismatch(const SourceFile& file, const Quarncommon::rules::TypeMismatch& mismatch,
                  std::string_view kind);
    /// Adds the app config file and the entry of this process in it.
    void process();
    /// Adds the process and its node id. Returns whether it has one.
    bool ownNode(LoadStep name);
    /// Adds the steps that find the float node.
    /// @param asked Whether the float node itself is the answer, instead of the node whose values
    ///   are read.
    void floatNode(bool asked);
    /// Adds the search for the node whose service address this host has.
    void sourceSearch(Weight weight);
    /// Adds the lookup of a node, from the trace of the rule that looked it up. Returns whether the
    /// list has the node.
    bool node(const SourceFile& file, const std::string& id, const Recorder& trace);
    /// Adds the list, the node and each of its address entries, from the trace of the rule that
    /// walked them.
    WalkedEntries walk(const SourceFile& file, const std::string& id, const Recorder& trace,
                       SlotLabel label, const std::vector<AskedTag>& asked);

    /// Adds that no address entry of the node matches. That step decides unless there is another
    /// cause.
    void notFound(const std::string& id, const std::string& what, const SourceFile& file);
    Spot processSpot(std::initializer_list<const char*> path) const;
    /// "process alarm-1".
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
    /// Adds mistakes in the names and types of an entry.
    void entryMistakes(const SourceFile& file, const located::Path& path, const EntryFate& entry,
                       WalkedEntries& found);
    /// Adds the role of the process's own node as the load reads it. Returns whether it is a
    /// standby.
    bool isStandby(bool asked);

    std::set<const SourceFile*> m_shownFiles;
    std::optional<Cause> m_cause;
};

/// How a sentence names the value at a path: "wss.port of process alarm-1", "extAttr.hostType of
/// node-1".
std::string valueName(const located::Path& path);

/// Joins two clauses of a sentence; either may be empty.
std::string clauses(const std::string& first, const std::string& second);

/// Each explains the queries of a section. Returns false for any other query.
bool explainProcess(ExplanationBuilder& builder);
bool explainNode(ExplanationBuilder& builder);
bool explainAddresses(ExplanationBuilder& builder);
bool explainAllNodes(ExplanationBuilder& builder);
bool explainDatabases(ExplanationBuilder& builder);

} // namespace sysconfctl
