// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "deployment/KeepUntilExit.h"
#include "explain/Prediction.h"
#include "query/Reply.h"
#include "query/Variables.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Plain.h"
#include "render/Table.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace sysconfctl {
namespace {

/// Verbatim to files and pipes, so that a script gets the exact answer; escaped on a terminal.
std::string plain(const Answer& answer) {
    const auto* const text = std::get_if<std::string>(&answer.value);
    if (text != nullptr && !outputIsTerminal()) {
        return *text + '\n';
    }
    std::string lines;
    for (const std::string& line : plainLines(answer)) {
        lines += line + '\n';
    }
    return lines;
}

std::string written(const Reply& reply, const Options& options) {
    switch (options.format) {
    case Format::Json: {
        Json::Value value = toJson(reply);
        value["schemaVersion"] = kSchemaVersion;
        return indentedJson(value);
    }
    case Format::Table: {
        TableRow row = tableRow(reply);
        row.section = {};
        return table({row}, outputWidth(), colorWanted(options.color));
    }
    default:
        break;
    }
    return plain(reply.answer);
}

std::string listTable(bool color) {
    std::vector<TableRow> rows;
    for (const Query& query : queries()) {
        rows.push_back({query.section, usageOf(query), {{std::string(query.help)}}});
    }
    return table(rows, outputWidth(), color);
}

std::string plainList() {
    std::size_t width = 0;
    for (const Query& query : queries()) {
        width = std::max(width, usageOf(query).size());
    }
    std::string text;
    for (const Query& query : queries()) {
        text += fmt::format("{:<{}}  {}\n", usageOf(query), width, query.help);
    }
    return text;
}

/// The library's answer, or its predicted answer on a host with the given addresses.
Reply answerTo(const Question& question, const Options& options) {
    if (!options.localAddresses.empty()) {
        return makeUntilExit<Prediction>(options.localAddresses)
            .ask(question, options.revealSecrets);
    }
    const library::Session session;
    return ask(*question.query, question.arguments, options.revealSecrets);
}

/// The mask is not printed: a script would take it for the answer.
std::string refusal(const Reply& reply) {
    const std::string label = reply.label();
    return std::holds_alternative<Json::Value>(reply.answer.value)
               ? fmt::format("{0} holds secrets, so it is not printed (--reveal-secrets prints it, "
                             "sysconfctl explain {0} prints it masked)",
                             label)
               : fmt::format("{} is a secret, so it is not printed (--reveal-secrets prints it)",
                             label);
}

std::vector<AnswerVariable> variablesFor(const Options& options) {
    const std::vector<const Query*> asked =
        variableQueries(options.queries, options.revealSecrets, "get");
    if (options.localAddresses.empty()) {
        const library::Session session;
        return askVariables(asked, options.revealSecrets);
    }
    const auto& prediction = makeUntilExit<Prediction>(options.localAddresses);
    std::vector<AnswerVariable> variables;
    variables.reserve(asked.size());
    for (const Query* query : asked) {
        variables.push_back(
            variableOf(prediction.ask({query, {}}, options.revealSecrets), options.revealSecrets));
    }
    return variables;
}

ExitStatus runGetVariables(const Options& options) {
    std::string text;
    ExitStatus status = ExitStatus::Answered;
    for (AnswerVariable& variable : variablesFor(options)) {
        if (options.systemd) {
            variable = forSystemd(std::move(variable));
        }
        if (variable.value && outputIsTerminal()) {
            variable.value = escaped(*variable.value);
        }
        text += options.shell ? shellLine(variable) : systemdLine(variable);
        if (!variable.trouble.empty()) {
            reportError(diagnostic::kNoVariable, variable.trouble);
        }
        if (variable.threw) {
            status = ExitStatus::LibraryThrew;
        } else if (!variable.value && !options.queries.empty() && status == ExitStatus::Answered) {
            status = ExitStatus::NoAnswer;
        }
    }
    writeOutput(text);
    return status;
}

} // namespace

ExitStatus runGet(const Options& options) {
    if (options.shell || options.systemd) {
        return runGetVariables(options);
    }
    const Query& query = findQuery(options.query);
    checkArgumentCount(query, options.arguments);
    const Reply reply = answerTo({&query, options.arguments}, options);
    if (reply.answer.masked) {
        reportError(diagnostic::kSecret, refusal(reply));
        return ExitStatus::Usage;
    }
    writeOutput(written(reply, options));
    if (reply.error) {
        reportThrow(reply.label(), *reply.error);
        return ExitStatus::LibraryThrew;
    }
    return reply.answer.isAnswered() ? ExitStatus::Answered : ExitStatus::NoAnswer;
}

ExitStatus runList(const Options& options) {
    if (options.format == Format::Json) {
        writeOutput(indentedJson(toJson(queries())));
        return ExitStatus::Answered;
    }
    writeOutput(options.format == Format::Table ? listTable(colorWanted(options.color))
                                                : plainList());
    return ExitStatus::Answered;
}

} // namespace sysconfctl
