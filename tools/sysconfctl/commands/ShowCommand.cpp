#include "commands/Commands.h"

#include "query/Questions.h"
#include "query/Reply.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Plain.h"
#include "render/Table.h"
#include "render/Text.h"

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

std::string written(const std::vector<Reply>& replies, const Options& options) {
    if (options.format == Format::Json) {
        return indentedJson(toJson(replies));
    }
    if (options.format == Format::Plain) {
        return plain(replies);
    }
    return tableOf(replies, outputWidth(), colorWanted(options.color));
}

} // namespace

ExitStatus runShow(const Options& options) {
    const library::Session session;
    std::vector<Reply> replies;
    const std::vector<Question> questions = allQuestions();
    replies.reserve(questions.size());
    for (const Question& question : questions) {
        replies.push_back(ask(*question.query, question.arguments, options.revealSecrets));
    }
    writeOutput(written(replies, options));
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
