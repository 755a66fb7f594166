#include "query/Questions.h"

namespace sysconfctl {
namespace {

using library::DatabaseEntries;

/// Returns what the library answers, or an empty value if it throws. The query is one of the
/// questions itself, so its reply reports the exception.
template <class Ask>
auto answerOrEmpty(Ask ask) -> decltype(ask()) {
    try {
        return ask();
    } catch (...) {
        return {};
    }
}

std::string localTenancy() {
    return answerOrEmpty([] { return Quarncommon::SysConfReader_i::Instance()->GetProductName(); });
}

/// Asks for all fields of one entry before those of the next one.
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
    for (const DatabaseEntries& database : answerOrEmpty(library::databaseEntries)) {
        for (const Query& query : queries()) {
            if (query.shown == Shown::EachDatabase) {
                questions.push_back({&query, {database.name}});
            }
        }
        appendEntryQuestions(questions, database);
    }
}

} // namespace

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

} // namespace sysconfctl
