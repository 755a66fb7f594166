#pragma once

namespace sysconfctl {

/// How the tool ends. Scripts rely on the numbers.
enum class ExitStatus {
    Answered = 0,
    NoAnswer = 1,     ///< the library's answer is "none": an empty text or -1
    Usage = 2,        ///< bad command line or environment file
    LibraryThrew = 3, ///< a query ended with an exception
    ErrorsFound = 3,  ///< the files or the environment have errors
    Warnings = 4,     ///< they have warnings, and those were asked to count
    Internal = 70,    ///< a fault of the tool, or output that could not be written
};

} // namespace sysconfctl
