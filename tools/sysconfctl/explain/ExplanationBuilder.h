// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/JsonValues.h"
#include "deployment/Recorder.h"
#include "explain/EntryFates.h"
#include "explain/Explanation.h"

#include <optional>
#include <set>

namespace sysconfctl {

/// Adds steps to an explanation, and its verdict: what the explanations of all queries have in
/// common.
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
    /// The last step is one of those that decide.
    void deciding() { weigh(Weight::Deciding); }
    /// The last step is the one that decides, unless a cause is found.
    void decisive() { weigh(Weight::Decisive); }

    /// That step decides, and no other one.
    void decideAt(std::size_t number);
    void decideLast() { decideAt(explanation.steps.size() - 1); }

    /// The last step shows the cause of a wrong or missing answer. The first cause wins.
    /// @param effect What follows for all that depends on it; may be empty.
    void because(std::string_view name, std::string sentence, std::string advice,
                 std::string effect = {});
    bool hasCause() const { return m_cause.has_value(); }
    /// The cause turned out not to matter.
    void withdrawCause() { m_cause.reset(); }
    /// Sets the verdict: the cause and what follows from it here; or, if there is none, the
    /// sentence.
    /// @param effect What follows from a cause; empty: what it says itself.
    void conclude(std::string_view name, std::string sentence, const std::string& effect = {},
                  std::string advice = {});
    /// Completes the explanation.
    void finish();

    void variable(const Variable& variable);
    /// Adds the file and the variable that leads to it, once. Returns whether the file loads.
    bool file(const SourceFile& file);
    /// Adds the value at a path as a rule reads it, or that it is absent. Returns whether it has a
    /// value.
    bool value(const SourceFile& file, const located::Path& path, Weight weight = Weight::Decisive,
               bool secret = false);
    /// Adds the value that ended a step of a load, if one did.
    bool stopped(LoadStep name);
    /// Adds a value of the wrong type, as a cause.
    void mismatch(const SourceFile& file, const Quarncommon::rules::TypeMismatch& mismatch,
                  std::string_view kind);
    /// The app config file and the entry of this process in it.
    void process();
    /// The process and the id of its own node. Returns whether there is one.
    bool ownNode(LoadStep name);
    /// How the float node is found.
    /// @param asked Whether the float node is the answer, and not only where it is looked up.
    void floatNode(bool asked);
    /// The search for the node whose service address this host has.
    void sourceSearch(Weight weight);
    /// The lookup of a node in a list, from the trace of the rule that looked it up. Returns
    /// whether the list has it.
    bool node(const SourceFile& file, const std::string& id, const Recorder& trace);
    /// The list, the node and its address entries one by one, from the trace of the rule that
    /// looked the node up and walked them.
    WalkedEntries walk(const SourceFile& file, const std::string& id, const Recorder& trace,
                       SlotLabel label, const std::vector<AskedTag>& asked);

    /// That no address entry of the node has what is asked for, as the step that decides unless
    /// something else explains it.
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
    /// The role of the own node, as the load reads it. Returns whether it is a standby.
    bool isStandby(bool asked);

    std::set<const SourceFile*> m_shownFiles;
    std::optional<Cause> m_cause;
};

/// A value in a sentence: "wss.port of process alarm-1", "extAttr.hostType of node-1".
std::string valueName(const located::Path& path);

/// Two clauses of a sentence; either may be empty.
std::string clauses(const std::string& first, const std::string& second);

/// Each explains the queries of a section. Returns false for any other query.
bool explainProcess(ExplanationBuilder& builder);
bool explainNode(ExplanationBuilder& builder);
bool explainAddresses(ExplanationBuilder& builder);
bool explainAllNodes(ExplanationBuilder& builder);
bool explainDatabases(ExplanationBuilder& builder);

} // namespace sysconfctl
