// SPDX-License-Identifier: Apache-2.0
#ifndef QUARNCOMMONUTILS_H
#define QUARNCOMMONUTILS_H

#include <list>
#include <string>

class [[gnu::visibility("default")]] QuarnCommonUtils {
public:
    /// Appends the pieces of `text` between the occurrences of `separator`, empty pieces included:
    /// ";a;;" at ";" gives "", "a", "", "". An empty text has no pieces. An empty separator occurs
    /// nowhere. Thread-safe for different lists.
    /// @throws std::bad_alloc if memory runs out; nothing is appended.
    static void split(const std::string& text, const std::string& separator,
                      std::list<std::string>& pieces);

    /// Returns a variable's value, "" if unset. Thread-safe unless a thread changes the
    /// environment.
    /// @throws std::bad_alloc if memory runs out.
    static std::string Quarngetenv(const std::string& name);
};

#endif // QUARNCOMMONUTILS_H
