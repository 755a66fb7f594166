// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "cli/Environment.h"
#include "deployment/KeepUntilExit.h"
#include "deployment/OwnLoad.h"
#include "explain/Prediction.h"
#include "query/Questions.h"
#include "query/Reply.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Plain.h"
#include "render/Table.h"
#include "render/Text.h"

#include <optional>

namespace sysconfctl {
namespace {

std::string plain(const std::vector<Reply>& replies) {
    std::string text;
    for (const Reply& reply : replies) {
        std::vector<std::string> lines = plainLines(reply.answer);
        if (reply.error) {
            lines = {errorText(*reply.error)};
        } else if (lines.empty()) {
            lines = {""};
        }
        for (const std::string& line : lines) {
            text += reply.label() + '\t' + line + '\n';
        }
    }
    return text;
}

std::string plain(const OwnLoad& load) {
    std::string text;
    for (const OwnLoadLine& line : linesOf(load)) {
        text += line.label + '\t' + line.text + '\n';
    }
    return text;
}

std::string tableOf(const OwnLoad& load, bool color) {
    std::vector<TableRow> rows;
    for (const OwnLoadLine& line : linesOf(load)) {
        rows.push_back({"The load of this tool", line.label, {{line.text}}});
    }
    return '\n' + table(rows, outputWidth(), color);
}

std::string written(const std::vector<Reply>& replies, const std::optional<OwnLoad>& load,
                    const Options& options) {
    if (options.format == Format::Json) {
        Json::Value value = toJson(replies);
        if (load) {
            value["load"] = toJson(*load);
        }
        return indentedJson(value);
    }
    if (options.format == Format::Plain) {
        return plain(replies) + (load ? plain(*load) : "");
    }
    const bool color = colorWanted(options.color);
    return tableOf(replies, outputWidth(), color) + (load ? tableOf(*load, color) : "");
}

template <typename Ask>
std::vector<Reply> repliesTo(const std::vector<Question>& questions, Ask ask) {
    std::vector<Reply> replies;
    replies.reserve(questions.size());
    for (const Question& question : questions) {
        replies.push_back(ask(question));
    }
    return replies;
}

/// @param load Gets the load of the library, if it is to be shown and has answered.
std::vector<Reply> allReplies(const Options& options, std::optional<OwnLoad>& load) {
    if (!options.localAddresses.empty()) {
        const auto& prediction = makeUntilExit<Prediction>(options.localAddresses);
        return repliesTo(prediction.allQuestions(), [&](const Question& question) {
            return prediction.ask(question, options.revealSecrets);
        });
    }
    const library::Session session;
    std::vector<Reply> replies = repliesTo(allQuestions(), [&](const Question& question) {
        return ask(*question.query, question.arguments, options.revealSecrets);
    });
    if (options.verbose) {
        load = ownLoad();
    }
    return replies;
}

} // namespace

ExitStatus runShow(const Options& options) {
    if (nothingIsSet()) {
        reportError(diagnostic::kNothingSet,
                    "no configuration is set, so there is no answer: set APP_CONF_FILE, "
                    "PROCESS_INSTANCE_ID, APP_ROOT and TOLM_ROOT as for the process, or name a "
                    "file that sets them: sysconfctl show --env-file FILE");
        return ExitStatus::NoAnswer;
    }
    std::optional<OwnLoad> load;
    const std::vector<Reply> replies = allReplies(options, load);
    writeOutput(written(replies, load, options));
    ExitStatus status = ExitStatus::Answered;
    for (const Reply& reply : replies) {
        if (reply.error) {
            reportThrow(reply.label(), *reply.error);
            status = ExitStatus::LibraryThrew;
        }
    }
    return status;
}

} // namespace sysconfctl
