// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "deployment/KeepUntilExit.h"
#include "explain/Prediction.h"
#include "explain/Reason.h"
#include "explain/Screen.h"
#include "explain/StepPlace.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Json.h"
#include "render/Masking.h"
#include "render/Output.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

struct Explained {
    Explanation explanation;
    Reply reply;
    /// Unset if the library was not called because addresses of another host were given.
    std::optional<bool> agreed = std::nullopt;

    bool disagreed() const { return agreed && !*agreed; }
};

std::vector<std::string> answerLines(const Explained& explained) {
    std::vector<std::string> lines = shownLines(explained.reply);
    for (std::string& line : lines) {
        std::replace(line.begin(), line.end(), '\t', ' ');
    }
    return lines;
}

/// One step a line: query, kind, sentence, place and pointer, with a tab between each; then the
/// verdict and the answer.
std::string plain(const Explained& explained) {
    const Explanation& explanation = explained.explanation;
    const std::string label = explanation.label();
    std::string text;
    for (const Step& step : explanation.steps) {
        const auto place = placeOf(step);
        text += joined({label, std::string(step.kind), escaped(step.sentence),
                        place ? shownPlace(*place) : "", place ? escaped(place->pointer) : ""},
                       "\t") +
                '\n';
    }
    const Verdict& verdict = explanation.verdict;
    text += joined({label, "verdict", escaped(verdict.sentence)}, "\t") + "\t\t\n";
    if (!verdict.advice.empty()) {
        text += joined({label, "advice", escaped(verdict.advice)}, "\t") + "\t\t\n";
    }
    for (const std::string& line : answerLines(explained)) {
        text += joined({label, "answer", line}, "\t") + "\t\t\n";
    }
    return text;
}

void add(Json::Value& row, const char* name, std::string_view text) {
    if (!text.empty()) {
        row[name] = std::string(text);
    }
}

Json::Value toJson(const Step& step) {
    Json::Value row;
    row["kind"] = std::string(step.kind);
    row["outcome"] = std::string(step.outcome);
    row["text"] = step.sentence;
    row["decides"] = step.weight == Weight::Decisive;
    if (const auto place = reasonPlaceOf(step)) {
        addPlace(row, *place);
    }
    add(row, "node", step.facts.node);
    add(row, "entry", step.facts.entry);
    if (step.facts.address) {
        row["address"] = *step.facts.address;
    }
    for (const std::string& tag : step.facts.tags) {
        row["tags"].append(tag);
    }
    add(row, "expected", step.facts.expected);
    add(row, "found", step.facts.found);
    add(row, "by", step.facts.by);
    return row;
}

Json::Value toJson(const Explained& explained, const Options& options) {
    const Explanation& explanation = explained.explanation;
    Json::Value value = toJson(explained.reply);
    if (explained.agreed) {
        value["agrees"] = *explained.agreed;
    }
    value["verdict"] = explanation.verdict.sentence;
    value["reason"] = std::string(explanation.verdict.name);
    add(value, "advice", explanation.verdict.advice);
    value["decided"] = explanation.moment == Moment::Call   ? "call"
                       : explanation.moment == Moment::Load ? "load"
                                                            : "node-at-load";
    for (const std::string& address : options.localAddresses) {
        value["localAddresses"].append(address);
    }
    value["steps"] = Json::Value(Json::arrayValue);
    for (const Step& step : explanation.steps) {
        value["steps"].append(toJson(step));
    }
    return value;
}

std::string written(const std::vector<Explained>& all, const Options& options) {
    if (options.format == Format::Json) {
        Json::Value value;
        value["schemaVersion"] = kSchemaVersion;
        value["explanations"] = Json::Value(Json::arrayValue);
        for (const Explained& explained : all) {
            value["explanations"].append(toJson(explained, options));
        }
        return indentedJson(value);
    }
    const ScreenOptions screen{outputWidth(), colorWanted(options.color), options.verbose};
    std::string text;
    if (options.format == Format::Table && !options.localAddresses.empty()) {
        const std::string host =
            "predicted for a host with " + joined(options.localAddresses, ", ");
        text = joined(wrappedWords(host, screen.width), "\n") + '\n';
    }
    for (const Explained& explained : all) {
        if (options.format == Format::Plain) {
            text += plain(explained);
            continue;
        }
        text += text.empty() ? "" : "\n";
        text += explanationScreen(explained.explanation, explained.reply, screen);
    }
    return text;
}

Explained explained(const Question& question, const Sources& sources, const Loaded& loaded,
                    bool reveal) {
    Explained result{explain(*question.query, question.arguments, sources, loaded),
                     ask(*question.query, question.arguments, true)};
    result.agreed = agrees(result.explanation, result.reply);
    if (!reveal) {
        mask(result.reply.answer, question.query->secret);
        mask(result.explanation.answer, question.query->secret);
    }
    return result;
}

bool sameTexts(const Sources& left, const Sources& right) {
    const auto same = [](const SourceFile& one, const SourceFile& other) {
        return one.unreadable == other.unreadable && one.document.text() == other.document.text();
    };
    return same(left.appConfig, right.appConfig) && same(left.nodeList, right.nodeList) &&
           same(left.managerNodeList, right.managerNodeList) &&
           left.hostAddresses == right.hostAddresses;
}

Question askedQuestion(const Options& options) {
    return {&findQuery(options.query), options.arguments};
}

std::vector<Explained> predicted(const Prediction& prediction, const Options& options) {
    std::vector<Explained> all;
    for (const Question& question :
         options.all ? prediction.allQuestions() : std::vector<Question>{askedQuestion(options)}) {
        Explanation explanation = prediction.explain(question);
        Reply reply = evaluated(explanation, options.revealSecrets);
        all.push_back({std::move(explanation), std::move(reply)});
    }
    return all;
}

/// Explains the answers and calls the library. If they disagree and the files have changed in
/// between, repeats with the new files, up to `kAttempts` times.
std::vector<Explained> explainedAtOnce(const Options& options, Sources& sources) {
    constexpr int kAttempts = 3;
    for (int attempt = 1;; ++attempt) {
        const library::Session session;
        sources = readSources();
        Loaded loaded;
        loaded.load(sources);
        const std::vector<Question> questions =
            options.all ? allQuestions() : std::vector<Question>{askedQuestion(options)};
        std::vector<Explained> all;
        bool agreed = true;
        for (const Question& question : questions) {
            all.push_back(explained(question, sources, loaded, options.revealSecrets));
            agreed = agreed && !all.back().disagreed();
        }
        if (agreed || attempt == kAttempts || sameTexts(sources, readSources())) {
            return all;
        }
    }
}

ExitStatus report(const std::vector<Explained>& all, const Options& options) {
    writeOutput(written(all, options));
    ExitStatus status = ExitStatus::Answered;
    for (const Explained& one : all) {
        if (one.reply.error) {
            reportThrow(one.explanation.label(), *one.reply.error);
            status = ExitStatus::LibraryThrew;
        } else if (!options.all && !one.reply.answer.isAnswered()) {
            status = ExitStatus::NoAnswer;
        }
    }
    for (const Explained& one : all) {
        if (one.disagreed()) {
            reportError(
                diagnostic::kInternal,
                one.explanation.label() +
                    ": internal error: the explanation does not match the library's answer");
            status = ExitStatus::Internal;
        }
    }
    return status;
}

} // namespace

ExitStatus runExplain(const Options& options) {
    if (!options.all) {
        checkArgumentCount(findQuery(options.query), options.arguments, "explain");
    }
    if (!options.localAddresses.empty()) {
        // The steps refer to the sources of the prediction.
        const auto& prediction = makeUntilExit<Prediction>(options.localAddresses);
        return report(predicted(prediction, options), options);
    }
    return report(explainedAtOnce(options, makeUntilExit<Sources>()), options);
}

} // namespace sysconfctl
