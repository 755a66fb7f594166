// SPDX-License-Identifier: Apache-2.0
#include "query/Questions.h"

namespace sysconfctl {
namespace {

using library::DatabaseEntries;

/// An exception is reported by the reply to the same query, which is one of the questions.
template <class Ask>
auto answerOrEmpty(Ask ask) -> decltype(ask()) {
    try {
        return ask();
    } catch (...) {
        return {};
    }
}

/// Adds all fields of one entry before those of the next.
void appendEntryQuestions(std::vector<Question>& questions, const DatabaseEntries& database) {
    for (std::size_t index = 0; index < database.entries; ++index) {
        for (const Query& query : queries()) {
            if (query.shown == Shown::EachDatabaseEntry) {
                questions.push_back({&query, {database.name, std::to_string(index)}});
            }
        }
    }
}

void appendDatabaseQuestions(std::vector<Question>& questions,
                             const std::vector<DatabaseEntries>& databases) {
    for (const DatabaseEntries& database : databases) {
        for (const Query& query : queries()) {
            if (query.shown == Shown::EachDatabase) {
                questions.push_back({&query, {database.name}});
            }
        }
        appendEntryQuestions(questions, database);
    }
}

std::vector<Question> questionsFor(const std::string& tenancy,
                                   const std::vector<DatabaseEntries>& databases) {
    std::vector<Question> questions;
    for (const Query& query : queries()) {
        if (query.shown == Shown::Once) {
            questions.push_back({&query, query.shownWith});
        } else if (query.shown == Shown::ForLocalTenancy) {
            questions.push_back({&query, query.shownWith});
            questions.back().arguments.push_back(tenancy);
        }
    }
    appendDatabaseQuestions(questions, databases);
    return questions;
}

} // namespace

std::vector<Question> allQuestions() {
    return questionsFor(
        answerOrEmpty([] { return Quarncommon::SysConfReader_i::Instance()->GetProductName(); }),
        answerOrEmpty(library::databaseEntries));
}

std::vector<Question> allQuestions(const Values& values) {
    return questionsFor(values.tenancy, library::entriesOf(values.databases));
}

} // namespace sysconfctl
