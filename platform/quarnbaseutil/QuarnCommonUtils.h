// SPDX-License-Identifier: Apache-2.0
#ifndef QUARNCOMMONUTILS_H
#define QUARNCOMMONUTILS_H

#include <list>
#include <string>

/// Small helpers for texts and the environment. No state; see each for threads.
class [[gnu::visibility("default")]] QuarnCommonUtils {
public:
    /// Appends the pieces of `text` between the occurrences of `separator`, found from left to
    /// right without overlap. Empty pieces are kept, so that n occurrences make n + 1 pieces:
    /// ";a;;" at ";" is "", "a", "", "". Only an empty text has no piece at all. An empty
    /// separator occurs nowhere: the text is then one piece.
    ///
    /// What `pieces` held stays in front. Any thread may call this on a list of its own.
    /// @throws std::bad_alloc when memory runs out; nothing has been appended then.
    static void split(const std::string& text, const std::string& separator,
                      std::list<std::string>& pieces);

    /// The value of the environment variable, or "" if it is unset. A name that no variable can
    /// have (one with "=" or a NUL byte in it) is unset.
    ///
    /// Any thread may call this as long as none changes the environment meanwhile.
    /// @throws std::bad_alloc when memory runs out.
    static std::string Quarngetenv(const std::string& name);
};

#endif // QUARNCOMMONUTILS_H
