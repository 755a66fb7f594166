#include "explain/Explanation.h"

#include "explain/Narrator.h"
#include "query/Reply.h"
#include "render/Text.h"

#include <stdexcept>

namespace sysconfctl {

std::string Explanation::label() const {
    return Reply{query, arguments, {NoAnswer{}}}.label();
}

Explanation explain(const Query& query, const Arguments& arguments, const Sources& sources,
                    const Loaded& loaded) {
    checkArgumentCount(query, arguments);
    Explanation explanation;
    explanation.query = &query;
    explanation.arguments = arguments;
    Narrator narrator(sources, loaded, explanation);
    const bool known = explainProcess(narrator) || explainNode(narrator) ||
                       explainAddresses(narrator) || explainAllNodes(narrator) ||
                       explainDatabases(narrator);
    if (!known) {
        throw std::logic_error("nothing explains " + std::string(query.name));
    }
    if (explanation.answer.isAnswered()) {
        explanation.reason.reset();
    } else if (!explanation.reason) {
        explanation.reason = Reason{"empty", "the value that counts is empty", "give it a value"};
    }
    return explanation;
}

bool agrees(const Explanation& explanation, const Reply& reply) {
    if (explanation.throws || reply.error) {
        return explanation.throws && reply.error.has_value();
    }
    const auto& mine = explanation.answer.value;
    const auto& its = reply.answer.value;
    return mine.index() == its.index() && std::visit(
                                              [&](const auto& value) {
                                                  using Kind = std::decay_t<decltype(value)>;
                                                  if constexpr (std::is_same_v<Kind, NoAnswer>) {
                                                      return true;
                                                  } else {
                                                      return value == std::get<Kind>(its);
                                                  }
                                              },
                                              mine);
}

} // namespace sysconfctl
