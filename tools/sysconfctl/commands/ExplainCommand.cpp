#include "commands/Commands.h"

#include "explain/Explanation.h"
#include "query/Questions.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Grid.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

/// An explanation beside what the library answered.
struct Explained {
    Explanation explanation;
    Reply reply;
    bool agreed = false;
};

struct At {
    located::Place place;
    std::string pointer;
    const SourceFile* file;
};

std::optional<At> placeOf(const Step& step) {
    if (!step.at) {
        return std::nullopt;
    }
    const located::Value* const value = step.at->file->document.find(step.at->path);
    if (value == nullptr) {
        return std::nullopt;
    }
    return At{step.at->file->document.place(value->begin), located::pointer(step.at->path),
              step.at->file};
}

std::string shortPlace(const At& at) {
    const std::string name = at.file->path.substr(at.file->path.find_last_of('/') + 1);
    return escaped(fmt::format("{}:{}:{}", name, at.place.line, at.place.column));
}

std::string longPlace(const At& at) {
    return escaped(fmt::format("{}:{}:{}", at.file->path, at.place.line, at.place.column));
}

std::vector<std::string> answerLines(const Explained& explained) {
    std::vector<std::string> lines = shownLines(explained.reply);
    for (std::string& line : lines) {
        std::replace(line.begin(), line.end(), '\t', ' ');
    }
    return lines;
}

std::string wrappedText(const std::string& text, std::size_t indent) {
    std::string lines;
    for (const std::string& line : wrapped(text, outputWidth() - indent)) {
        lines += std::string(indent, ' ') + line + '\n';
    }
    return lines;
}

std::string explainedTable(const Explained& explained, bool color) {
    const Explanation& explanation = explained.explanation;
    std::string text;
    for (const std::string& line : wrapped(explanation.label(), outputWidth())) {
        text += painted(line, Paint::Bold, color) + '\n';
    }
    for (const std::string& line : answerLines(explained)) {
        for (const std::string& piece : wrapped(line, outputWidth() - 2)) {
            text += "  " +
                    painted(piece, explained.reply.answer.isAnswered() ? Paint::Green : Paint::Red,
                            color) +
                    '\n';
        }
    }
    if (explanation.reason) {
        const Reason& reason = *explanation.reason;
        text += wrappedText(fmt::format("why ({}): {}", reason.name, escaped(reason.sentence)), 2);
        text += wrappedText("what to do: " + escaped(reason.advice), 2);
    }
    std::vector<std::vector<Cell>> rows;
    for (const Step& step : explanation.steps) {
        const auto at = placeOf(step);
        rows.push_back({{std::string(step.kind)},
                        {escaped(step.sentence)},
                        at ? Cell{shortPlace(*at), escaped(at->pointer)} : Cell{}});
    }
    return text + grid({"STEP", "", "WHERE"}, rows, outputWidth(), color);
}

/// One step a line: query, kind, sentence, place and pointer behind a tab each; then the answer.
std::string plain(const Explained& explained) {
    const Explanation& explanation = explained.explanation;
    const std::string label = explanation.label();
    std::string text;
    for (const Step& step : explanation.steps) {
        const auto at = placeOf(step);
        text += joined({label, std::string(step.kind), escaped(step.sentence),
                        at ? longPlace(*at) : "", at ? escaped(at->pointer) : ""},
                       "\t") +
                '\n';
    }
    if (explanation.reason) {
        text += joined({label, "reason",
                        std::string(explanation.reason->name) + ": " +
                            escaped(explanation.reason->sentence)},
                       "\t") +
                "\t\t\n";
    }
    for (const std::string& line : answerLines(explained)) {
        text += joined({label, "answer", line}, "\t") + "\t\t\n";
    }
    return text;
}

Json::Value toJson(const Explained& explained) {
    Json::Value value = toJson(explained.reply);
    value["agrees"] = explained.agreed;
    value["steps"] = Json::Value(Json::arrayValue);
    for (const Step& step : explained.explanation.steps) {
        Json::Value row;
        row["kind"] = std::string(step.kind);
        row["text"] = step.sentence;
        if (const auto at = placeOf(step)) {
            row["file"] = at->file->path;
            row["line"] = static_cast<Json::UInt64>(at->place.line);
            row["column"] = static_cast<Json::UInt64>(at->place.column);
            row["pointer"] = at->pointer;
        }
        value["steps"].append(row);
    }
    if (explained.explanation.reason) {
        value["reason"]["name"] = std::string(explained.explanation.reason->name);
        value["reason"]["text"] = explained.explanation.reason->sentence;
        value["reason"]["advice"] = explained.explanation.reason->advice;
    }
    return value;
}

std::string written(const std::vector<Explained>& all, const Options& options) {
    if (options.format == Format::Json) {
        Json::Value value;
        value["schemaVersion"] = kSchemaVersion;
        value["explanations"] = Json::Value(Json::arrayValue);
        for (const Explained& explained : all) {
            value["explanations"].append(toJson(explained));
        }
        return indentedJson(value);
    }
    const bool color = colorWanted(options.color);
    std::string text;
    for (const Explained& explained : all) {
        if (options.format == Format::Plain) {
            text += plain(explained);
            continue;
        }
        if (!text.empty()) {
            text += '\n';
        }
        text += explainedTable(explained, color);
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

/// Explains over sources that did not change meanwhile, as far as that can be had: files that are
/// being written are read again, and the library loads anew.
std::vector<Explained> explainedAtOnce(const Options& options, Sources& sources) {
    constexpr int kAttempts = 3;
    for (int attempt = 1;; ++attempt) {
        const library::Session session;
        sources = readSources();
        Loaded loaded;
        loaded.load(sources);
        std::vector<Question> questions;
        if (options.all) {
            questions = allQuestions();
        } else {
            questions.push_back({&findQuery(options.query), options.arguments});
        }
        std::vector<Explained> all;
        bool agreed = true;
        for (const Question& question : questions) {
            all.push_back(explained(question, sources, loaded, options.revealSecrets));
            agreed = agreed && all.back().agreed;
        }
        if (agreed || attempt == kAttempts || sameTexts(sources, readSources())) {
            return all;
        }
    }
}

} // namespace

ExitStatus runExplain(const Options& options) {
    if (!options.all) {
        checkArgumentCount(findQuery(options.query), options.arguments);
    }
    Sources sources;
    const std::vector<Explained> all = explainedAtOnce(options, sources);
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
        if (!one.agreed) {
            reportError(diagnostic::kInternal,
                        one.explanation.label() +
                            ": internal error: what is explained is not what the library answers");
            status = ExitStatus::Internal;
        }
    }
    return status;
}

} // namespace sysconfctl
