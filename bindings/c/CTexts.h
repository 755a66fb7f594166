// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sysconfreader_c.h"

#include <SysConfReaderStatus.h>
#include <queries/Queries.h>

#include <exception>
#include <new>
#include <string>

/// What the functions of the C library share: results, errors, and texts for the caller.
namespace sysconfreader_c {

using Quarncommon::queries::Answer;
using Quarncommon::queries::Arguments;
using Quarncommon::queries::List;

/// Stores the error text of this thread, cut if it is too long, and returns `result`.
int failed(int result, const char* what) noexcept;

/// Stores that there is no error, and returns `result`.
int succeeded(int result = SYSCONFREADER_OK) noexcept;

/// Thrown for a null pointer and for a wrong number of arguments.
struct BadArgument : std::exception {
    const char* what() const noexcept override { return "invalid argument"; }
};

/// Thrown by sysconfreader_get.
struct UnknownQuery : std::exception {
    const char* what() const noexcept override { return "unknown query"; }
};

/// Returns the result for the exception that is being handled, and stores its text. Passes the
/// unwinding of a cancelled thread on.
int resultOfException();

/// Runs `work`, which returns a result. Lets no exception out.
template <typename Work>
int guarded(Work work) {
    try {
        return succeeded(work());
    } catch (...) {
        return resultOfException();
    }
}

/// Copies for the caller, freed by free().
/// @throws std::bad_alloc
char* copied(const std::string& text);
/// One block: the pointers, ended by null, then the texts.
char** copied(const List& texts);

std::string formatted(const Answer& answer, enum sysconfreader_format format);

/// All texts of a list or map in one list. Throws std::bad_variant_access for any other answer.
List flat(const Answer& answer);

} // namespace sysconfreader_c
