#pragma once

#include "deployment/Misfits.h"
#include "explain/Entries.h"
#include "explain/Explanation.h"

#include <set>

namespace sysconfctl {

/// What the explanations of all queries have in common: the telling of steps.
class Narrator {
public:
    Narrator(const Sources& found, const Loaded& load, Explanation& explanation)
        : sources(found), loaded(load), values(load.values()), told(explanation) {}

    const Sources& sources;
    const Loaded& loaded;
    const Values& values;
    Explanation& told;

    const std::string& argument(std::size_t i) const { return told.arguments.at(i); }

    void step(std::string_view kind, std::string sentence, std::optional<Spot> at = std::nullopt) {
        told.steps.push_back({kind, std::move(sentence), std::move(at)});
    }
    /// The first reason that is found counts.
    void because(std::string_view name, std::string sentence, std::string advice) {
        if (!told.reason) {
            told.reason = Reason{name, std::move(sentence), std::move(advice)};
        }
    }

    void variable(const Variable& variable);
    /// Tells the variable and the file, once; whether the file loads.
    bool file(const SourceFile& file);
    /// Tells the value at a path as the library reads it, or that it is absent; whether it is
    /// there.
    bool value(const SourceFile& file, const located::Path& path, bool secret = false);
    /// Tells what ended a step of a load, if anything did; true when it did.
    bool stopped(LoadStep name);
    /// The app config file and the entry of this process in it.
    void process();
    /// How the float node came about.
    void floatNode();
    /// That node's entry in a list; whether the list has it.
    bool node(const SourceFile& file, const std::string& id, const std::string& why);
    /// The node's address entries under a rule, one by one. Where each slot got its address.
    Provenance entries(const SourceFile& file, const std::string& id, const EntriesRule& rule);
    void fallback(const std::string& sentence, std::optional<Spot> at = std::nullopt) {
        step("fallback", sentence, std::move(at));
    }
    Spot processSpot(std::initializer_list<const char*> path) const;

private:
    std::set<const SourceFile*> m_told;
};

/// Each explains the queries of a section; false for a query that is none of its own.
bool explainProcess(Narrator& narrator);
bool explainNode(Narrator& narrator);
bool explainAddresses(Narrator& narrator);
bool explainAllNodes(Narrator& narrator);
bool explainDatabases(Narrator& narrator);

} // namespace sysconfctl
