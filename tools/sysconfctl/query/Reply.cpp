// SPDX-License-Identifier: Apache-2.0
#include "query/Reply.h"

#include "cli/UsageError.h"
#include "render/Masking.h"

#include <exception>

namespace sysconfctl {

std::string Reply::label() const {
    return labelOf(*query, arguments);
}

Reply ask(const Query& query, const Arguments& arguments, bool revealSecrets) {
    checkArgumentCount(query, arguments);
    Reply reply{&query, arguments, {NoAnswer{}}};
    try {
        reply.answer = query.ask(arguments);
    } catch (const library::BadIndex& bad) {
        indexArgument(bad.what()); // throws the UsageError
    } catch (const std::exception& exception) {
        reply.error = exception.what();
    } catch (...) {
        reply.error = "an exception of unknown type";
    }
    if (!revealSecrets) {
        mask(reply.answer, query.secret);
    }
    return reply;
}

} // namespace sysconfctl
