// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sysconfctl {

/// The exit statuses of the tool. Scripts rely on the numbers.
enum class ExitStatus {
    Answered = 0,
    NoAnswer = 1,     ///< the library has no answer: it returns an empty text or -1
    Different = 1,    ///< the environments answer differently
    Usage = 2,        ///< invalid command line or environment file; a secret that is not revealed
    LibraryThrew = 3, ///< a query threw an exception
    ErrorsFound = 3,  ///< the files or the environment have errors
    Warnings = 4,     ///< they have warnings only, and --strict is given
    Internal = 70,    ///< a defect of the tool, or output that cannot be written
    CannotRun = 126,  ///< the program of exec cannot be started
    NoProgram = 127,  ///< there is no such program
};

} // namespace sysconfctl
