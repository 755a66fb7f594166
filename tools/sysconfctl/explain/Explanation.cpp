// SPDX-License-Identifier: Apache-2.0
#include "explain/Explanation.h"

#include "explain/ExplanationBuilder.h"
#include "query/Reply.h"
#include "render/Masking.h"
#include "render/Text.h"

#include <stdexcept>

namespace sysconfctl {

std::string Explanation::label() const {
    return labelOf(*query, arguments);
}

std::string named(const std::string& name) {
    return !name.empty() && shellWord(name) == name ? name : '"' + name + '"';
}

Explanation explain(const Query& query, const Arguments& arguments, const Sources& sources,
                    const Loaded& loaded) {
    checkArgumentCount(query, arguments);
    Explanation explanation;
    explanation.query = &query;
    explanation.arguments = arguments;
    ExplanationBuilder builder(sources, loaded, explanation);
    const bool known = explainProcess(builder) || explainNode(builder) ||
                       explainAddresses(builder) || explainAllNodes(builder) ||
                       explainDatabases(builder);
    if (!known) {
        throw std::logic_error("no explanation of " + std::string(query.name));
    }
    builder.finish();
    return explanation;
}

bool agrees(const Explanation& explanation, const Reply& reply) {
    if (explanation.error || reply.error) {
        return explanation.error.has_value() == reply.error.has_value();
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

Reply evaluated(const Explanation& explanation, bool revealSecrets) {
    Reply reply{explanation.query, explanation.arguments, explanation.answer, explanation.error};
    if (!revealSecrets) {
        mask(reply.answer, reply.query->secret);
    }
    return reply;
}

} // namespace sysconfctl
