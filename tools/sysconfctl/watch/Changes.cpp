// SPDX-License-Identifier: Apache-2.0
#include "watch/Changes.h"

#include "query/Questions.h"
#include "render/Color.h"
#include "render/Json.h"
#include "render/Masking.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>

namespace sysconfctl {
namespace {

/// The members of a reply's JSON that identify the question.
constexpr std::array kQuestionMembers = {"query", "operation", "arguments"};

void appendLines(std::string& text, char sign, const Reply* reply, std::size_t width, bool color) {
    constexpr std::size_t kIndent = 4;
    if (reply == nullptr) {
        return;
    }
    for (std::string line : shownLines(*reply)) {
        // The width of a tab depends on the terminal.
        std::replace(line.begin(), line.end(), '\t', ' ');
        std::string lead = fmt::format("  {} ", sign);
        for (const std::string& piece : wrapped(line, width - kIndent)) {
            text += painted(lead + piece, sign == '-' ? Paint::Red : Paint::Green, color) + '\n';
            lead.assign(kIndent, ' ');
        }
    }
}

std::string plainReply(char sign, const Reply* reply, WallTime time) {
    std::string text;
    if (reply != nullptr) {
        for (const std::string& line : shownLines(*reply)) {
            text += fmt::format("{}\t{}\t{}\t{}\n", timeText(time), sign, reply->label(), line);
        }
    }
    return text;
}

Json::Value withoutQuestion(const Reply* reply) {
    if (reply == nullptr) {
        return {};
    }
    Json::Value value = toJson(*reply);
    for (const char* member : kQuestionMembers) {
        value.removeMember(member);
    }
    return value;
}

std::string jsonLine(Json::Value value, const char* kind, WallTime time) {
    value["schemaVersion"] = kSchemaVersion;
    value["kind"] = kind;
    value["time"] = timeText(time);
    return compactJson(value) + '\n';
}

} // namespace

std::vector<Observation> observe(const std::vector<AskedQuery>& asked, bool revealSecrets) {
    std::vector<Observation> observations;
    for (const Question& question : questionsOf(asked)) {
        Reply reply = ask(*question.query, question.arguments, true);
        std::string identity = compactJson(toJson(reply));
        if (!revealSecrets) {
            mask(reply.answer, question.query->secret);
        }
        observations.push_back({std::move(reply), std::move(identity)});
    }
    return observations;
}

std::vector<Change> changes(const std::vector<Observation>& before,
                            const std::vector<Observation>& after) {
    std::map<std::string, const Observation*> earlier;
    for (const Observation& observation : before) {
        earlier.emplace(observation.reply.label(), &observation);
    }
    std::vector<Change> found;
    for (const Observation& now : after) {
        const auto was = earlier.find(now.reply.label());
        if (was == earlier.end()) {
            found.push_back({nullptr, &now.reply});
            continue;
        }
        if (was->second->identity != now.identity) {
            found.push_back({&was->second->reply, &now.reply});
        }
        earlier.erase(was);
    }
    for (const Observation& was : before) {
        if (earlier.contains(was.reply.label())) {
            found.push_back({&was.reply, nullptr});
        }
    }
    return found;
}

std::string timeText(WallTime time) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time);
    const auto seconds = std::chrono::floor<std::chrono::seconds>(milliseconds);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(seconds)),
                       (milliseconds - seconds).count());
}

std::string changeText(const Change& change, WallTime time, std::size_t width, bool color) {
    const Reply& asked = change.after != nullptr ? *change.after : *change.before;
    std::string text;
    for (const std::string& piece : wrapped(timeText(time) + "  " + asked.label(), width)) {
        text += painted(piece, Paint::Bold, color) + '\n';
    }
    appendLines(text, '-', change.before, width, color);
    appendLines(text, '+', change.after, width, color);
    return text;
}

std::string causeText(const Cause& cause, std::size_t width, bool color) {
    std::string text;
    std::string lead;
    for (const std::string& piece :
         wrappedWords(timeText(cause.time) + "  " + escaped(cause.sentence), width)) {
        text += painted(lead + piece, Paint::Cyan, color) + '\n';
        lead = "  ";
    }
    return text;
}

std::string causePlain(const Cause& cause) {
    return fmt::format("{}\t!\t\t{}\n", timeText(cause.time), escaped(cause.sentence));
}

std::string answerPlain(const Reply& reply, WallTime time) {
    return plainReply('=', &reply, time);
}

std::string changePlain(const Change& change, WallTime time) {
    return plainReply('-', change.before, time) + plainReply('+', change.after, time);
}

std::string answerLine(const Reply& reply, WallTime time) {
    return jsonLine(toJson(reply), "answer", time);
}

std::string causeLine(const Cause& cause) {
    Json::Value value;
    value["name"] = std::string(cause.name);
    value["text"] = cause.sentence;
    if (!cause.file.empty()) {
        value["file"] = cause.file;
    }
    return jsonLine(std::move(value), "cause", cause.time);
}

std::string changeLine(const Change& change, WallTime time, const std::vector<Cause>& causes) {
    const Json::Value asked = toJson(change.after != nullptr ? *change.after : *change.before);
    Json::Value value;
    for (const char* member : kQuestionMembers) {
        value[member] = asked[member];
    }
    value["old"] = withoutQuestion(change.before);
    value["new"] = withoutQuestion(change.after);
    value["causes"] = Json::Value(Json::arrayValue);
    for (const Cause& cause : causes) {
        value["causes"].append(cause.sentence);
    }
    return jsonLine(std::move(value), "change", time);
}

} // namespace sysconfctl
