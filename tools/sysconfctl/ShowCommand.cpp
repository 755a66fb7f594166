#include "Commands.h"

#include "Json.h"
#include "Output.h"
#include "Plain.h"
#include "Reply.h"
#include "Table.h"
#include "Text.h"

namespace sysconfctl {
namespace {

using library::DatabaseEntries;

/// A query to ask, with its arguments.
struct Question {
    const Query* query;
    Arguments arguments;
};

/// What the library is asked for only to know what to ask. What it throws is no concern here: the
/// very same query is among those asked, and its reply tells.
template <class Ask>
auto orNothing(Ask ask) -> decltype(ask()) {
    try {
        return ask();
    } catch (...) {
        return {};
    }
}

std::string localTenancy() {
    return orNothing([] { return Quarncommon::SysConfReader_i::Instance()->GetProductName(); });
}

/// The field queries entry by entry, so that what belongs to one entry stands together.
void appendEntryQuestions(std::vector<Question>& questions, const DatabaseEntries& database) {
    for (std::size_t index = 0; index < database.count; ++index) {
        for (const Query& query : queries()) {
            if (query.shown == Shown::EachDatabaseEntry) {
                questions.push_back({&query, {database.name, std::to_string(index)}});
            }
        }
    }
}

void appendDatabaseQuestions(std::vector<Question>& questions) {
    for (const DatabaseEntries& database : orNothing(library::databaseEntries)) {
        for (const Query& query : queries()) {
            if (query.shown == Shown::EachDatabase) {
                questions.push_back({&query, {database.name}});
            }
        }
        appendEntryQuestions(questions, database);
    }
}

std::vector<Question> allQuestions() {
    std::vector<Question> questions;
    for (const Query& query : queries()) {
        if (query.shown == Shown::Once) {
            questions.push_back({&query, query.shownWith});
        } else if (query.shown == Shown::ForLocalTenancy) {
            questions.push_back({&query, query.shownWith});
            questions.back().arguments.push_back(localTenancy());
        }
    }
    appendDatabaseQuestions(questions);
    return questions;
}

std::string plain(const std::vector<Reply>& replies) {
    std::string text;
    for (const Reply& reply : replies) {
        std::vector<std::string> lines = plainLines(reply.answer);
        if (reply.error) {
            lines = {"error: " + escaped(*reply.error)};
        } else if (lines.empty()) {
            lines = {""};
        }
        for (const std::string& line : lines) {
            text += reply.label() + '\t' + line + '\n';
        }
    }
    return text;
}

std::string written(const std::vector<Reply>& replies, Format format) {
    if (format == Format::Json) {
        return indentedJson(toJson(replies));
    }
    if (format == Format::Plain) {
        return plain(replies);
    }
    std::vector<TableRow> rows;
    rows.reserve(replies.size());
    for (const Reply& reply : replies) {
        rows.push_back(tableRow(reply));
    }
    return table(rows, outputWidth());
}

} // namespace

ExitStatus runShow(const Options& options) {
    const library::Use use;
    std::vector<Reply> replies;
    const std::vector<Question> questions = allQuestions();
    replies.reserve(questions.size());
    for (const Question& question : questions) {
        replies.push_back(ask(*question.query, question.arguments, options.revealSecrets));
    }
    writeOutput(written(replies, options.format));
    ExitStatus status = ExitStatus::Answered;
    for (const Reply& reply : replies) {
        if (reply.error) {
            complain(reply.label() + ": the library threw: " + escaped(*reply.error));
            status = ExitStatus::LibraryThrew;
        }
    }
    return status;
}

} // namespace sysconfctl
