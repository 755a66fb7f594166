#pragma once

#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"

namespace Quarncommon {

/// Reads the manager node list and runs `question` on it, under the read lock. Returns 0 if the
/// question completed, -1 if `TOLM_ROOT` is unset, the list does not parse, or the question threw.
template <typename Question>
int askManagerNodeList(ACE_RW_Thread_Mutex& mutex, WriterTurns& turns, Question question) {
    int result = -1;
    completes([&] {
        const ReadGuard guard(mutex, turns);
        const auto path = config::pathIfSet(config::kManagerNodeList);
        config::Document list;
        if (path && config::readJsonFile(*path, list)) {
            question(list.root());
            result = 0;
        }
    });
    return result;
}

} // namespace Quarncommon
