// SPDX-License-Identifier: Apache-2.0
#include "explain/ExplanationBuilder.h"

#include "deployment/TypeMismatches.h"
#include "explain/NearMiss.h"
#include "render/Masking.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

namespace sysconfctl {
namespace {

constexpr const char* kEmptyProcess = "every value of the process is empty";

std::string uncapitalized(std::string text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    }
    return text;
}

std::string adviceFor(const SourceFile& file) {
    const std::string& name = file.variable.name;
    if (!file.variable.value) {
        return "set " + name;
    }
    switch (file.errorNumber) {
    case EACCES:
        return "give the user of the process permission to read it";
    case ENOENT:
    case ENOTDIR:
        return fmt::format("correct {}, or put the file there", name);
    default:
        return fmt::format("set {} so that it leads to a readable file", name);
    }
}

located::Path innerPath(const located::Path& path) {
    constexpr std::size_t kOwner = 2;
    return {path.begin() + static_cast<std::ptrdiff_t>(std::min(kOwner, path.size() - 1)),
            path.end()};
}

std::vector<std::string> memberNames(const Json::Value& value) {
    return value.isObject() ? value.getMemberNames() : std::vector<std::string>();
}

std::string didYouMean(const std::string& name, const Json::Value& object) {
    const std::string near = nearestName(name, memberNames(object));
    return near.empty() ? near : fmt::format("; did you mean {}?", named(near));
}

} // namespace

std::string valueName(const located::Path& path) {
    constexpr std::size_t kOwner = 2; // the list, and the name in the list
    if (path.empty()) {
        return "the whole file";
    }
    const bool process = path[0] == "processes";
    const bool database = path[0] == "databases";
    if (path.size() < kOwner || (!process && !database && path[0] != "nodeList")) {
        return '"' + joined(path, ".") + '"';
    }
    const std::string owner = fmt::format("{}{}",
                                          process    ? "process "
                                          : database ? "database "
                                                     : "",
                                          named(path[1]));
    if (path.size() == kOwner) {
        return database ? owner : "the entry of " + owner;
    }
    const bool addresses = path[2] == "IPAddresses";
    const std::size_t number = database ? kOwner : kOwner + 1;
    if (!process && (database || addresses) && path.size() > number) {
        const std::vector<std::string> inner(path.begin() + static_cast<std::ptrdiff_t>(number) + 1,
                                             path.end());
        return fmt::format("{}{}entry {} of {}", joined(inner, "."), inner.empty() ? "" : " of ",
                           path[number], owner);
    }
    return joined({path.begin() + kOwner, path.end()}, ".") + " of " + owner;
}

std::string clauses(const std::string& first, const std::string& second) {
    const std::string_view between = first.empty() || second.empty() ? ""
                                     : first.ends_with('?')          ? " "
                                                                     : "; ";
    return fmt::format("{}{}{}", first, between, second);
}

void ExplanationBuilder::weigh(Weight weight) {
    Step& last = explanation.steps.back();
    last.weight = std::max(last.weight, weight);
}

void ExplanationBuilder::decideAt(std::size_t number) {
    for (Step& step : explanation.steps) {
        step.weight = step.weight == Weight::Decisive ? Weight::Deciding : step.weight;
    }
    explanation.steps.at(number).weight = Weight::Decisive;
}

void ExplanationBuilder::because(std::string_view name, std::string sentence, std::string advice,
                                 std::string effect) {
    if (!m_cause) {
        deciding();
        m_cause = Cause{{name, std::move(sentence), std::move(advice)},
                        std::move(effect),
                        explanation.steps.size() - 1};
    }
}

void ExplanationBuilder::conclude(std::string_view name, std::string sentence,
                                  const std::string& effect, std::string advice) {
    if (!m_cause) {
        explanation.verdict = {name, std::move(sentence), std::move(advice)};
        return;
    }
    explanation.verdict = m_cause->verdict;
    for (const std::string& more : {m_cause->effect, effect}) {
        explanation.verdict.sentence = clauses(explanation.verdict.sentence, more);
    }
}

void ExplanationBuilder::finish() {
    std::vector<Step>& steps = explanation.steps;
    if (explanation.verdict.sentence.empty()) {
        conclude("empty", "the value that is read is empty");
    }
    std::optional<std::size_t> decisive;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const bool first = steps[i].weight == Weight::Decisive && !decisive && !m_cause;
        if (first || (m_cause && m_cause->step == i)) {
            decisive = i;
            steps[i].weight = Weight::Decisive;
        } else if (steps[i].weight == Weight::Decisive) {
            steps[i].weight = Weight::Deciding;
        }
    }
    if (!decisive && !steps.empty()) {
        steps.back().weight = Weight::Decisive;
    }
}

void ExplanationBuilder::variable(const Variable& variable) {
    step({.kind = "variable",
          .outcome = variable.value ? "set" : "unset",
          .sentence =
              variable.name + (variable.value ? " is " + named(*variable.value) : " is not set")});
}

void ExplanationBuilder::unreadable(const SourceFile& file) {
    const bool processFile = &file == &sources.appConfig;
    const std::string& name = file.variable.name;
    const std::string effect = processFile ? kEmptyProcess : "";
    if (!file.variable.value) {
        step({.kind = "file",
              .outcome = "unset",
              .sentence = fmt::format("{} is not set{}", name,
                                      processFile ? "" : ", so " + file.path + " is read")});
        because("variable-unset", name + " is not set", adviceFor(file), effect);
        return;
    }
    const std::string why = uncapitalized(file.unreadable);
    step({.kind = "file",
          .outcome = "unreadable",
          .sentence = fmt::format("the {}, {}, is not readable: {}", file.title,
                                  file.path.empty() ? "\"\"" : file.path, why)});
    because("file-unreadable",
            processFile ? fmt::format("{} is not readable: {}", name, why)
                        : fmt::format("the {} of {} is not readable: {}", file.title, name, why),
            adviceFor(file), effect);
}

bool ExplanationBuilder::file(const SourceFile& file) {
    if (!m_shownFiles.insert(&file).second) {
        return file.loads;
    }
    if (file.loads) {
        step({.kind = "file",
              .outcome = "loads",
              .sentence =
                  fmt::format("{}, by {}", file.title,
                              file.variable.value ? file.variable.name
                                                  : file.variable.name + ", which is not set"),
              .at = Spot{&file, {}}});
        return true;
    }
    if (!file.unreadable.empty()) {
        unreadable(file);
        return false;
    }
    const auto& error = file.document.error();
    const std::string why = error ? error->sentence : "the JSON library rejects it";
    step({.kind = "file",
          .outcome = "does-not-parse",
          .sentence = fmt::format("the {} is not valid JSON: {}", file.title, why),
          .at = Spot{&file, {}, error ? error->offset : 0}});
    because("file-does-not-parse", fmt::format("the {} is not valid JSON: {}", file.title, why),
            error && !error->hint.empty() ? error->hint : "correct the file",
            &file == &sources.appConfig ? kEmptyProcess : "");
    return false;
}

void ExplanationBuilder::absent(const SourceFile& file, const located::Path& path) {
    const std::string name = valueName(path);
    const auto miss = misspeltMember(file.tree(), path);
    if (!miss) {
        located::Path around = path;
        while (!around.empty() && file.document.find(around) == nullptr) {
            around.pop_back();
        }
        step({.kind = "value",
              .outcome = "absent",
              .sentence = name + " is not in the file",
              .at = Spot{&file, around}});
        because("value-absent", name + " is not set", "add it");
        return;
    }
    const std::string inner = joined(innerPath(path), ".");
    const std::string sentence =
        miss->misplaced ? fmt::format("{} is in the wrong place and is not read; did you mean {}?",
                                      valueName(miss->path), inner)
                        : fmt::format("{} is not a name that is read; did you mean {}?",
                                      named(miss->name), named(miss->meant));
    step({.kind = "value",
          .outcome = miss->misplaced ? "misplaced" : "misspelt",
          .sentence = sentence,
          .at = Spot{&file, miss->path},
          .facts = {.expected = miss->meant, .found = miss->name}});
    because(miss->misplaced ? "misplaced-name" : "misspelt-name", sentence,
            miss->misplaced ? "move it to " + inner : "correct the name");
}

bool ExplanationBuilder::value(const SourceFile& file, const located::Path& path, Weight weight,
                               bool secret) {
    if (file.document.find(path) == nullptr) {
        absent(file, path);
        return false;
    }
    const Json::Value& found = valueAt(file.tree(), path);
    const std::string name = valueName(path);
    if (found.isArray() || found.isObject()) {
        step({.kind = "value",
              .outcome = "wrong-type",
              .sentence = fmt::format("{} is {}", name, kindOf(found)),
              .at = Spot{&file, path},
              .facts = {.found = kindOf(found)}});
        because("wrong-type", fmt::format("{} is {}", name, kindOf(found)), "correct its type");
        return false;
    }
    const bool empty = found.isNull() || (found.isString() && found.asString().empty());
    const std::string text = secret ? std::string(kMask) : found.asString();
    step({.kind = "value",
          .outcome = empty ? "empty" : "read",
          .sentence = name + (empty ? " is empty" : " is " + text),
          .at = Spot{&file, path},
          .weight = weight});
    if (empty) {
        because("value-empty", name + " is empty", "give it a value");
    }
    return !empty;
}

void ExplanationBuilder::mismatch(const SourceFile& file,
                                  const Quarncommon::rules::TypeMismatch& mismatch,
                                  std::string_view kind) {
    const std::string sentence =
        fmt::format("{} {}", valueName(mismatch.path), describe(mismatch, file.tree()));
    step({.kind = kind,
          .outcome = "wrong-type",
          .sentence = sentence,
          .at = Spot{&file, mismatch.path},
          .facts = {.expected = expectedText(mismatch.expected),
                    .found = kindOf(valueAt(file.tree(), mismatch.path))}});
    because("wrong-type", sentence, fmt::format("make it {}", expectedText(mismatch.expected)));
}

bool ExplanationBuilder::stopped(LoadStep name) {
    const Stop* const stop = loaded.stop(name);
    if (stop == nullptr) {
        return false;
    }
    step({.kind = "load",
          .outcome = "stopped",
          .sentence =
              fmt::format("the load ends here: {} {}", valueName(stop->path), stop->sentence),
          .at = Spot{stop->file, stop->path},
          .facts = {.expected = expectedText(stop->mismatch.expected),
                    .found = kindOf(valueAt(stop->file->tree(), stop->path))}});
    because("load-stopped", fmt::format("{} {}", valueName(stop->path), stop->sentence),
            fmt::format("make it {}", expectedText(stop->mismatch.expected)),
            "the load ends there");
    return true;
}

Spot ExplanationBuilder::processSpot(std::initializer_list<const char*> path) const {
    Spot spot{&sources.appConfig, {"processes", sources.instance.text()}};
    spot.path.insert(spot.path.end(), path.begin(), path.end());
    return spot;
}

std::string ExplanationBuilder::processName() const {
    return "process " + named(sources.instance.text());
}

std::string ExplanationBuilder::floatName() const {
    return named(values.floatNodeId);
}

void ExplanationBuilder::process() {
    if (!file(sources.appConfig)) {
        return;
    }
    const std::string& id = sources.instance.text();
    const Spot spot = processSpot({});
    if (sources.appConfig.document.find(spot.path) != nullptr) {
        step({.kind = "value",
              .outcome = "found",
              .sentence = fmt::format("the entry of {}, by PROCESS_INSTANCE_ID", processName()),
              .at = spot});
        return;
    }
    // A load that stopped before the processes is the cause.
    if (const Stop* const stop = loaded.stop(LoadStep::AppConfig);
        stop != nullptr && stop->path.size() < 2) {
        stopped(LoadStep::AppConfig);
        return;
    }
    const located::Path path = {"processes"};
    const Json::Value& processes = valueAt(sources.appConfig.tree(), path);
    const std::string near = didYouMean(id, processes);
    const std::string sentence =
        sources.instance.value
            ? fmt::format("PROCESS_INSTANCE_ID is {}, and \"processes\" has no such entry{}",
                          named(id), near)
            : "PROCESS_INSTANCE_ID is not set, so no entry of \"processes\" is read";
    step({.kind = "variable",
          .outcome = sources.instance.value ? "not-found" : "unset",
          .sentence = sentence,
          .at = processes.isObject() ? std::optional(Spot{&sources.appConfig, {"processes"}})
                                     : std::nullopt});
    because(sources.instance.value ? "no-instance-entry" : "variable-unset", sentence,
            sources.instance.value ? "correct PROCESS_INSTANCE_ID, or add the entry"
                                   : "set it to one of " + joined(memberNames(processes), ", "),
            kEmptyProcess);
}

bool ExplanationBuilder::ownNode(LoadStep name) {
    process();
    const Spot own = processSpot({"nodeId"});
    if (!sources.appConfig.loads || hasCause()) {
        return false;
    }
    if (!loaded.hasRead(name, own.path)) {
        stopped(name);
        return false;
    }
    return value(sources.appConfig, own.path, standsIn() ? Weight::Deciding : Weight::Detail);
}

} // namespace sysconfctl
