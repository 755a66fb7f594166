#include "query/Questions.h"

namespace sysconfctl {
namespace {

using library::DatabaseEntries;

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
