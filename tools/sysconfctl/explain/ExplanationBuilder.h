#pragma once

#include "deployment/JsonValues.h"
#include "deployment/Recorder.h"
#include "explain/EntryFates.h"
#include "explain/Explanation.h"

#include <set>

namespace sysconfctl {

/// Adds steps to an explanation: what the explanations of all queries have in common.
class ExplanationBuilder {
public:
    ExplanationBuilder(const Sources& found, const Loaded& load, Explanation& built)
        : sources(found), loaded(load), values(load.values()), explanation(built) {}

    const Sources& sources;
    const Loaded& loaded;
    const Values& values;
    Explanation& explanation;

    const std::string& argument(std::size_t i) const { return explanation.arguments.at(i); }

    void step(std::string_view kind, std::string sentence, std::optional<Spot> at = std::nullopt) {
        explanation.steps.push_back({kind, std::move(sentence), std::move(at)});
    }
    /// Sets the reason. The first one wins.
    void because(std::string_view name, std::string sentence, std::string advice) {
        if (!explanation.reason) {
            explanation.reason = Reason{name, std::move(sentence), std::move(advice)};
        }
    }

    void variable(const Variable& variable);
    /// Adds the variable and the file, once. Returns whether the file loads.
    bool file(const SourceFile& file);
    /// Adds the value at a path as the library reads it, or that it is absent. Returns whether it
    /// has a value.
    bool value(const SourceFile& file, const located::Path& path, bool secret = false);
    /// Adds what ended a step of a load. Returns whether anything did.
    bool stopped(LoadStep name);
    /// The app config file and the entry of this process in it.
    void process();
    /// How the float node came about.
    void floatNode();
    /// That node's entry in a list; whether the list has it.
    bool node(const SourceFile& file, const std::string& id, const std::string& why);
    /// The list, the node and its address entries one by one, from the trace of the rule that
    /// looked the node up and walked them.
    WalkedEntries walk(const SourceFile& file, const std::string& id, const std::string& why,
                       const Recorder& trace, SlotLabel label);
    void fallback(const std::string& sentence, std::optional<Spot> at = std::nullopt) {
        step("fallback", sentence, std::move(at));
    }
    Spot processSpot(std::initializer_list<const char*> path) const;

private:
    /// The lookup of the node; whether the walk came to its entries.
    bool lookup(const SourceFile& file, const std::string& id, const std::string& why,
                const Recorder& trace);

    std::set<const SourceFile*> m_shownFiles;
};

/// Each explains the queries of a section. Returns false for any other query.
bool explainProcess(ExplanationBuilder& builder);
bool explainNode(ExplanationBuilder& builder);
bool explainAddresses(ExplanationBuilder& builder);
bool explainAllNodes(ExplanationBuilder& builder);
bool explainDatabases(ExplanationBuilder& builder);

} // namespace sysconfctl
